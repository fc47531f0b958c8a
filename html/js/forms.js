// @ts-check
/** The Detection, Alerts and Overlays pages: every field bound to the edited settings, its problem shown beside it. */

import { byId, make } from "./dom.js";
import { CLASSES, NUMBERS, problems } from "./settings.js";
import { store } from "./store.js";

const LEVELS = ["First", "Second", "Third"];
const SWITCHES = [...CLASSES.map((name) => `Detect${name}`), ...LEVELS.map((_, i) => `Alert${i + 1}_Active`), "DetectionOverlaysOn", "AnonOverlaysOn"];
const STREAMS = ["SelectedDetectionOverlay", "SelectedAnonOverlay"];

function makeFields() {
  byId("classes").append(...CLASSES.map((name) => make("label", { className: "check" }, make("input", { type: "checkbox", id: `Detect${name}` }), name)));
  byId("alert-levels").append(...LEVELS.map((name, i) => {
    const seconds = `Alert${i + 1}ThreshSeconds`;
    return make("fieldset", { className: "field" }, make("legend", {}, `${name} alert`),
      make("label", { className: "check" }, make("input", { type: "checkbox", id: `Alert${i + 1}_Active` }), "On"),
      make("div", { className: "row" }, make("label", { for: seconds }, "Seconds in the area"),
        make("input", { id: seconds, inputMode: "numeric", autocomplete: "off", size: 6, "aria-describedby": `${seconds}-error` })),
      make("p", { className: "error", id: `${seconds}-error` }),
      make("p", { className: "chained", id: `Alert${i + 1}-chain`, role: "status" }));
  }));
}

function bindFields() {
  for (const name of SWITCHES)
    byId(name).addEventListener("change", () => store.edit((settings) => { settings.flags[name] = byId(name).checked; }));
  for (const name of [...Object.keys(NUMBERS), ...STREAMS])
    byId(name).addEventListener("change", () => store.edit((settings) => { settings.texts[name] = byId(name).value; }));
  byId("Sensitivity-range").addEventListener("input", () => { byId("Sensitivity").value = byId("Sensitivity-range").value; });
  byId("Sensitivity-range").addEventListener("change", () => store.edit((settings) => { settings.texts.Sensitivity = byId("Sensitivity-range").value; }));
}

/** @param {string} name @param {string} selected */
function offerSizes(name, selected) {
  const offered = store.sizes.map(({ width, height }) => `${width}x${height}`);
  const choices = selected === "" || offered.includes(selected) ? offered : [selected, ...offered];
  const list = byId(name);
  if ([...list.options].map((option) => option.value).join() !== choices.join())
    list.replaceChildren(...choices.map((size) => make("option", { value: size }, offered.includes(size) ? size : `${size} (not offered)`)));
  list.value = selected;
}

/** A level stays active only while every lower one is on: told at each level that is on above one that is off. */
function tellChain() {
  const on = LEVELS.map((_, i) => store.edited?.flags[`Alert${i + 1}_Active`] === true);
  const missing = on.indexOf(false);
  LEVELS.forEach((_, i) => {
    const isBlocked = missing >= 0 && i > missing && on[i];
    byId(`Alert${i + 1}-chain`).textContent = isBlocked ?
      `Cannot stay active while the ${LEVELS[missing].toLowerCase()} alert is off. Switch that on, or this off.` : "";
  });
}

function tellOverlays() {
  const { flags, texts } = /** @type {import("./settings.js").Settings} */ (store.edited);
  let note = "";
  if (flags.AnonOverlaysOn && flags.DetectionOverlaysOn && texts.SelectedAnonOverlay === texts.SelectedDetectionOverlay)
    note = "Both choose the same size: those streams get plain boxes and are NOT anonymised. Choose another size for one of them.";
  else if (flags.AnonOverlaysOn && texts.SelectedAnonOverlay === "800x450")
    note = "Streams of 800x450 always get plain boxes and are NOT anonymised. Choose another size.";
  byId("overlay-note").textContent = note;
  byId("overlay-note").hidden = note === "";
}

function show() {
  if (store.edited === null) return;
  for (const name of SWITCHES) byId(name).checked = store.edited.flags[name];
  for (const name of Object.keys(NUMBERS)) if (byId(name).value !== store.edited.texts[name]) byId(name).value = store.edited.texts[name];
  byId("Sensitivity-range").value = store.edited.texts.Sensitivity.replace(",", ".");
  for (const name of STREAMS) offerSizes(name, store.edited.texts[name]);
  const wrong = problems(store.edited, store.sizes);
  for (const name of [...Object.keys(NUMBERS), ...STREAMS]) {
    byId(`${name}-error`).textContent = wrong[name] ?? "";
    byId(name).setAttribute("aria-invalid", String(name in wrong));
  }
  tellChain();
  tellOverlays();
}

export function startForms() {
  makeFields();
  bindFields();
  store.addEventListener("change", show);
  show();
}
