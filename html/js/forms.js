// @ts-check
/** The Detection, Alerts and Overlays pages: every field bound to the edited settings, its problem shown beside it. */

import { byId, make, setText } from "./dom.js";
import { CLASSES, NUMBERS, problems, STREAMS } from "./settings.js";
import { store } from "./store.js";

const LEVELS = ["First", "Second", "Third"];
const SWITCHES = [...CLASSES.map((name) => `Detect${name}`), ...LEVELS.map((_, i) => `Alert${i + 1}_Active`), "DetectionOverlaysOn", "AnonOverlaysOn"];
const FIELDS = [...Object.keys(NUMBERS), ...Object.keys(STREAMS)];

/** The field that is typed in: what is wrong with it is told at it once it is left, not at each key. */
let typed = "";

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
  for (const name of FIELDS) {
    byId(name).addEventListener("input", () => {
      typed = name;
      store.edit((settings) => { settings.texts[name] = byId(name).value; }, name);
    });
    for (const left of ["change", "blur"])
      byId(name).addEventListener(left, () => {
        typed = "";
        show();
      });
  }
  byId("Sensitivity-range").addEventListener("input", () => store.edit((settings) => {
    settings.texts.Sensitivity = Number(byId("Sensitivity-range").value).toFixed(2);
  }, "Sensitivity-range"));
}

/** @param {string} name @param {string} selected */
function offerSizes(name, selected) {
  const offered = store.sizes.map(({ width, height }) => `${width}x${height}`);
  const choices = selected === "" || offered.includes(selected) ? offered : [selected, ...offered];
  const list = byId(name);
  /** @param {string} size */
  const label = (size) => (offered.includes(size) ? size : /^0(x0)?$/.test(size) ? "none" : `${size} (not offered)`);
  if ([...list.options].map((option) => option.value).join() !== choices.join())
    list.replaceChildren(...choices.map((size) => make("option", { value: size }, label(size))));
  list.value = selected;
}

/** A level stays active only while every lower one is on: told at each level that is on above one that is off. */
function tellChain() {
  const on = LEVELS.map((_, i) => store.edited?.flags[`Alert${i + 1}_Active`] === true);
  const missing = on.indexOf(false);
  LEVELS.forEach((_, i) => {
    const isBlocked = missing >= 0 && i > missing && on[i];
    setText(byId(`Alert${i + 1}-chain`), isBlocked ?
      `Cannot stay active while the ${LEVELS[missing].toLowerCase()} alert is off. Switch that on, or this off.` : "");
  });
}

function tellOverlays() {
  const { flags, texts } = /** @type {import("./settings.js").Settings} */ (store.edited);
  let note = "";
  if (flags.AnonOverlaysOn && flags.DetectionOverlaysOn && texts.SelectedAnonOverlay === texts.SelectedDetectionOverlay)
    note = "Both choose the same size: those streams get plain boxes and are NOT anonymised. Choose another size for one of them.";
  else if (flags.AnonOverlaysOn && texts.SelectedAnonOverlay === "800x450")
    note = "Streams of 800x450 always get plain boxes and are NOT anonymised. Choose another size.";
  setText(byId("overlay-note"), note);
  byId("overlay-note").hidden = note === "";
}

function show() {
  if (store.edited === null) return;
  for (const name of SWITCHES) byId(name).checked = store.edited.flags[name];
  for (const name of Object.keys(NUMBERS)) if (byId(name).value !== store.edited.texts[name]) byId(name).value = store.edited.texts[name];
  byId("Sensitivity-range").value = store.edited.texts.Sensitivity.replace(",", ".");
  for (const name of Object.keys(STREAMS)) offerSizes(name, store.edited.texts[name]);
  const wrong = problems(store.edited, store.sizes);
  for (const name of FIELDS.filter((field) => field !== typed || !(field in wrong))) {
    setText(byId(`${name}-error`), wrong[name] ?? "");
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
