// @ts-check
/** The corners' coordinates as numbers that are typed. */

import { put, shapesOn } from "./core/shapes.js";
import { store } from "./core/store.js";
import { byId, make } from "./dom.js";

/** @typedef {import("./core/settings.js").Settings} Settings */
/** @typedef {import("./core/shapes.js").Shape} Shape */
/** @typedef {"x" | "y"} Axis */

/** @type {Map<string, HTMLInputElement>} */
const inputs = new Map();

/** @param {HTMLInputElement} input @param {Shape} shape @param {number} corner @param {Axis} axis */
function take(input, shape, corner, axis) {
  const value = Number(input.value);
  const isFine = input.value !== "" && Number.isInteger(value) && value >= 0 && value <= 100;
  if (isFine)
    store.edit((settings) => {
      const point = shape.points(settings)[corner];
      put(point, { ...point, [axis]: value }, store.analysed);
    });
  if (store.edited !== null) input.value = String(shape.points(store.edited)[corner][axis]);
}

/** Made once for each coordinate. @param {Shape} shape @param {number} corner @param {Axis} axis */
function inputFor(shape, corner, axis) {
  const key = `${shape.key}.${corner}.${axis}`;
  const known = inputs.get(key);
  if (known !== undefined) return known;
  const label = `${shape.name}, corner ${corner + 1}, ${axis}`;
  const input = make("input", { type: "number", min: "0", max: "100", step: "1", "aria-label": label });
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
    points.forEach(({ x, y }, i) => {
      inputFor(shape, i, "x").value = String(x);
      inputFor(shape, i, "y").value = String(y);
    });
}
