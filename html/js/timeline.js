/** A day as a line. */

import { DAY_MS, startOfDay } from "./core/wall_time.js";
import { make } from "./dom.js";

/** @param {string} name @param {Record<string, unknown>} attributes @param {...Element} children */
function svg(name, attributes, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, String(value));
  element.append(...children);
  return element;
}

/**
 * @param {string} name @param {{from: number, to: number}[]} spans @param {string} day @param {number} level
 */
function lane(name, spans, day, level) {
  const start = startOfDay(day);
  /** Minutes of the day. @param {number} time */
  const at = (time) => Math.min(1440, Math.max(0, (1440 * (time - start)) / DAY_MS)).toFixed(2);
  const grid = [...Array(23).keys()].map((hour) => `M${60 * (hour + 1)},0V20`).join("");
  const bars = spans.map(({ from, to }) => `M${at(from)},3H${at(to)}V17H${at(from)}Z`).join("");
  const drawing = svg(
    "svg",
    {
      viewBox: "0 0 1440 20",
      preserveAspectRatio: "none",
      role: "img",
      "aria-label": `${name}: ${spans.length} times`,
    },
    svg("path", { d: grid, class: "grid" }),
    svg("path", { d: bars, class: `level${level}` }),
  );
  return make("div", { className: "lane" }, make("span", {}, name), drawing);
}

/**
 * A lane for each level, and the hours below them.
 * @param {number[]} levels @param {(level: number) => string} nameOf
 * @param {{from: number, to: number, level: number}[]} spans @param {string} day
 */
export function lanes(levels, nameOf, spans, day) {
  const mine = (/** @type {number} */ level) => spans.filter((span) => span.level === level);
  const hours = [0, 3, 6, 9, 12, 15, 18, 21, 24].map((hour) => make("span", {}, String(hour)));
  const axis = make("div", { className: "axis", "aria-hidden": "true" }, ...hours);
  return [...levels.map((level) => lane(nameOf(level), mine(level), day, level)), axis];
}
