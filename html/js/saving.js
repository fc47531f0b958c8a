// @ts-check
/** Loading the settings, saving them, and the agreement that comes before anything else. */

import { byId } from "./dom.js";
import { postDocument, readDocument, readIsPortrait } from "./endpoint.js";
import { copyOf, isSame, parseDocument, problems, serialise, settle } from "./settings.js";
import { store } from "./store.js";

/** @typedef {import("./settings.js").Settings} Settings */

let isSaving = false;
/** What went wrong or right last; a later edit clears it. */
let result = { text: "", kind: "" };

async function readSettings() {
  const isPortrait = await readIsPortrait();
  const { settings, sizes, analysed } = parseDocument(await readDocument(), isPortrait);
  Object.assign(store, { sizes, analysed, isPortrait });
  return settings;
}

/** Reads what the application has; edits that are not saved are kept unless `discard`. @param {boolean} discard */
export async function loadSettings(discard) {
  const settings = await readSettings();
  if (discard || !store.isChanged) store.load(settings);
  else {
    store.saved = settings;
    store.dispatchEvent(new Event("change"));
  }
  if (!store.isAccepted) showAgreement();
}

/** Posts the settings and looks at what the application made of them. @param {Settings} wanted */
async function post(wanted) {
  const settings = settle(wanted, store.analysed);
  isSaving = true;
  show();
  try {
    await postDocument(serialise(settings));
    const stored = await readSettings();
    const asSent = isSame(stored, settings);
    store.load(stored);
    result = asSent ? { text: "Saved.", kind: "good" } : { text: "Saved. The application keeps some values a little differently; what is shown is what it keeps.", kind: "good" };
    return true;
  } catch (refusal) {
    result = { text: `Not saved. ${/** @type {Error} */ (refusal).message}`, kind: "bad" };
    return false;
  } finally {
    isSaving = false;
    show();
  }
}

function note() {
  if (isSaving) return { text: "Saving…", kind: "" };
  if (store.edited === null || store.saved === null) return { text: "Loading the settings…", kind: "" };
  if (!store.isAccepted) return { text: "Nothing can be saved before the agreement is accepted.", kind: "bad" };
  const wrong = Object.values(problems(store.edited, store.sizes));
  if (store.isChanged && wrong.length > 0) return { text: wrong[0], kind: "bad" };
  if (result.text !== "") return result;
  return store.isChanged ? { text: "Changed, not saved yet.", kind: "" } : { text: "Everything is saved.", kind: "" };
}

function show() {
  const { text, kind } = note();
  byId("save-note").textContent = text;
  byId("save-note").dataset.kind = kind;
  byId("save-progress").hidden = !isSaving;
  const isWrong = store.edited !== null && Object.keys(problems(store.edited, store.sizes)).length > 0;
  byId("save").disabled = isSaving || !store.isChanged || !store.isAccepted || isWrong;
  byId("discard").disabled = isSaving || !store.isChanged;
  byId("savebar").dataset.changed = String(store.isChanged);
  byId("agreement-notice").hidden = store.saved === null || store.isAccepted;
  document.title = `${store.isChanged ? "• " : ""}Korvex Orvel`;
}

export function showAgreement() {
  const dialog = byId("agreement");
  byId("agreement-accept").hidden = store.isAccepted;
  byId("agreement-close").textContent = store.isAccepted ? "Close" : "Not now";
  if (!dialog.open) dialog.showModal();
}

async function accept() {
  if (store.saved === null) return;
  const settings = copyOf(store.saved);
  settings.flags.Eula = true;
  if (await post(settings)) byId("agreement").close();
  else byId("agreement-note").textContent = result.text;
}

async function loadAgreement() {
  try {
    const response = await fetch("eula.txt");
    if (!response.ok) throw new Error();
    byId("agreement-text").textContent = await response.text();
  } catch {
    byId("agreement-text").textContent = "The agreement could not be loaded. Load this page again.";
    byId("agreement-accept").disabled = true;
  }
}

export function startSaving() {
  byId("save").addEventListener("click", () => { if (store.edited !== null) post(store.edited); });
  byId("discard").addEventListener("click", () => { if (store.saved !== null) store.load(store.saved); });
  byId("agreement-accept").addEventListener("click", accept);
  byId("agreement-close").addEventListener("click", () => byId("agreement").close());
  for (const id of ["show-agreement", "agreement-open"]) byId(id).addEventListener("click", showAgreement);
  window.addEventListener("beforeunload", (event) => { if (store.isChanged) event.preventDefault(); });
  store.addEventListener("change", () => {
    if (store.isChanged) result = { text: "", kind: "" };
    show();
  });
  loadAgreement();
}
