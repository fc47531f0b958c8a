// @ts-check
/** Settings as a file, and what support asks for. */

import { byId, copyText, download, make, setText, stamp } from "./dom.js";
import { fromFile, toFile } from "./settings.js";
import { last } from "./status.js";
import { store } from "./store.js";

const version = document.querySelector("meta[name=application-version]")?.getAttribute("content") ?? "unknown";

/** @param {string} text @param {string[]} [wrong] */
function tellImport(text, wrong = []) {
  byId("import-note").textContent = text;
  byId("import-problems").replaceChildren(...wrong.map((problem) => make("li", {}, problem)));
}

async function importFile() {
  const input = byId("import");
  const file = input.files[0];
  input.value = "";
  if (file === undefined) return;
  if (store.edited === null) return tellImport("Nothing has been taken over:", ["The application has not told its settings yet."]);
  if (file.size > 65536) return tellImport("Nothing has been taken over:", ["The file is far too large for settings."]);
  const { settings, wrong } = fromFile(await file.text(), store.edited, store.sizes);
  if (settings === null) return tellImport("Nothing has been taken over:", wrong);
  store.edit((edited) => Object.assign(edited, settings));
  tellImport(store.isChanged ? "The file is fine. Its settings are shown; Save keeps them." : "The file is fine, and holds what is saved already.");
}

/** @returns {[string, string][]} */
function facts() {
  const { width, height } = store.analysed;
  return [
    ["Version", version],
    ["Status", last.at === null ? "none yet" : `${last.code} ${last.text}`],
    ["Last pass", `${last.time} ms`],
    ["Last answer", last.at === null ? "none yet" : last.at.toLocaleString()],
    ["Failed requests", String(last.failures)],
    ["Analysed picture", `${width}x${height}${store.isPortrait ? ", portrait" : ""}`],
    ["Stream sizes", store.sizes.map((size) => `${size.width}x${size.height}`).join(", ") || "none"],
    ["Agreement", store.isAccepted ? "accepted" : "not accepted"],
    ["Settings", store.isChanged ? "changed, not saved" : "as saved"],
    ["Browser", navigator.userAgent],
  ];
}

export function showFacts() {
  if (byId("panel-advanced").hidden) return;
  const list = byId("diagnostics"), shown = facts();
  if (list.children.length === 0) list.append(...shown.flatMap(([name]) => [make("dt", {}, name), make("dd")]));
  shown.forEach(([, value], i) => setText(list.children[2 * i + 1], value));
}

function exportFile() {
  if (store.saved === null) return;
  download(toFile(store.saved, version), `korvex_orvel-settings-${stamp()}.json`, "application/json");
  tellImport(store.isChanged ? "The file holds what is saved; what is changed and not saved is not in it." : "");
}

export function startAdvanced() {
  byId("export").addEventListener("click", exportFile);
  byId("import").addEventListener("change", importFile);
  byId("diagnostics-copy").addEventListener("click", async () => {
    const copied = await copyText(facts().map(([name, value]) => `${name}: ${value}`).join("\n"));
    byId("diagnostics-note").textContent = copied ? "The diagnostics are in the clipboard." : "The browser does not let this page copy.";
  });
  store.addEventListener("change", () => {
    showFacts();
    if (!store.isChanged && byId("import-problems").children.length === 0) tellImport("");
  });
  setInterval(showFacts, 1000);
}
