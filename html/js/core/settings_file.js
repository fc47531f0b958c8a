/** The settings as a file that a person keeps, and takes back. */

import { problems } from "./problems.js";
import { copyOf, CORNER_COUNTS, FLAGS, STREAMS, ZONE_FLAGS } from "./settings.js";

/** @import { Point, Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */

const FILE_KIND = "korvex-orvel-settings";

/** @param {Settings} settings @param {string} version */
export function toFile(settings, version) {
  const { Eula: _agreement, ...flags } = settings.flags; // an agreement is accepted by a person, not by a file
  return JSON.stringify({ kind: FILE_KIND, version, ...settings, flags }, null, 2);
}

/** @param {any} file @param {Settings} settings get what is fine @returns {string[]} what is not */
function takeFlags(file, settings) {
  const wrong = [];
  for (const name of FLAGS.filter((flag) => flag !== "Eula"))
    if (typeof file.flags?.[name] === "boolean") settings.flags[name] = file.flags[name];
    else wrong.push(`${name} is missing or neither true nor false.`);
  return wrong;
}

/** @param {any} file @param {Settings} settings get what is fine @returns {string[]} what is not */
function takeTexts(file, settings) {
  const wrong = [];
  for (const [name, current] of Object.entries(settings.texts)) {
    const text = file.texts?.[name];
    if (typeof text !== "string") wrong.push(`${name} is missing or no text.`);
    else if (name in STREAMS && !/^(0|\d{1,5}x\d{1,5})?$/.test(text) && text !== current)
      wrong.push(`${name} is no stream size.`);
    else settings.texts[name] = text;
  }
  return wrong;
}

/**
 * What is not in use may lie outside the picture: so it does on a camera that was turned, and nobody sees it.
 * @param {unknown} points @param {number} count @param {number} used
 */
function isPolygon(points, count, used) {
  /** @param {unknown} value @param {number} i */
  const isCoordinate = (value, i) =>
    typeof value === "number" &&
    Number.isInteger(value) &&
    (i < used ? value >= 0 && value <= 100 : Math.abs(value) < 10000);
  return (
    Array.isArray(points) &&
    points.length === count &&
    points.every((point, i) => isCoordinate(point?.x, i) && isCoordinate(point?.y, i))
  );
}

/** @param {Point[]} points nothing but the coordinates of what a file holds */
const bare = (points) => points.map(({ x, y }) => ({ x, y }));

/** @param {any} file @param {Settings} settings get what is fine @returns {string[]} what is not */
function takeShapes(file, settings) {
  const wrong = [];
  if (CORNER_COUNTS.includes(file.corners)) settings.corners = file.corners;
  else wrong.push("The number of corners is not 4, 6 or 8.");
  if (isPolygon(file.area, 8, settings.corners)) settings.area = bare(file.area);
  else wrong.push("The area is not eight corners of whole per cents from 0 to 100.");
  const areZones =
    Array.isArray(file.zones) &&
    file.zones.length === 3 &&
    ZONE_FLAGS.every((flag, i) => isPolygon(file.zones[i], 4, settings.flags[flag] ? 4 : 0));
  if (areZones) settings.zones = file.zones.map(bare);
  else wrong.push("The exclusion zones are not three times four corners of whole per cents from 0 to 100.");
  return wrong;
}

/**
 * The settings in a file, with what is wrong with it; null when it cannot be taken at all.
 * @param {string} text @param {Settings} current @param {Size[]} sizes
 * @returns {{settings: Settings | null, wrong: string[]}}
 */
export function fromFile(text, current, sizes) {
  let file;
  try {
    file = JSON.parse(text);
  } catch {
    return { settings: null, wrong: ["This is no settings file: it is not JSON. Choose a file that Export made."] };
  }
  if (file?.kind !== FILE_KIND)
    return { settings: null, wrong: ["This is no settings file of Korvex Orvel. Choose a file that Export made."] };
  const settings = copyOf(current);
  const wrong = [...takeFlags(file, settings), ...takeTexts(file, settings), ...takeShapes(file, settings)];
  wrong.push(...Object.values(problems(settings, sizes)));
  return wrong.length > 0 ? { settings: null, wrong } : { settings, wrong };
}
