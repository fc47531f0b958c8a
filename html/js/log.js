// @ts-check
/** The log: shown, filtered, followed, copied, downloaded, cleared. */

import { byId, confirm, copyText, download, make, setText, stamp } from "./dom.js";
import { clearLog, readPlainLog, readSerialisedLog } from "./endpoint.js";

const FOLLOW_MS = 2000;
const MOST_SHOWN = 2000; // lines; a page with all of two megabytes would be slow, and the newest are what is looked for
const LEVELS = ["info", "warning", "error"];

/** @typedef {{time: string, level: string, message: string}} Line */
/** @type {Line[]} */
let lines = [];
/** @type {ReturnType<typeof setTimeout> | undefined} */
let timer;

/** @param {string} text one entry: time, application, level and message between bars @returns {Line | null} */
export function parseLine(text) {
  const parts = text.split("|");
  if (parts.length < 4) return text === "" ? null : { time: "", level: "info", message: text };
  return { time: parts[0], level: parts[2], message: parts.slice(3).join("|") };
}

function visible() {
  const least = Math.max(0, LEVELS.indexOf(byId("log-level").value));
  const wanted = byId("log-text").value.toLowerCase();
  return lines.filter((line) => Math.max(0, LEVELS.indexOf(line.level)) >= least && `${line.time} ${line.message}`.toLowerCase().includes(wanted));
}

/** The rows' lines, so that rows that stay are left alone: a selection in them, and the place read at, stay as well. @type {Line[]} */
let rows = [];

/** @param {Line} a @param {Line} b */
const isSame = (a, b) => a.time === b.time && a.level === b.level && a.message === b.message;

/** @param {Line} line */
function rowOf(line) {
  const row = make("tr", {}, make("td", {}, line.time), make("td", {}, line.level), make("td", {}, line.message));
  row.dataset.level = line.level;
  return row;
}

function show() {
  const found = visible();
  const shown = found.slice(-MOST_SHOWN);
  const list = byId("log-lines"), scroll = byId("log-scroll");
  const isAtEnd = scroll.scrollHeight - scroll.scrollTop - scroll.clientHeight < 40;
  // The oldest rows go as the window moves on, and new ones come at the end.
  const gone = rows.findIndex((line) => shown.length > 0 && isSame(line, shown[0]));
  if (gone < 0 || rows.slice(gone).some((line, i) => i >= shown.length || !isSame(line, shown[i]))) {
    rows = [];
    list.replaceChildren();
  } else {
    rows = rows.slice(gone);
    for (let i = 0; i < gone; i++) list.firstChild.remove();
  }
  list.append(...shown.slice(rows.length).map(rowOf));
  rows = shown;
  setText(byId("log-note"), `${found.length} of ${lines.length} lines${found.length > shown.length ? `, the newest ${shown.length} shown` : ""}.`);
  // Who has scrolled back to read is not taken away from there.
  if (byId("log-follow").checked && isAtEnd) scroll.scrollTop = scroll.scrollHeight;
}

async function load() {
  try {
    lines = (await readSerialisedLog()).split("\n").map(parseLine).filter((line) => line !== null);
    show();
  } catch (refusal) {
    byId("log-note").textContent = /** @type {Error} */ (refusal).message;
  }
}

function follow() {
  clearTimeout(timer);
  if (!byId("log-follow").checked || byId("log").hidden) return;
  timer = setTimeout(async () => {
    if (!document.hidden && !byId("panel-advanced").hidden) await load();
    follow();
  }, FOLLOW_MS);
}

/** @param {() => Promise<string>} read @param {string} name */
async function save(read, name) {
  try {
    download(await read(), `korvex_orvel-${name}-${stamp()}.txt`, "text/plain");
  } catch (refusal) {
    byId("log-note").textContent = /** @type {Error} */ (refusal).message;
  }
}

export function startLog() {
  byId("view-log").addEventListener("click", async () => {
    const hidden = !byId("log").hidden;
    byId("log").hidden = hidden;
    byId("view-log").setAttribute("aria-expanded", String(!hidden));
    byId("view-log").textContent = hidden ? "View Log" : "Hide Log";
    if (!hidden) {
      await load();
      byId("log-scroll").scrollTop = byId("log-scroll").scrollHeight; // the newest lines are the last
    }
    follow();
  });
  byId("log-level").addEventListener("change", show);
  byId("log-text").addEventListener("input", show);
  byId("log-follow").addEventListener("change", async () => {
    byId("log-scroll").scrollTop = byId("log-scroll").scrollHeight;
    if (byId("log-follow").checked) await load();
    follow();
  });
  byId("log-copy").addEventListener("click", async () => {
    const text = visible().map((line) => `${line.time} ${line.level} ${line.message}`).join("\n");
    const copied = await copyText(text);
    setText(byId("log-note"), copied ? `${visible().length} lines are in the clipboard.` : "The browser does not let this page copy; use Download.");
  });
  byId("log-plain").addEventListener("click", () => save(readPlainLog, "log"));
  byId("log-serialised").addEventListener("click", () => save(readSerialisedLog, "log-serialised"));
  byId("log-clear").addEventListener("click", async () => {
    if (!(await confirm("Clear the log? All its lines are gone for good, for everybody.", "Clear"))) return;
    try {
      await clearLog();
      await load();
      setText(byId("log-note"), `The log has been cleared. ${byId("log-note").textContent}`);
    } catch (refusal) {
      byId("log-note").textContent = /** @type {Error} */ (refusal).message;
    }
  });
}
