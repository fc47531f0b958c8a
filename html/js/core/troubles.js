/**
 * What keeps the camera from watching, and since when. Whoever knows best says it: on a host the stream of objects, which
 * tells its problems at each pass; else the pictures' head about the video, and the status about the rest.
 */

/** @typedef {{kind: string, text: string}} Trouble */

const LATE_MS = 10000; // a slow pass now and then is none

/** @param {number} value */
const two = (value) => String(value).padStart(2, "0");

/** The time of day, with the day where that is another. @param {Date} at @param {Date} now */
export function clock(at, now) {
  const time = `${two(at.getHours())}:${two(at.getMinutes())}`;
  const isToday = at.toDateString() === now.toDateString();
  return isToday ? time : `${at.getFullYear()}-${two(at.getMonth() + 1)}-${two(at.getDate())} ${time}`;
}

/**
 * What a picture's answer says of the video, in the machine's own time.
 * @param {string | null} header null: the camera says nothing of it @returns {Trouble[]}
 */
export function videoTroubles(header) {
  const match = /^lost since \d{4}-\d\d-\d\dT(\d\d:\d\d)/.exec(header ?? "");
  return match === null ? [] : [{ kind: "video", text: `No video since ${match[1]}` }];
}

/** What the status tells, since when as far as this page has seen it. */
export class StatusTroubles {
  #code = 0;
  #since = new Date();

  /** @param {number} code @param {Date} now @returns {Trouble[]} */
  take(code, now) {
    if (code !== this.#code) [this.#code, this.#since] = [code, now];
    const since = clock(this.#since, now);
    if (code === 400) return [{ kind: "inference", text: `No inference since ${since}` }];
    const isLate = code === 600 && now.getTime() - this.#since.getTime() >= LATE_MS;
    return isLate ? [{ kind: "late", text: `The analysis is late since ${since}` }] : [];
  }
}

/** @typedef {{objects: Trouble[] | null, video: Trouble[], status: Trouble[]}} Sources objects: null where it is silent */

/** The agreement has a bar of its own, with what to do about it. @param {Sources} sources */
export function toldTroubles({ objects, video, status }) {
  return (objects ?? [...video, ...status]).filter(({ kind }) => kind !== "agreement");
}
