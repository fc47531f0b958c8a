/** When which alert was active, from the log's own lines: a camera keeps nothing else of it. */

import { LEVELS } from "./settings.js";
import { DAY_MS, startOfDay, wallTime } from "./wall_time.js";

/** @import { Line } from "./log_lines.js" */
/**
 * @typedef {Object} Period in which an alert was active
 * @property {number} level 1 to 3
 * @property {number} from wall time @property {number} to wall time; the newest line's where it is not known
 * @property {"" | "began before the log" | "ended with the application" | "still active"} note
 */

const CHANGE = new RegExp(
  `^sendEvent(?:Started: Starting|Stopped: Stopping) event Korvex Orvel (${LEVELS.join("|")}) Alert$`,
);

/** The level that a line is about, and whether that starts. @param {Line} line */
export function alertOf({ message }) {
  const match = CHANGE.exec(message);
  return match === null
    ? null
    : { level: LEVELS.indexOf(match[1]) + 1, isStart: message.startsWith("sendEventStarted") };
}

/** @param {Line} line */
export const isStart = ({ level, message }) => level === "warning" && message === "STARTING korvex_orvel";

/** Whether the application ends or begins with it. @param {Line} line */
export const isEdge = (line) => isStart(line) || (line.level === "warning" && line.message === "STOPPING korvex_orvel");

/** @param {Line[]} lines @returns {Period[]} by their beginning */
export function alertPeriods(lines) {
  /** @type {Period[]} */
  const periods = [];
  /** @type {Map<number, number>} level to when it began */
  const open = new Map();
  let [first, newest] = [NaN, NaN];
  /** @param {number} level @param {number} to @param {Period["note"]} note */
  const close = (level, to, note) => {
    periods.push({ level, from: open.get(level) ?? first, to, note });
    open.delete(level);
  };
  for (const line of lines) {
    const time = wallTime(line.time);
    // An application that was killed said nothing: its alerts ended with its last line at the latest.
    const end = isStart(line) ? newest : time;
    if (isEdge(line)) for (const level of [...open.keys()]) close(level, end, "ended with the application");
    if (Number.isNaN(time)) continue;
    if (Number.isNaN(first)) first = time;
    newest = time;
    const change = alertOf(line);
    if (change === null) continue;
    if (!change.isStart) close(change.level, time, open.has(change.level) ? "" : "began before the log");
    else if (!open.has(change.level)) open.set(change.level, time);
  }
  for (const level of [...open.keys()]) close(level, newest, "still active");
  return periods.sort((a, b) => a.from - b.from || a.level - b.level);
}

/** @param {Period} period @returns {number} */
export const secondsOf = ({ from, to }) => Math.max(0, (to - from) / 1000);

/** Those of a day, or a part of it. @template {{from: number, to: number}} T @param {T[]} periods @param {string} day */
export function ofDay(periods, day) {
  const start = startOfDay(day);
  return periods.filter(({ from, to }) => to >= start && from < start + DAY_MS);
}
