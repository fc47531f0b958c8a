// @ts-check
/** Loading the settings, saving them, and the agreement that comes before anything else. */

import { byId, setText } from "./dom.js";
import { elementsOf } from "./elements.js";
import { settle } from "./core/coordinates.js";
import { isSame, serialise, settingsOf } from "./core/document.js";
import { postDocument, readDocument, readIsPortrait } from "./core/endpoint.js";
import { problems } from "./core/problems.js";
import { copyOf } from "./core/settings.js";
import { shapeProblems } from "./core/shapes.js";
import { store } from "./core/store.js";
import { readWhetherStartedAnew, readWhetherStored } from "./core/stored.js";

/** @typedef {import("./core/settings.js").Settings} Settings */

const CHANGED_ELSEWHERE = "Not saved: the settings have been changed elsewhere meanwhile. They are shown now, with your changes among them. " +
  "Look through them and save again.";

const NOT_STORED = {
  stored: "",
  lost: "The camera works with these settings but could not store them: at the application's next start they are gone. " +
    "Make room on the camera, restart the application, and save again.",
  unknown: "The camera works with these settings, but may not have stored them: it cannot even write its log. " +
    "Make room on the camera, restart the application, and save again.",
};

export let isSaving = false;
let saves = 0;
/** What went wrong or right last; a later edit clears it. */
let result = { text: "", kind: "" };
/** The save of which it is not known what became: a connection that broke tells nothing. @type {{wanted: Settings, take: Take} | null} */
let uncertain = null;
export const isUncertain = () => uncertain !== null;

/** What is wrong with the last save as far as the camera's storage goes; it stays until that is known to be over. @param {string} text */
function warn(text) {
  setText(byId("store-notice"), text);
  byId("store-notice").hidden = text === "";
}
const isWarned = () => !byId("store-notice").hidden;

/** Tells of a save that the application has taken, once it is known whether it is stored as well. @param {string} text */
async function tellSaved(text) {
  let isAsked = true;
  try {
    warn(NOT_STORED[await readWhetherStored()]);
  } catch {
    isAsked = false;
  }
  if (store.isChanged) tell("", "");
  else if (isWarned()) tell("In use, but not stored: see the warning at the top.", "bad");
  else tell(isAsked ? text : `${text} Whether it is stored as well could not be asked.`, "good");
}

/** Takes the warning back when the application has started anew since. */
async function lookAfterWarning() {
  if (!isWarned() || !(await readWhetherStartedAnew().catch(() => false))) return;
  warn("");
  if (!store.isChanged) tell("The application has started anew, without what it could not store. What is shown is what it has.", "bad");
}

async function readSettings() {
  const isPortrait = await readIsPortrait();
  const { settings, ...picture } = settingsOf(elementsOf(await readDocument()), isPortrait);
  Object.assign(store, picture);
  return settings;
}

/** Reads what the application has; edits that are not saved stay. @param {boolean} [keepsResult] whether what was told of the last save stays */
export async function loadSettings(keepsResult = false) {
  if (isSaving) return;
  const before = saves, stored = await readSettings();
  if (saves !== before) return; // a save that has begun meanwhile knows better
  const sent = uncertain, told = result;
  uncertain = null;
  if (sent !== null && isSame(stored, settle(sent.wanted, store.analysed))) {
    sent.take(stored, sent.wanted);
    await tellSaved("Saved.");
  } else {
    store.load(stored);
    if (!store.isChanged && sent !== null) await tellSaved("Saved.");
    else if (sent !== null) tell("The last save did not get through. What is shown is not saved: look through it and save once more.", "bad");
    else if (store.isChanged && keepsResult) tell(told.text, told.kind);
    await lookAfterWarning();
  }
  if (store.isAccepted && byId("agreement").open && !byId("agreement-accept").hidden) byId("agreement").close();
  if (!store.isAccepted) showAgreement();
}

/** @param {string} text @param {string} kind */
function tell(text, kind) {
  result = { text, kind };
  show();
}

/** @typedef {(stored: Settings, wanted: Settings) => void} Take */

/** Posts the settings and looks at what the application made of them. @param {Settings} wanted @param {Take} take */
async function post(wanted, take) {
  const sent = settle(wanted, store.analysed);
  await postDocument(serialise(sent));
  let stored = sent;
  try {
    stored = await readSettings();
  } catch { /* They are saved all the same; the page reads them once there is an answer again. */ }
  take(stored, wanted);
  return isSame(stored, sent) ? "Saved." : "Saved. The application keeps some values a little differently; what is shown is what it keeps.";
}

/** Looks what became of a save that failed. @param {Settings} wanted @param {Take} take @param {unknown} failure */
async function examine(wanted, take, failure) {
  const { message } = /** @type {Error} */ (failure);
  const mayBeDone = /** @type {any} */ (failure).isUncertain === true;
  try {
    const stored = await readSettings();
    if (mayBeDone && isSame(stored, settle(wanted, store.analysed))) {
      take(stored, wanted);
      await tellSaved("Saved.");
      return true;
    }
    store.load(stored);
    tell(`Not saved. ${message}`, "bad");
  } catch {
    if (mayBeDone) uncertain = { wanted, take };
    tell(`Not saved${mayBeDone ? ", as far as is known" : ""}. ${message}`, "bad");
  }
  return false;
}

