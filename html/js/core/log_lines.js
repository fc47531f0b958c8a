/** The log's lines: read, told apart, folded, filtered, and compared with those that are shown. */

import { alertName } from "./status.js";
import { alertOf, isEdge, isStart } from "./alert_history.js";

/** From the least to the most serious. */
const LEVELS = ["info", "warning", "error"];

/** What each reading of the log adds to it. */
const OWN_READING = "processGET: get_logfile_as_plain_text";

/** @typedef {{time: string, level: string, message: string}} Line */
/** @typedef {Line & {count: number, until: string}} Row one line, or several that say the same one after the other */

/** @param {string} text one entry: time, application, level and message between bars @returns {Line | null} */
export function parseLine(text) {
  const parts = text.split("|");
  if (parts.length < 4) return text === "" ? null : { time: "", level: "info", message: text };
  return { time: parts[0], level: parts[2], message: parts.slice(3).join("|") };
}

/** @param {string} log serialised @returns {Line[]} */
export const parseLog = (log) =>
  log
    .split("\n")
    .map(parseLine)
    .filter((line) => line !== null);

/** What tells of nothing but that somebody has looked. @param {Line[]} lines */
export const withoutReading = (lines) => lines.filter(({ message }) => message !== OWN_READING);

/**
 * The lines of one view: of the alerts, in words, with the application's starts and ends between them; or all.
 * @param {Line[]} lines @param {string} view "alerts" or "technical"
 */
export function viewed(lines, view) {
  if (view !== "alerts") return lines;
  return lines.flatMap((line) => {
    const change = alertOf(line);
    if (change !== null)
      return [{ ...line, message: `${alertName(change.level)} ${change.isStart ? "started" : "ended"}` }];
    return isEdge(line) ? [{ ...line, message: `The application ${isStart(line) ? "started" : "ended"}` }] : [];
  });
}

/** Lines that repeat each other become one, with their number. @param {Line[]} lines @returns {Row[]} */
export function folded(lines) {
  /** @type {Row[]} */
  const rows = [];
  for (const line of lines) {
    const last = rows[rows.length - 1];
    if (last !== undefined && last.level === line.level && last.message === line.message) {
      last.count += 1;
      last.until = line.time;
    } else rows.push({ ...line, count: 1, until: line.time });
  }
  return rows;
}

/** A level that is none counts as the least. @param {string} level */
const rank = (level) => Math.max(0, LEVELS.indexOf(level));

/**
 * @template {Line} T
 * @param {T[]} lines @param {string} level the least serious one that is wanted
 * @param {string} text in whatever case
 */
export function filtered(lines, level, text) {
  const wanted = text.toLowerCase();
  return lines.filter(
    (line) => rank(line.level) >= rank(level) && `${line.time} ${line.message}`.toLowerCase().includes(wanted),
  );
}

/** However often it is repeated. @param {Line} a @param {Line} b */
const isSame = (a, b) => a.time === b.time && a.level === b.level && a.message === b.message;

/**
 * How many of the oldest rows go so that the others are the first of `shown`: the oldest go as the window moves on, and
 * new ones come at the end. All of them, where nothing fits.
 * @param {Line[]} rows @param {Line[]} shown
 */
export function goneRows(rows, shown) {
  const gone = shown.length > 0 ? rows.findIndex((line) => isSame(line, shown[0])) : -1;
  const isFitting = gone >= 0 && rows.slice(gone).every((line, i) => i < shown.length && isSame(line, shown[i]));
  return isFitting ? gone : rows.length;
}
