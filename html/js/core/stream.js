/** A stream of pictures as it comes over the net. */

/** Where a part's head has ended: after its empty line, or -1. @param {Uint8Array} bytes @param {number} start */
function endOfHead(bytes, start) {
  for (let i = bytes.indexOf(13, start); i >= 0; i = bytes.indexOf(13, i + 1))
    if (bytes[i + 1] === 10 && bytes[i + 2] === 13 && bytes[i + 3] === 10) return i + 4;
  return -1;
}

/** Takes whole parts out of a multipart body that comes in pieces; each part tells its length. */
export class Parts {
  #rest = new Uint8Array(0);

  /** @param {Uint8Array} piece @returns {Uint8Array<ArrayBuffer>[]} the parts' contents that are complete now */
  add(piece) {
    const bytes = new Uint8Array(this.#rest.length + piece.length);
    bytes.set(this.#rest);
    bytes.set(piece, this.#rest.length);
    const parts = [];
    let start = 0;
    for (;;) {
      const from = endOfHead(bytes, start);
      if (from < 0) break;
      const length = /content-length: *(\d+)/i.exec(new TextDecoder("latin1").decode(bytes.subarray(start, from)));
      if (length === null) throw new Error("A part of the stream does not tell its length.");
      const to = from + Number(length[1]);
      if (to > bytes.length) break;
      parts.push(bytes.slice(from, to));
      start = to;
    }
    this.#rest = bytes.slice(start);
    return parts;
  }
}
