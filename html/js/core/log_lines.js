// @ts-check
/** The log's lines: read, filtered, and compared with those that are shown. */

/** From the least to the most serious. */
const LEVELS = ["info", "warning", "error"];

/** @typedef {{time: string, level: string, message: string}} Line */

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

/** A level that is none counts as the least. @param {string} level */
const rank = (level) => Math.max(0, LEVELS.indexOf(level));

/**
 * @param {Line[]} lines @param {string} level the least serious one that is wanted
 * @param {string} text in whatever case
 */
export function filtered(lines, level, text) {
  const wanted = text.toLowerCase();
  return lines.filter(
    (line) => rank(line.level) >= rank(level) && `${line.time} ${line.message}`.toLowerCase().includes(wanted),
  );
}

/** @param {Line} a @param {Line} b */
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
