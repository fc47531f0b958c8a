// @ts-check
/** The bar at the top: asks for the status every second and notices when the application comes back. */

import { byId, setText } from "./dom.js";
import { readStatus } from "./endpoint.js";

const PERIOD_MS = 1000;
const HIGHEST_ALERT = /** @type {Record<number, number>} */ ({ 200: 0, 502: 1, 503: 2, 504: 3 });

/** What was last known, for the diagnostics. */
export const last = { code: 0, text: "", time: 0, at: /** @type {Date | null} */ (null), failures: 0 };

/** @param {number} code */
const kindOf = (code) => (code === 200 ? "good" : code === 600 || (code >= 500 && code < 600) ? "warn" : code === 100 ? "wait" : "bad");

/** The status names the highest active alert; a slow or failed pass tells of none. @param {number | null} highest */
function showAlerts(highest) {
  for (const item of byId("alerts").children) {
    const active = highest !== null && Number(item.dataset.level) <= highest;
    item.dataset.active = String(active);
    setText(item.querySelector(".word"), highest === null ? "unknown" : active ? "active" : "off");
  }
}

/** @param {string} kind @param {string} code @param {string} text @param {string} time @param {number | null} highest */
function show(kind, code, text, time, highest) {
  byId("status").dataset.kind = kind;
  setText(byId("status-code"), code);
  setText(byId("status-text"), text);
  setText(byId("pass-time"), time);
  showAlerts(highest);
}

/** @param {string} message empty: all is well */
function showTrouble(message) {
  setText(byId("connection"), message);
  byId("connection").hidden = message === "";
}

/**
 * @param {(code: number, isNew: boolean) => boolean} isStale whether what is shown may not be what the application has
 * @param {() => void | Promise<void>} load after the first answer, after each outage, and when it is stale
 * @param {() => boolean} isBusy while the application has something of this page in hand it answers nothing else
 */
export function startStatus(isStale, load, isBusy) {
  let loaded = false;
  let seen = 0;
  const askOnce = async () => {
    let status;
    try {
      status = await readStatus();
    } catch (refusal) {
      loaded = false;
      last.failures += 1;
      show("bad", "–", "No connection", "–", null);
      return showTrouble(/** @type {Error} */ (refusal).message);
    }
    Object.assign(last, status, { at: new Date() });
    show(kindOf(status.code), String(status.code), status.text, `${status.time} ms`, HIGHEST_ALERT[status.code] ?? null);
    try {
      if (!loaded || isStale(status.code, status.code !== seen)) await load();
      loaded = true;
      seen = status.code;
      showTrouble("");
    } catch (refusal) {
      showTrouble(/** @type {Error} */ (refusal).message);
    }
  };
  const ask = async () => {
    if (!isBusy()) await askOnce();
    setTimeout(ask, PERIOD_MS);
  };
  ask();
}
