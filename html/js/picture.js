// @ts-check
/**
 * The live picture. On a host the streams stand under this path, beside the application's own. It is open only while
 * somebody can see it: each open stream costs the camera an encoder.
 *
 * The pictures are taken out of the stream here and not by the browser, which says nothing when a stream has ended or
 * stands still, and goes on showing its last picture as if it were live.
 */

import { byId } from "./dom.js";
import { store } from "./store.js";

const RETRY_MS = 3000;
const STILL_MS = 8000; // a stream that brings nothing for so long is opened anew
const ALWAYS_WITH_BOXES = "800x450";

/**
 * A stream that has boxes: the user's choice, else the one that always has them, else the analysed one. One of another
 * shape shows another part of the picture, and corners set on it would lie elsewhere.
 */
function streamSize() {
  const ratio = Math.max(store.analysed.width / store.analysed.height, store.analysed.height / store.analysed.width);
  const offered = store.sizes.filter(({ width, height }) => Math.abs(width / height / ratio - 1) < 0.02)
    .map(({ width, height }) => `${width}x${height}`);
  const chosen = store.saved?.flags.DetectionOverlaysOn ? store.saved.texts.SelectedDetectionOverlay : "";
  const [long, short] = [Math.max(store.analysed.width, store.analysed.height), Math.min(store.analysed.width, store.analysed.height)];
  return [chosen, ALWAYS_WITH_BOXES].find((size) => offered.includes(size)) ?? `${long}x${short}`;
}

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

/** @param {boolean} isThere */
function tell(isThere) {
  if (byId("no-picture").hidden === isThere && byId("picture").hidden !== isThere) return;
  byId("picture").hidden = !isThere;
  byId("no-picture").hidden = isThere;
}

/** Shows pictures until the stream ends, stands still or is not wanted any more. @param {string} url @param {AbortController} control */
async function play(url, control) {
  let timer = setTimeout(() => control.abort(), STILL_MS);
  try {
    const response = await fetch(url, { cache: "no-store", signal: control.signal });
    if (!response.ok || response.body === null) return;
    const reader = response.body.getReader(), parts = new Parts();
    for (;;) {
      const { done, value } = await reader.read();
      if (done || control.signal.aborted) return;
      const newest = parts.add(value).pop();
      if (newest === undefined) continue;
      clearTimeout(timer);
      timer = setTimeout(() => control.abort(), STILL_MS);
      const picture = byId("picture"), source = URL.createObjectURL(new Blob([newest], { type: "image/jpeg" }));
      picture.src = source;
      tell(true);
      // One after the other: what comes while a picture is made ready waits, and only the newest of it is shown.
      await picture.decode().catch(() => {});
      URL.revokeObjectURL(source);
    }
  } catch { /* no stream, or none any more: told below */ } finally {
    clearTimeout(timer);
    control.abort();
  }
}

let shown = "";
let playing = new AbortController();

/** Opens the stream, anew when `again`: after an outage. @param {boolean} again */
export function showPicture(again) {
  const isSeen = store.saved !== null && !document.hidden && !byId("panel-live").hidden;
  const url = isSeen ? `/stream/${streamSize()}.mjpg${store.isPortrait ? "?rotation=90" : ""}` : "";
  if (url === shown && !again) return;
  shown = url;
  playing.abort();
  const mine = playing = new AbortController();
  if (url !== "") play(url, mine).then(() => {
    if (playing !== mine) return;
    tell(false);
    setTimeout(() => { if (playing === mine) showPicture(true); }, RETRY_MS);
  });
}

export function startPicture() {
  document.addEventListener("visibilitychange", () => showPicture(false));
  store.addEventListener("change", () => showPicture(false));
}
