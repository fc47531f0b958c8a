/** The bar at the top: asks for the status every second and notices when the application comes back. */

import { readStatus } from "./core/endpoint.js";
import { aboutOf, alertWord, kindOf, status, textOf } from "./core/status.js";
import { store } from "./core/store.js";
import { clock } from "./core/troubles.js";
import { byId, setText, showNotice } from "./dom.js";

const PERIOD_MS = 1000;

function showAlerts() {
  for (const item of byId("alerts").querySelectorAll("li")) {
    const word = alertWord(Number(item.dataset.level), status.highest, store.saved?.flags);
    item.dataset.state = word;
    item.dataset.kept = String(status.isKept);
    for (const element of item.querySelectorAll(".word")) setText(element, word);
  }
}

function show() {
  const { code, time, isConnected } = status;
  byId("status").dataset.kind = isConnected ? kindOf(code) : "bad";
  setText(byId("status-code"), isConnected ? String(code) : "–");
  setText(byId("status-text"), isConnected ? textOf(code) : "No connection");
  setText(byId("status-meaning"), isConnected ? aboutOf(code) : "The application does not answer this page.");
  setText(byId("pass-time"), isConnected ? `${time} ms` : "–");
  showAlerts();
}

function toggleAbout() {
  const isShown = byId("status-about").hidden;
  byId("status-about").hidden = !isShown;
  byId("status").setAttribute("aria-expanded", String(isShown));
}

/** Since when there is no answer. @type {Date | null} */
let lostAt = null;

/** @param {unknown} refusal */
function tellLost(refusal) {
  lostAt ??= new Date();
  const { message } = /** @type {Error} */ (refusal);
  showNotice("connection", `Since ${clock(lostAt, new Date())}: ${message}`);
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
    let answer;
    try {
      answer = await readStatus();
    } catch (refusal) {
      isLoaded = false;
      status.fail(new Date());
      return tellLost(refusal);
    }
    const { code, time } = answer;
    status.take(code, time, new Date());
    try {
      if (!isLoaded || isStale(code, code !== seen)) await load();
      isLoaded = true;
      seen = code;
      lostAt = null;
      showNotice("connection", "");
    } catch (refusal) {
      tellLost(refusal);
    }
  };
  const ask = async () => {
    if (!isBusy()) await askOnce();
    setTimeout(ask, PERIOD_MS);
  };
  status.addEventListener("change", show);
  store.addEventListener("change", showAlerts);
  byId("status").addEventListener("click", toggleAbout);
  byId("status")
    .closest("header")
    ?.addEventListener("keydown", (event) => {
      if (event.key === "Escape" && !byId("status-about").hidden) toggleAbout();
    });
  ask();
}
