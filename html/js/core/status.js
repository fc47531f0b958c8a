/** What the application's status says, in words, and what is known of the alerts from it. */

import { ALERT_FLAGS, LEVELS } from "./settings.js";

const SLOW = 600;
/** So long what was last known of the alerts is still shown when a pass tells nothing of them. */
const KEPT_MS = 10000;

/** The words for a code, of those that it sets. @type {Record<number, string>} */
const WORDS = {
  50: "Unknown status",
  100: "Starting",
  200: "Running",
  400: "Data error",
  401: "AI error",
  408: "Agreement not accepted",
  502: "First alert active",
  503: "Second alert active",
  504: "Third alert active",
  [SLOW]: "Slow",
};

/** @param {number} code */
export const textOf = (code) => WORDS[code] ?? "Unknown default status";

/** What it means, of those that come in practice. @param {number} code */
export function aboutOf(code) {
  if (code === 100) return "The application is being started; its first pass has not been made yet.";
  if (code === 200) return "The analysis runs, and no alert is active.";
  if (code === 400) return "A picture could not be analysed: until that is over no alert starts or ends.";
  if (code === 408) return "Nothing is analysed before the end-user agreement has been accepted.";
  if (code === SLOW)
    return "The last pass took at least twice its period, and told nothing of alerts: they are shown as they were.";
  const level = highestAlert(code);
  return level === null
    ? "The log on the page Advanced may tell more."
    : `Enough objects have stayed for the ${alertName(level).toLowerCase()}'s seconds.`;
}

/** The status names the highest active alert. @type {Record<number, number>} */
const HIGHEST_ALERT = { 200: 0, 502: 1, 503: 2, 504: 3 };

/** @param {number} code @returns {number | null} null: a slow or failed pass tells of none */
export const highestAlert = (code) => HIGHEST_ALERT[code] ?? null;

/** @param {number} code */
export function kindOf(code) {
  if (code === 200) return "good";
  if (code === SLOW || (code >= 500 && code < 600)) return "warn";
  return code === 100 ? "wait" : "bad";
}

/**
 * The word for an alert, the same wherever alerts are shown.
 * @param {number} level from 1 @param {number | null} highest the highest active one, null: unknown
 * @param {Record<string, boolean> | undefined} flags of the settings that the application has
 * @returns {"active" | "quiet" | "disabled" | "unknown"}
 */
export function alertWord(level, highest, flags) {
  if (highest !== null && level <= highest) return "active";
  if (flags !== undefined && ALERT_FLAGS.slice(0, level).some((flag) => !flags[flag])) return "disabled";
  return highest === null ? "unknown" : "quiet";
}

/** @param {number} level from 1 */
export const alertName = (level) => `${LEVELS[level - 1]} alert`;

/** What was told last. Whoever shows it listens for "change". */
export class Status extends EventTarget {
  code = 0;
  time = 0;
  /** @type {Date | null} */ at = null;
  failures = 0;
  isConnected = false;
  /** The highest active alert as far as it is known. @type {number | null} */
  highest = null;
  /** Whether that is from before the last answer. */
  isKept = false;
  /** When `highest` was told. */
  #toldAt = -Infinity;

  /** @param {number} code @param {number} time of the last pass, milliseconds @param {Date} now */
  take(code, time, now) {
    Object.assign(this, { code, time, at: now, isConnected: true });
    this.#know(highestAlert(code), now);
  }

  /** No answer. @param {Date} now */
  fail(now) {
    this.failures += 1;
    this.isConnected = false;
    this.#know(null, now);
  }

  /** @param {number | null} highest @param {Date} now */
  #know(highest, now) {
    if (highest !== null) this.#toldAt = now.getTime();
    this.isKept = highest === null && now.getTime() - this.#toldAt <= KEPT_MS;
    if (!this.isKept) this.highest = highest;
    this.dispatchEvent(new Event("change"));
  }
}

export const status = new Status();
