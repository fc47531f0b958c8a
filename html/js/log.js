/** The log: shown, filtered, followed, copied, downloaded, cleared. */

import { clearLog, readPlainLog, readSerialisedLog } from "./core/endpoint.js";
import { filtered, folded, goneRows, parseLog, viewed, withoutReading } from "./core/log_lines.js";
import { byId, confirm, inputOf, make, selectOf, setText } from "./dom.js";
import { copyText, download, stamp } from "./files.js";

/** @import { Line, Row } from "./core/log_lines.js" */

const FOLLOW_MS = 2000;
const MOST_SHOWN = 2000; // lines; a page with all of two megabytes would be slow, and the newest are what is looked for

/** @type {Line[]} */
let lines = [];
/**
 * The rows' lines, so that rows that stay are left alone: a selection in them, and the place read at, stay as well.
 * @type {Row[]}
 */
let rows = [];
/** @type {ReturnType<typeof setTimeout> | undefined} */
let timer;

const inView = () => viewed(lines, selectOf("log-view").value);
const visible = () => folded(filtered(inView(), selectOf("log-level").value, inputOf("log-text").value));

/** @param {Row} row with its number when it was repeated */
const messageOf = ({ message, count, until }) => (count > 1 ? `${message} (${count} times, until ${until})` : message);

function scrollToEnd() {
  byId("log-scroll").scrollTop = byId("log-scroll").scrollHeight;
}

/** @param {Row} shown */
function rowOf(shown) {
  const row = make("tr", {}, ...[shown.time, shown.level, messageOf(shown)].map((text) => make("td", {}, text)));
  row.dataset.level = shown.level;
  return row;
}

/** @param {Row[]} shown */
function showRows(shown) {
  const list = byId("log-lines");
  const gone = goneRows(rows, shown);
  if (gone === rows.length) list.replaceChildren();
  else for (let i = 0; i < gone; i++) list.firstChild?.remove();
  // The newest of those that stay may have been repeated since.
  const last = list.lastElementChild?.lastElementChild;
  const kept = rows.length - gone;
  if (last instanceof HTMLElement && kept > 0) setText(last, messageOf(shown[kept - 1]));
  list.append(...shown.slice(kept).map(rowOf));
  rows = shown;
}

function show() {
  const found = visible();
  const shown = found.slice(-MOST_SHOWN);
  const scroll = byId("log-scroll");
  const isAtEnd = scroll.scrollHeight - scroll.scrollTop - scroll.clientHeight < 40;
  showRows(shown);
  const rest = found.length > shown.length ? `, the newest ${shown.length} shown` : "";
  const all = folded(inView()).length;
  setText(byId("log-note"), `${found.length} of ${all} lines${rest}.`);
  // Who has scrolled back to read is not taken away from there.
  if (inputOf("log-follow").checked && isAtEnd) scrollToEnd();
}

/** @param {() => Promise<void>} act what the camera may refuse */
async function tellRefusal(act) {
  try {
    await act();
  } catch (refusal) {
    byId("log-note").textContent = /** @type {Error} */ (refusal).message;
  }
}

const load = () =>
  tellRefusal(async () => {
    lines = withoutReading(parseLog(await readSerialisedLog()));
    show();
  });

function follow() {
  clearTimeout(timer);
  if (!inputOf("log-follow").checked || byId("log").hidden) return;
  timer = setTimeout(async () => {
    if (!document.hidden && !byId("panel-advanced").hidden) await load();
    follow();
  }, FOLLOW_MS);
}

/** @param {() => Promise<string>} read @param {string} name */
const save = (read, name) =>
  tellRefusal(async () => download(await read(), `korvex_orvel-${name}-${stamp()}.txt`, "text/plain"));

async function toggle() {
  const isHidden = !byId("log").hidden;
  byId("log").hidden = isHidden;
  byId("view-log").setAttribute("aria-expanded", String(!isHidden));
  byId("view-log").textContent = isHidden ? "View Log" : "Hide Log";
  if (!isHidden) {
    await load();
    scrollToEnd(); // the newest lines are the last
  }
  follow();
}

async function copy() {
  const copied = visible();
  const isDone = await copyText(copied.map((row) => `${row.time} ${row.level} ${messageOf(row)}`).join("\n"));
  const told = isDone
    ? `${copied.length} lines are in the clipboard.`
    : "The browser does not let this page copy; use Download.";
  setText(byId("log-note"), told);
}

async function clear() {
  if (!(await confirm("Clear the log? All its lines are gone for good, for everybody.", "Clear"))) return;
  await tellRefusal(async () => {
    await clearLog();
    await load();
    setText(byId("log-note"), `The log has been cleared. ${byId("log-note").textContent}`);
  });
}

export function startLog() {
  byId("view-log").addEventListener("click", toggle);
  for (const id of ["log-view", "log-level"]) byId(id).addEventListener("change", show);
  byId("log-text").addEventListener("input", show);
  byId("log-follow").addEventListener("change", async () => {
    scrollToEnd();
    if (inputOf("log-follow").checked) await load();
    follow();
  });
  byId("log-copy").addEventListener("click", copy);
  byId("log-plain").addEventListener("click", () => save(readPlainLog, "log"));
  byId("log-serialised").addEventListener("click", () => save(readSerialisedLog, "log-serialised"));
  byId("log-clear").addEventListener("click", clear);
}
