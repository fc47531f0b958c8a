// @ts-check
/** The bar at the top: asks for the status every second and notices when the application comes back. */

import { byId } from "./dom.js";
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
    item.querySelector(".word").textContent = highest === null ? "not told" : active ? "active" : "off";
  }
}

/** @param {{code: number, text: string, time: number}} status */
function showStatus({ code, text, time }) {
  byId("status").dataset.kind = kindOf(code);
  byId("status-code").textContent = String(code);
  byId("status-text").textContent = text;
  byId("pass-time").textContent = `${time} ms`;
  showAlerts(HIGHEST_ALERT[code] ?? null);
}

/** @param {string} message */
function showNoConnection(message) {
  byId("status").dataset.kind = "bad";
  byId("status-code").textContent = "–";
  byId("status-text").textContent = "No connection";
  byId("pass-time").textContent = "–";
  showAlerts(null);
  byId("connection").textContent = message;
  byId("connection").hidden = false;
}

/** @param {() => void | Promise<void>} onConnected after the first answer, and after each outage */
export function startStatus(onConnected) {
  let connected = false;
  const ask = async () => {
    try {
      const status = await readStatus();
      Object.assign(last, status, { at: new Date() });
      showStatus(status);
      byId("connection").hidden = true;
      if (!connected) {
        await onConnected();
        connected = true;
      }
    } catch (refusal) {
      connected = false;
      last.failures += 1;
      showNoConnection(/** @type {Error} */ (refusal).message);
    }
    setTimeout(ask, PERIOD_MS);
  };
  ask();
}
