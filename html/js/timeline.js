// @ts-check
/** A day as a line. */

import { DAY_MS, startOfDay } from "./core/wall_time.js";
import { make } from "./dom.js";

const HEIGHT = 20;

/** @param {string} name @param {Record<string, unknown>} attributes @param {...Element} children */
function svg(name, attributes, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, String(value));
  element.append(...children);
  return element;
}

/**
 * @param {string} name @param {string} told what a reader is told of it
 * @param {{from: number, to: number}[]} spans @param {string} day @param {number} [level]
 */
export function lane(name, told, spans, day, level = 1) {
  const start = startOfDay(day);
  /** Minutes of the day. @param {number} time */
  const at = (time) => Math.min(1440, Math.max(0, ((time - start) / DAY_MS) * 1440));
  const grid = [...Array(23).keys()].map((hour) => `M${60 * (hour + 1)},0V${HEIGHT}`).join("");
  const bars = spans.map(
    ({ from, to }) => `M${at(from).toFixed(2)},3H${at(to).toFixed(2)}V${HEIGHT - 3}H${at(from).toFixed(2)}Z`,
  );
  const drawing = svg(
    "svg",
    { viewBox: `0 0 1440 ${HEIGHT}`, preserveAspectRatio: "none", role: "img", "aria-label": told },
    svg("path", { d: grid, class: "grid" }),
    svg("path", { d: bars.join(""), class: `bars level${level}` }),
  );
  return make("div", { className: "lane" }, make("span", {}, name), drawing);
}

/** The hours below the lanes. */
export function showAxis() {
  const hours = [0, 3, 6, 9, 12, 15, 18, 21, 24].map((hour) => make("span", {}, String(hour)));
  return make(
    "div",
    { className: "lane", "aria-hidden": "true" },
    make("span"),
    make("div", { className: "axis" }, ...hours),
  );
}
