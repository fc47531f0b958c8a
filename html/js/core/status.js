// @ts-check
/** What the application's status says. */

/** What was last known, for the diagnostics. */
export const last = { code: 0, text: "", time: 0, at: /** @type {Date | null} */ (null), failures: 0 };

/** The status names the highest active alert. @type {Record<number, number>} */
const HIGHEST_ALERT = { 200: 0, 502: 1, 503: 2, 504: 3 };

/** @param {number} code @returns {number | null} null: a slow or failed pass tells of none */
export const highestAlert = (code) => HIGHEST_ALERT[code] ?? null;

/** @param {number} code */
export function kindOf(code) {
  if (code === 200) return "good";
  if (code === 600 || (code >= 500 && code < 600)) return "warn";
  return code === 100 ? "wait" : "bad";
}
