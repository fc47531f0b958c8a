/** The Detection, Alerts and Overlays pages: every field bound to the edited settings, its problem shown beside it. */

import { alertAdvice, classAdvice } from "./core/advice.js";
import { chainWarnings, overlayWarning, problems } from "./core/problems.js";
import { ALERT_FLAGS, ALERT_SECONDS, CLASS_FLAGS, CLASSES, LEVELS, NUMBERS, STREAMS, TEXTS } from "./core/settings.js";
import { sizeText } from "./core/sizes.js";
import { store } from "./core/store.js";
import { byId, inputOf, make, selectOf, setText, showNotice } from "./dom.js";
import { bindSwitch, makeSwitch, showSwitches } from "./switches.js";

/** @import { Settings } from "./core/settings.js" */

const SWITCHES = [...CLASS_FLAGS, ...ALERT_FLAGS, "DetectionOverlaysOn", "AnonOverlaysOn"];

/** The field that is typed in: what is wrong with it is told at it once it is left, not at each key. */
let typed = "";

/** @param {number} level from 0 */
function makeAlertLevel(level) {
  const seconds = ALERT_SECONDS[level];
  const error = `${seconds}-error`;
  const { least, most } = NUMBERS[seconds];
  const mark = make("span", { className: "mark" });
  mark.dataset.level = String(level + 1);
  const typing = { inputMode: "numeric", autocomplete: "off", size: 6, "aria-describedby": `${seconds}-help ${error}` };
  return make(
    "fieldset",
    { className: "field" },
    make("legend", {}, mark, `${LEVELS[level]} alert`),
    makeSwitch(ALERT_FLAGS[level], "Enabled"),
    make(
      "div",
      { className: "row" },
      make("label", { for: seconds }, "Seconds in the area"),
      make("input", { id: seconds, ...typing }),
    ),
    make(
      "p",
      { className: "help", id: `${seconds}-help` },
      `From ${least} to ${most}${level > 0 ? ", and more than the one below" : ""}.`,
    ),
    make("p", { className: "error", id: error }),
    make("p", { className: "chained", id: `Alert${level + 1}-chain`, role: "status" }),
  );
}

function makeFields() {
  byId("classes").append(...CLASSES.map((name, i) => makeSwitch(CLASS_FLAGS[i], name)));
  byId("alert-levels").append(...LEVELS.map((_, i) => makeAlertLevel(i)));
}

/** @param {string} name */
const fieldOf = (name) => (name in STREAMS ? selectOf(name) : inputOf(name));

function bindFields() {
  SWITCHES.forEach(bindSwitch);
  for (const name of TEXTS) {
    const field = fieldOf(name);
    field.addEventListener("input", () => {
      typed = name;
      store.edit((settings) => {
        settings.texts[name] = field.value;
      }, name);
    });
    for (const left of ["change", "blur"])
      field.addEventListener(left, () => {
        typed = "";
        show();
      });
  }
  const range = inputOf("Sensitivity-range");
  range.addEventListener("input", () =>
    store.edit((settings) => {
      settings.texts.Sensitivity = Number(range.value).toFixed(2);
    }, "Sensitivity-range"),
  );
}

/** @param {string} name @param {string} selected */
function offerSizes(name, selected) {
  const offered = store.sizes.map(sizeText);
  const choices = selected === "" || offered.includes(selected) ? offered : [selected, ...offered];
  const list = selectOf(name);
  /** @param {string} size */
  const label = (size) => (offered.includes(size) ? size : /^0(x0)?$/.test(size) ? "none" : `${size} (not offered)`);
  if ([...list.options].map((option) => option.value).join() !== choices.join())
    list.replaceChildren(...choices.map((size) => make("option", { value: size }, label(size))));
  list.value = selected;
}

/** @param {Settings} settings */
function showValues({ flags, texts }) {
  showSwitches(SWITCHES, flags);
  for (const name of Object.keys(NUMBERS)) if (inputOf(name).value !== texts[name]) inputOf(name).value = texts[name];
  inputOf("Sensitivity-range").value = texts.Sensitivity.replace(",", ".");
  for (const name of Object.keys(STREAMS)) offerSizes(name, texts[name]);
}

/** @param {Settings} settings */
function showProblems(settings) {
  const wrong = problems(settings, store.sizes);
  for (const name of TEXTS.filter((field) => field !== typed || !(field in wrong))) {
    setText(byId(`${name}-error`), wrong[name] ?? "");
    byId(name).setAttribute("aria-invalid", String(name in wrong));
  }
  chainWarnings(settings).forEach((warning, i) => setText(byId(`Alert${i + 1}-chain`), warning));
  setText(byId("class-advice"), classAdvice(settings));
  setText(byId("alert-advice"), alertAdvice(settings));
  showNotice("overlay-note", overlayWarning(settings));
}

function show() {
  if (store.edited === null) return;
  showValues(store.edited);
  showProblems(store.edited);
}

export function startForms() {
  makeFields();
  bindFields();
  store.addEventListener("change", show);
  show();
}
