/** The settings in the form that the application reads and writes: elements with a text, one for each value. */

import { sendable } from "./coordinates.js";
import { FLAGS, NUMBERS, STREAMS, TEXTS, told } from "./settings.js";
import { analysedSize, parseSizes } from "./sizes.js";

/** @import { Point, Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */
/** @typedef {{settings: Settings, sizes: Size[], analysed: Size, isPortrait: boolean}} Received */

/**
 * @param {Record<string, string>} values the elements' texts by name @param {boolean} isPortrait @returns {Received}
 */
export function settingsOf(values, isPortrait) {
  const sizes = parseSizes(values.CamsResAsCsv ?? "");
  const analysed = analysedSize(sizes, isPortrait);
  /** @param {string} polygon @param {number} count @returns {Point[]} */
  const points = (polygon, count) =>
    Array.from({ length: count }, (_, i) => ({
      x: sendable(Number(values[`${polygon}_${2 * i}`] ?? 0), analysed.width),
      y: sendable(Number(values[`${polygon}_${2 * i + 1}`] ?? 0), analysed.height),
    }));
  const stored = Number(values.DetectionControlPoints ?? 4);
  return {
    settings: {
      flags: Object.fromEntries(FLAGS.map((name) => [name, values[name] === "1"])),
      texts: Object.fromEntries(TEXTS.map((name) => [name, values[name] ?? ""])),
      corners: stored === 8 ? 8 : stored > 4 ? 6 : 4,
      area: points("Detection1", 8),
      zones: [1, 2, 3].map((zone) => points(`Exclusion${zone}`, 4)),
    },
    sizes,
    analysed,
    isPortrait,
  };
}

/** @param {string} text */
const escapeText = (text) => text.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;");

/** @param {string} polygon @param {Point[]} points */
const pointElements = (polygon, points) =>
  points.flatMap(({ x, y }, i) => [
    [`${polygon}_${2 * i}`, String(x)],
    [`${polygon}_${2 * i + 1}`, String(y)],
  ]);

/**
 * Compact: no blanks between elements and no empty values, which the application does not take.
 * @param {Settings} settings
 */
export function serialise({ flags, texts, corners, area, zones }) {
  const elements = [
    ...Object.keys(NUMBERS).map((name) => [name, told(name, texts[name])]),
    ...FLAGS.map((name) => [name, flags[name] ? "1" : "0"]),
    ...Object.keys(STREAMS).map((name) => [name, texts[name] || "0x0"]),
    ["DetectionControlPoints", String(corners)],
    ...pointElements("Detection1", area),
    ...zones.flatMap((zone, i) => pointElements(`Exclusion${i + 1}`, zone)),
  ];
  return `<app>${elements.map(([name, value]) => `<${name}>${escapeText(value)}</${name}>`).join("")}</app>`;
}

/** Whether the application would get the same of both. @param {Settings} a @param {Settings} b */
export const isSame = (a, b) => serialise(a) === serialise(b);