/**
 * Saves what `choose` makes of the settings that the application has now.
 * @param {(current: Settings) => Settings | null} choose null: nothing is to be saved yet
 * @param {Take} take what to do with what is stored then @returns {Promise<boolean>}
 */
async function save(choose, take) {
  if (isSaving || store.saved === null) return false;
  isSaving = true;
  saves += 1;
  show();
  /** @type {Settings | null} */
  let wanted = null;
  try {
    wanted = choose(await readSettings());
    uncertain = null;
    if (wanted === null) return false;
    await tellSaved(await post(wanted, take));
    return true;
  } catch (failure) {
    if (wanted !== null) return await examine(wanted, take, failure);
    tell(`Not saved. ${/** @type {Error} */ (failure).message}`, "bad");
    return false;
  } finally {
    isSaving = false;
    show();
  }
}

/** What another page has saved since this one looked is not overwritten unseen. @param {Settings} current @param {Settings} edited */
function chooseEdited(current, edited) {
  if (store.saved === null) return null;
  if (isSame(current, store.saved)) return edited;
  store.load(current);
  if (store.isChanged) tell(CHANGED_ELSEWHERE, "bad");
  else tell("Saved already, by another page.", "good");
  return null;
}

function note() {
  if (isSaving) return { text: "Saving…", kind: "" };
  if (store.edited === null || store.saved === null) return { text: "Loading the settings…", kind: "" };
  if (!store.isAccepted) return { text: "Nothing can be saved before the agreement is accepted.", kind: "bad" };
  const wrong = Object.values(problems(store.edited, store.sizes));
  if (store.isChanged && wrong.length > 0) return { text: wrong[0], kind: "bad" };
  if (result.text !== "") return result;
  if (store.isChanged && shapeProblems(store.edited).length > 0)
    return { text: "Changed, not saved yet; see the warning below the picture.", kind: "bad" };
  return store.isChanged ? { text: "Changed, not saved yet.", kind: "" } : { text: "Everything is saved.", kind: "" };
}

function show() {
  const { text, kind } = note();
  setText(byId("save-note"), text);
  byId("save-note").dataset.kind = kind;
  byId("save-progress").hidden = !isSaving;
  const wrong = store.edited === null ? [] : Object.keys(problems(store.edited, store.sizes));
  byId("save").disabled = isSaving || !store.isChanged || !store.isAccepted || wrong.length > 0;
  byId("discard").disabled = isSaving || !store.isChanged;
  byId("agreement-accept").disabled = isSaving || store.saved === null || !isReadable;
  byId("savebar").dataset.changed = String(store.isChanged);
  byId("agreement-notice").hidden = store.saved === null || store.isAccepted;
  for (const panel of document.querySelectorAll("[role=tabpanel]:not(#panel-advanced)"))
    panel.toggleAttribute("inert", store.edited === null);
  for (const tab of document.querySelectorAll("[role=tab]")) {
    const panel = byId(tab.getAttribute("aria-controls") ?? "");
    tab.classList.toggle("wrong", wrong.some((name) => panel.contains(byId(name))));
  }
  document.title = `${store.isChanged ? "• " : ""}Korvex Orvel`;
}

export function showAgreement() {
  const dialog = byId("agreement");
  byId("agreement-note").textContent = "";
  byId("agreement-accept").hidden = store.isAccepted;
  byId("agreement-close").textContent = store.isAccepted ? "Close" : "Not now";
  if (!dialog.open) dialog.showModal();
  loadAgreement();
}

/** The agreement alone is saved, beside what the application has: what is edited meanwhile waits for Save. */
async function accept() {
  byId("agreement-note").textContent = "";
  const isSaved = await save((current) => {
    store.load(current);
    return { ...current, flags: { ...current.flags, Eula: true } };
  }, (stored) => store.load(stored));
  if (isSaved) byId("agreement").close();
  else byId("agreement-note").textContent = result.text;
}

let isReadable = false;

async function loadAgreement() {
  if (isReadable) return;
  try {
    const response = await fetch("eula.txt");
    if (!response.ok) throw new Error();
    byId("agreement-text").textContent = await response.text();
    isReadable = true;
  } catch {
    byId("agreement-text").textContent = "The agreement could not be loaded. Close this and open it again.";
  }
  show();
}

export function startSaving() {
  byId("save").addEventListener("click", () => {
    if (store.edited === null) return;
    const edited = copyOf(store.edited); // what was looked through; what is typed from now on may be half a value
    save((current) => chooseEdited(current, edited), (stored, wanted) => store.keep(stored, wanted));
  });
  byId("discard").addEventListener("click", () => store.edit((settings) => {
    if (store.saved !== null) Object.assign(settings, copyOf(store.saved));
  }));
  byId("agreement-accept").addEventListener("click", accept);
  byId("agreement-close").addEventListener("click", () => byId("agreement").close());
  for (const id of ["show-agreement", "agreement-open"]) byId(id).addEventListener("click", showAgreement);
  window.addEventListener("beforeunload", (event) => { if (store.isChanged) event.preventDefault(); });
  store.addEventListener("change", () => {
    if (store.isChanged && !isSaving) result = { text: "", kind: "" };
    show();
  });
  loadAgreement();
}
