/**
 * The camera's own time of day, as a clock beside it shows it. It is counted as if its zone were UTC, so that this
 * browser's zone changes nothing of it.
 */

export const DAY_MS = 86400000;

/** @typedef {number} WallTime milliseconds */

/**
 * @param {string} text "2026-01-31 09:30:00" as in the log, or ISO 8601, whose zone is left out
 * @returns {WallTime} NaN: it is none
 */
export function wallTime(text) {
  const match = /^(\d{4}-\d\d-\d\d)[ T](\d\d:\d\d:\d\d(\.\d+)?)/.exec(text);
  return match === null ? NaN : Date.parse(`${match[1]}T${match[2]}Z`);
}

/** @param {WallTime} time */
export const dayOf = (time) => new Date(time).toISOString().slice(0, 10);

/** @param {WallTime} time */
export const clockOf = (time) => new Date(time).toISOString().slice(11, 19);

/** @param {string} day such as 2026-01-31 */
export const startOfDay = (day) => Date.parse(`${day}T00:00:00Z`);

/** @param {string} day @param {number} by days */
export const dayAfter = (day, by) => dayOf(startOfDay(day) + by * DAY_MS);

/** @param {number} seconds */
export function durationText(seconds) {
  const whole = Math.round(seconds);
  const [hours, minutes, rest] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60, whole % 60];
  if (hours > 0) return `${hours} h ${minutes} min`;
  return minutes > 0 ? `${minutes} min ${rest} s` : `${rest} s`;
}
