/**
 * The objects that are followed now, as a host tells them at each pass. A camera has no such address: then there is no
 * list. The stream is open while somebody can see this page.
 */

import { passOf, summaryOf, toldOf } from "./core/objects.js";
import { store } from "./core/store.js";
import { byId, inputOf, make, setText } from "./dom.js";
import { remembered } from "./remembered.js";
import { tellObjectTroubles } from "./trouble_banner.js";

/** @import { Told } from "./core/objects.js" */

const ADDRESS = "/stream/objects";
const SILENT_MS = 6000; // or three passes: then what was told last is no longer so
const LEAST_RETRY_MS = 2000;
const MOST_RETRY_MS = 120000; // a camera is asked now and then whether it has become a host

/** The rows stay the same elements, so that the focus and a reader's place stay. @type {Map<number, HTMLElement>} */
const rows = new Map();
/** The object whose box is shown over the picture. @type {number | null} */
let chosen = null;
/** @type {Told[]} */
let told = [];

/** @param {number} id */
function choose(id) {
  chosen = chosen === id ? null : id;
  show();
}

/** @param {Told} object */
function makeRow({ id }) {
  const button = make(
    "button",
    {},
    make("span", { className: "mark" }),
    make("span", { className: "name" }),
    make("span", { className: "aside" }),
    make("span", { className: "reason" }),
    make("span", { className: "bar", "aria-hidden": "true" }, make("span")),
  );
  button.addEventListener("click", () => choose(id));
  return make("li", {}, button);
}

/** @param {HTMLElement} row @param {Told} object */
function showRow(row, object) {
  const { id, name, reason, progress, share, unseen, score, colour, level } = object;
  const [button] = row.children;
  const [mark, title, aside, why, bar] = /** @type {HTMLElement[]} */ ([...button.children]);
  button.className = colour;
  button.setAttribute("aria-pressed", String(chosen === id));
  mark.className = `mark ${unseen === "" ? "" : "remembered"} ${colour}`;
  mark.dataset.level = String(level);
  setText(title, name);
  setText(aside, [unseen, inputOf("show-scores").checked ? score : ""].filter((text) => text !== "").join(", "));
  setText(why, [reason, progress].filter((text) => text !== "").join(": "));
  /** @type {HTMLElement} */ (bar.firstElementChild).style.transform = `scaleX(${share})`;
}

/** The chosen object's box over the picture. */
function showBox() {
  const object = told.find(({ id }) => id === chosen);
  const svg = byId("chosen", SVGElement);
  svg.toggleAttribute("hidden", object === undefined);
  if (object === undefined) return;
  for (const rect of svg.children)
    ["x", "y", "width", "height"].forEach((name, i) => rect.setAttribute(name, String(object.box[i])));
}

function show() {
  for (const [id, row] of rows)
    if (!told.some((object) => object.id === id)) {
      row.remove();
      rows.delete(id);
    }
  for (const object of told) {
    const row = rows.get(object.id) ?? makeRow(object);
    if (!rows.has(object.id)) byId("objects").append(row);
    rows.set(object.id, row);
    showRow(row, object);
  }
  if (store.saved !== null) setText(byId("followed-summary"), summaryOf(told, store.saved));
  showBox();
}

/** @param {string} data of one message */
function take(data) {
  const pass = passOf(data);
  if (pass === null || store.saved === null) return;
  told = toldOf(pass, store.saved);
  byId("followed").hidden = false;
  show();
  tellObjectTroubles(pass.problems);
}

function forget() {
  tellObjectTroubles(null);
  if (byId("followed").hidden) return;
  told = [];
  show();
  byId("followed").hidden = true;
}

/** @type {EventSource | null} */
let source = null;
let retryMs = LEAST_RETRY_MS;
/** @type {ReturnType<typeof setTimeout> | undefined} */
let retry;
/** @type {ReturnType<typeof setTimeout> | undefined} */
let silence;
let heardAt = 0;

function listen() {
  clearTimeout(retry);
  const mine = new EventSource(ADDRESS);
  source = mine;
  mine.addEventListener("message", ({ data }) => {
    retryMs = LEAST_RETRY_MS;
    clearTimeout(silence);
    const now = performance.now();
    silence = setTimeout(forget, Math.max(SILENT_MS, 3 * (now - heardAt)));
    heardAt = now;
    take(data);
  });
  mine.addEventListener("error", () => {
    // The browser tries again by itself, except after an answer that is no such stream.
    if (mine.readyState !== EventSource.CLOSED || source !== mine) return;
    forget();
    retry = setTimeout(listen, retryMs);
    retryMs = Math.min(2 * retryMs, MOST_RETRY_MS);
  });
}

function followWhileSeen() {
  if (document.hidden) {
    clearTimeout(retry);
    clearTimeout(silence);
    source?.close();
    source = null;
  } else if (source === null) listen();
}

export function startFollowed() {
  remembered(inputOf("show-scores"), show);
  document.addEventListener("visibilitychange", followWhileSeen);
  followWhileSeen();
}
