// @ts-check
/** The bar at the top: asks for the status every second and notices when the application comes back. */

import { readStatus } from "./core/endpoint.js";
import { highestAlert, kindOf, last } from "./core/status.js";
import { byId, setText, showNotice } from "./dom.js";

const PERIOD_MS = 1000;

/** @param {number | null} highest null: unknown */
function showAlerts(highest) {
  for (const item of byId("alerts").querySelectorAll("li")) {
    const isActive = highest !== null && Number(item.dataset.level) <= highest;
    item.dataset.active = String(isActive);
    for (const word of item.querySelectorAll(".word"))
      setText(word, highest === null ? "unknown" : isActive ? "active" : "off");
  }
}

/**
 * @param {string} kind @param {string} code @param {string} text @param {string} time @param {number | null} highest
 */
function show(kind, code, text, time, highest) {
  byId("status").dataset.kind = kind;
  setText(byId("status-code"), code);
  setText(byId("status-text"), text);
  setText(byId("pass-time"), time);
  showAlerts(highest);
}

/**
 * @param {(code: number, isNew: boolean) => boolean} isStale whether what is shown may not be what the application has
 * @param {() => void | Promise<void>} load after the first answer, after each outage, and when it is stale
 * @param {() => boolean} isBusy while the application has something of this page in hand it answers nothing else
 */
export function startStatus(isStale, load, isBusy) {
  let isLoaded = false;
  let seen = 0;
  const askOnce = async () => {
    let status;
    try {
      status = await readStatus();
    } catch (refusal) {
      isLoaded = false;
      last.failures += 1;
      show("bad", "–", "No connection", "–", null);
      return showNotice("connection", /** @type {Error} */ (refusal).message);
    }
    const { code, text, time } = status;
    Object.assign(last, status, { at: new Date() });
    show(kindOf(code), String(code), text, `${time} ms`, highestAlert(code));
    try {
      if (!isLoaded || isStale(code, code !== seen)) await load();
      isLoaded = true;
      seen = code;
      showNotice("connection", "");
    } catch (refusal) {
      showNotice("connection", /** @type {Error} */ (refusal).message);
    }
  };
  const ask = async () => {
    if (!isBusy()) await askOnce();
    setTimeout(ask, PERIOD_MS);
  };
  ask();
}
