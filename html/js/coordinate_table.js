/** The corners' coordinates as numbers that are typed. */

import { put, shapesOn } from "./core/shapes.js";
import { store } from "./core/store.js";
import { byId, make, setText } from "./dom.js";

/** @import { Settings } from "./core/settings.js" */
/** @import { Shape } from "./core/shapes.js" */
/** @typedef {"x" | "y"} Axis */

/** @type {Map<string, HTMLInputElement>} */
const inputs = new Map();

/** What is told of the coordinate that was typed last. @param {string} text @param {"error" | "note"} kind */
function tell(text, kind) {
  setText(byId("coordinates-note"), text);
  byId("coordinates-note").dataset.kind = kind;
}

/** @param {HTMLInputElement} input @param {boolean} isWrong */
const mark = (input, isWrong) => input.setAttribute("aria-invalid", String(isWrong));

/** @param {HTMLInputElement} input @param {Shape} shape @param {number} corner @param {Axis} axis */
function take(input, shape, corner, axis) {
  if (store.edited === null) return;
  const name = `${shape.name}, corner ${corner + 1}, ${axis}`;
  const before = shape.points(store.edited)[corner][axis];
  const value = Number(input.value);
  const isFine = input.value !== "" && Number.isInteger(value) && value >= 0 && value <= 100;
  mark(input, !isFine);
  if (!isFine) return tell(`${name}: a whole number from 0 to 100, please. Until then it stays at ${before}.`, "error");
  tell("", "note");
  store.edit((settings) => {
    const point = shape.points(settings)[corner];
    put(point, { ...point, [axis]: value }, store.analysed);
  });
  const now = shape.points(store.edited)[corner][axis];
  input.value = String(now);
  if (now !== value)
    tell(`${name}: ${value} and ${now} are the same pixel to the application, which tells ${now}.`, "note");
}

/** Made once for each coordinate. @param {Shape} shape @param {number} corner @param {Axis} axis */
function inputFor(shape, corner, axis) {
  const key = `${shape.key}.${corner}.${axis}`;
  const known = inputs.get(key);
  if (known !== undefined) return known;
  const label = `${shape.name}, corner ${corner + 1}, ${axis}`;
  const input = make("input", {
    type: "number",
    min: "0",
    max: "100",
    step: "1",
    "aria-label": label,
    "aria-describedby": "coordinates-note",
  });
  input.dataset.coordinate = key;
  input.addEventListener("change", () => take(input, shape, corner, axis));
  inputs.set(key, input);
  return input;
}

/** @param {Shape} shape @param {number} corner */
const rowOf = (shape, corner) =>
  make(
    "tr",
    {},
    make("th", { scope: "row" }, String(corner + 1)),
    make("td", {}, inputFor(shape, corner, "x")),
    make("td", {}, inputFor(shape, corner, "y")),
  );

/** @param {Shape} shape @param {number} corners */
function tableOf(shape, corners) {
  const heads = ["Corner", "x", "y"].map((text) => make("th", { scope: "col" }, text));
  const rows = [...Array(corners).keys()].map((corner) => rowOf(shape, corner));
  const caption = make("caption", {}, shape.name);
  return make("table", {}, caption, make("thead", {}, make("tr", {}, ...heads)), make("tbody", {}, ...rows));
}

/** The tables that there are: which shapes, and with how many corners. */
let tabled = "";

/** @param {Settings} settings */
export function showCoordinates(settings) {
  const shown = shapesOn(settings).map((shape) => ({ shape, points: shape.points(settings) }));
  const kind = shown.map(({ shape, points }) => `${shape.key}:${points.length}`).join();
  if (kind !== tabled) {
    tabled = kind;
    byId("coordinates").replaceChildren(...shown.map(({ shape, points }) => tableOf(shape, points.length)));
  }
  for (const { shape, points } of shown)
    points.forEach((point, i) => {
      showIn(inputFor(shape, i, "x"), String(point.x));
      showIn(inputFor(shape, i, "y"), String(point.y));
    });
  if (
    document.querySelector("[data-coordinate][aria-invalid=true]") === null &&
    byId("coordinates-note").dataset.kind === "error"
  )
    tell("", "note");
}

/** What is wrong stays as it was typed, until its corner is somewhere else. @param {HTMLInputElement} input @param {string} text */
function showIn(input, text) {
  if (input.getAttribute("aria-invalid") === "true" && input.dataset.shown === text) return;
  mark(input, false);
  input.dataset.shown = text;
  input.value = text;
}
