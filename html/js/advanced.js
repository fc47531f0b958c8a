/** Settings as a file, and what support asks for. */

import { fromFile, toFile } from "./core/settings_file.js";
import { sizeText } from "./core/sizes.js";
import { status, textOf } from "./core/status.js";
import { store } from "./core/store.js";
import { byId, inputOf, make, setText } from "./dom.js";
import { copyText, download, stamp } from "./files.js";

const MOST_BYTES = 65536; // of a file with settings
const version = document.querySelector("meta[name=application-version]")?.getAttribute("content") ?? "unknown";

/** @param {string} text @param {string[]} [wrong] */
function tellImport(text, wrong = []) {
  byId("import-note").textContent = text;
  byId("import-problems").replaceChildren(...wrong.map((problem) => make("li", {}, problem)));
}

/** @param {string[]} wrong */
const refuseImport = (wrong) => tellImport("Nothing has been taken over:", wrong);

async function importFile() {
  const input = inputOf("import");
  const file = input.files?.[0];
  input.value = "";
  if (file === undefined) return;
  if (store.edited === null) return refuseImport(["The application has not told its settings yet."]);
  if (file.size > MOST_BYTES) return refuseImport(["The file is far too large for settings."]);
  const { settings, wrong } = fromFile(await file.text(), store.edited, store.sizes);
  if (settings === null) return refuseImport(wrong);
  store.edit((edited) => Object.assign(edited, settings));
  tellImport(
    store.isChanged
      ? "The file is fine. Its settings are shown; Save keeps them."
      : "The file is fine, and holds what is saved already.",
  );
}

function exportFile() {
  if (store.saved === null) return;
  download(toFile(store.saved, version), `korvex_orvel-settings-${stamp()}.json`, "application/json");
  tellImport(store.isChanged ? "The file holds what is saved; what is changed and not saved is not in it." : "");
}

/** @returns {[string, string][]} */
const facts = () => [
  ["Version", version],
  ["Status", status.at === null ? "none yet" : `${status.code} ${textOf(status.code)}`],
  ["Last pass", `${status.time} ms`],
  ["Last answer", status.at === null ? "none yet" : status.at.toLocaleString()],
  ["Failed requests", String(status.failures)],
  ["Analysed picture", `${sizeText(store.analysed)}${store.isPortrait ? ", portrait" : ""}`],
  ["Stream sizes", store.sizes.map(sizeText).join(", ") || "none"],
  ["Agreement", store.isAccepted ? "accepted" : "not accepted"],
  ["Settings", store.isChanged ? "changed, not saved" : "as saved"],
  ["Browser", navigator.userAgent],
];

export function showFacts() {
  if (byId("panel-advanced").hidden) return;
  const list = byId("diagnostics");
  const shown = facts();
  if (list.children.length === 0) list.append(...shown.flatMap(([name]) => [make("dt", {}, name), make("dd")]));
  shown.forEach(([, value], i) => setText(list.children[2 * i + 1], value));
}

async function copyFacts() {
  const text = facts().map(([name, value]) => `${name}: ${value}`);
  const isDone = await copyText(text.join("\n"));
  byId("diagnostics-note").textContent = isDone
    ? "The diagnostics are in the clipboard."
    : "The browser does not let this page copy.";
}

export function startAdvanced() {
  byId("export").addEventListener("click", exportFile);
  byId("import").addEventListener("change", importFile);
  byId("diagnostics-copy").addEventListener("click", copyFacts);
  store.addEventListener("change", () => {
    showFacts();
    if (!store.isChanged && byId("import-problems").children.length === 0) tellImport("");
  });
  setInterval(showFacts, 1000);
}
