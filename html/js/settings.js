// @ts-check
/**
 * The settings as the pages hold them, and their form in the parameter document.
 *
 * Coordinates. The application stores pixels; the document carries whole per cents, truncated both ways. So a pixel that
 * was made from 33 % of 1280 is read back as 32 %, and a page that sent back what it read would move every corner a bit
 * on each save. These pages hold the per cent that they *send*: `sendable` finds it for what was read, and `settle`
 * keeps to those that it finds, so that saving again stores the same pixel.
 */

export const CLASSES = ["Persons", "Cars", "Motorcycles", "Bicycles", "Airplanes", "Buses", "Trains", "Trucks", "Boats"];
export const CORNER_COUNTS = [4, 6, 8];

/** @typedef {{x: number, y: number}} Point per cent of the picture, whole, as sent */
/** @typedef {{width: number, height: number}} Size */
/**
 * @typedef {Object} Settings
 * @property {Record<string, boolean>} flags by element name
 * @property {Record<string, string>} texts by element name: numbers as typed, and stream sizes
 * @property {number} corners 4, 6 or 8
 * @property {Point[]} area always eight, the first `corners` in use
 * @property {Point[][]} zones three of four points
 */

export const FLAGS = [...CLASSES.map((name) => `Detect${name}`), "Alert1_Active", "Alert2_Active", "Alert3_Active", "Eula",
  "DetectionOverlaysOn", "AnonOverlaysOn", "Exclusion1_Active", "Exclusion2_Active", "Exclusion3_Active"];

/** What is typed, and what it may be. */
export const NUMBERS = {
  MinNumberOfPeopleForTrigger: { label: "Minimum number of objects", least: 1, most: 12, whole: true },
  Sensitivity: { label: "Score threshold", least: 0.01, most: 0.99, whole: false }, // told with two decimals
  MaxDisappear: { label: "Patience", least: 0, most: 3600, whole: true },
  Alert1ThreshSeconds: { label: "Seconds of the first alert", least: 1, most: 86400, whole: true },
  Alert2ThreshSeconds: { label: "Seconds of the second alert", least: 1, most: 86400, whole: true },
  Alert3ThreshSeconds: { label: "Seconds of the third alert", least: 1, most: 86400, whole: true },
};
/** What streams are chosen for, with the switch of each. */
export const STREAMS = {
  SelectedDetectionOverlay: { label: "Boxes", flag: "DetectionOverlaysOn" },
  SelectedAnonOverlay: { label: "Hidden objects", flag: "AnonOverlaysOn" },
};

/** @param {string} csv @returns {Size[]} */
export function parseSizes(csv) {
  return csv.split(",").map((text) => /^(\d+)x(\d+)$/.exec(text)).filter((match) => match !== null)
    .map((match) => ({ width: Number(match[1]), height: Number(match[2]) }));
}

/**
 * The size of the picture that is analysed: the smallest around 16:9 that the network's 960x540 fits into, turned when
 * the camera's picture is.
 * @param {Size[]} sizes @param {boolean} isPortrait @returns {Size}
 */
export function analysedSize(sizes, isPortrait) {
  const fitting = sizes.filter(({ width, height }) => width >= 960 && height >= 540 && width / height > 1.677777 && width / height < 1.877777);
  const { width, height } = fitting.reduce((best, size) => (size.width * size.height < best.width * best.height ? size : best),
    fitting[0] ?? { width: 1280, height: 720 });
  return isPortrait ? { width: height, height: width } : { width, height };
}

/** The per cent that the application reports for a pixel made from `percent`. @param {number} percent @param {number} extent */
const reported = (percent, extent) => Math.trunc((Math.trunc((percent * extent) / 100) * 100) / extent);

/**
 * The per cent to send so that `read` is read again, or the nearest there is: truncation loses less than one.
 * @param {number} read @param {number} extent
 */
export function sendable(read, extent) {
  return [read, read + 1, read - 1].find((percent) => reported(percent, extent) === read) ?? read;
}

/**
 * The per cent that stands for `percent`: of 1280, 65 % and 66 % are both read back as 65 %, and were 66 % sent, the next
 * save would move it to 65 %.
 * @param {number} percent @param {number} extent
 */
export const settled = (percent, extent) => sendable(reported(percent, extent), extent);

/** Every corner as it can be read back. @param {Settings} settings @param {Size} analysed @returns {Settings} */
export function settle(settings, analysed) {
  /** @param {Point} point */
  const place = ({ x, y }) => ({ x: settled(x, analysed.width), y: settled(y, analysed.height) });
  return { ...copyOf(settings), area: settings.area.map(place), zones: settings.zones.map((zone) => zone.map(place)) };
}

/**
 * The elements' texts by name. The application writes texts as stored, with nothing escaped: what some other program
 * stored can make the document one that no parser takes, and it has to be readable all the same to be put right.
 * @param {string} text
 */
function valuesOf(text) {
  const document = new DOMParser().parseFromString(text, "text/xml");
  const root = document.documentElement;
  /** @type {[string, string][]} */
  let elements;
  if (document.querySelector("parsererror") === null) elements = [...root.children].map(({ nodeName, textContent }) => [nodeName, textContent ?? ""]);
  else elements = [...text.matchAll(/<(\w+)>([^<]*)<\/\1>/g)].map(([, name, value]) => [name, value]);
  if (!/^<app>.*<\/app>$/s.test(text) || elements.length === 0)
    throw new Error("The application sent settings that cannot be read. Load this page again; if it stays, look at the log.");
  return Object.fromEntries(elements);
}

/**
 * @param {string} text the document @param {boolean} isPortrait
 * @returns {{settings: Settings, sizes: Size[], analysed: Size}}
 */
export function parseDocument(text, isPortrait) {
  const values = valuesOf(text);
  const sizes = parseSizes(values.CamsResAsCsv ?? "");
  const analysed = analysedSize(sizes, isPortrait);
  /** @param {string} polygon @param {number} count @returns {Point[]} */
  const points = (polygon, count) => Array.from({ length: count }, (_, i) => ({
    x: sendable(Number(values[`${polygon}_${2 * i}`] ?? 0), analysed.width),
    y: sendable(Number(values[`${polygon}_${2 * i + 1}`] ?? 0), analysed.height),
  }));
  const stored = Number(values.DetectionControlPoints ?? 4);
  return {
    settings: {
      flags: Object.fromEntries(FLAGS.map((name) => [name, values[name] === "1"])),
      texts: Object.fromEntries([...Object.keys(NUMBERS), ...Object.keys(STREAMS)].map((name) => [name, values[name] ?? ""])),
      corners: stored === 8 ? 8 : stored > 4 ? 6 : 4,
      area: points("Detection1", 8),
      zones: [1, 2, 3].map((zone) => points(`Exclusion${zone}`, 4)),
    },
    sizes, analysed,
  };
}

/**
 * A number as the application tells it: 5 for 05, and 0.50 for 0,5. What is no such number stays as typed.
 * @param {keyof typeof NUMBERS} name @param {string} typed
 */
export function told(name, typed) {
  const text = typed.trim().replace(",", ".");
  if (NUMBERS[name].whole) return /^\d{1,15}$/.test(text) ? String(Number(text)) : text;
  return /^\d{0,9}\.?\d{0,2}0*$/.test(text) && /\d/.test(text) ? Number(text).toFixed(2) : text;
}

/** What no document can carry, however it is written. */
const UNSENDABLE = /[^\t\n\r\u{20}-\u{D7FF}\u{E000}-\u{FFFD}\u{10000}-\u{10FFFF}]/u;

/** @param {string} text */
const escapeText = (text) => text.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;");

/** Compact: no blanks between elements and no empty values, which the application does not take. @param {Settings} settings */
export function serialise(settings) {
  /** @type {[string, string][]} */
  const elements = [];
  for (const name of /** @type {(keyof typeof NUMBERS)[]} */ (Object.keys(NUMBERS))) elements.push([name, told(name, settings.texts[name])]);
  for (const name of FLAGS) elements.push([name, settings.flags[name] ? "1" : "0"]);
  for (const name of Object.keys(STREAMS)) elements.push([name, settings.texts[name] || "0x0"]);
  elements.push(["DetectionControlPoints", String(settings.corners)]);
  /** @param {string} polygon @param {Point[]} points */
  const add = (polygon, points) => points.forEach(({ x, y }, i) => elements.push([`${polygon}_${2 * i}`, String(x)], [`${polygon}_${2 * i + 1}`, String(y)]));
  add("Detection1", settings.area);
  settings.zones.forEach((zone, i) => add(`Exclusion${i + 1}`, zone));
  return `<app>${elements.map(([name, value]) => `<${name}>${escapeText(value)}</${name}>`).join("")}</app>`;
}

/**
 * What is wrong with the values, by element name; empty when they may be saved.
 * @param {Settings} settings @param {Size[]} sizes @returns {Record<string, string>}
 */
export function problems(settings, sizes) {
  /** @type {Record<string, string>} */
  const found = {};
  for (const [name, rule] of Object.entries(NUMBERS)) {
    const text = told(/** @type {keyof typeof NUMBERS} */ (name), settings.texts[name]);
    const form = rule.whole ? /^\d+$/ : /^\d+\.\d\d$/;
    const value = Number(text);
    if (!form.test(text) || value < rule.least || value > rule.most)
      found[name] = `${rule.label}: a ${rule.whole ? "whole number" : "number with at most two decimals"} ` +
        `from ${rule.least} to ${rule.most}, please.`;
  }
  for (const level of [2, 3]) {
    const [lower, upper] = [`Alert${level - 1}ThreshSeconds`, `Alert${level}ThreshSeconds`];
    if (!found[lower] && !found[upper] && Number(settings.texts[upper]) <= Number(settings.texts[lower]))
      found[upper] = `${level === 2 ? "Second" : "Third"} alert: it needs more seconds than the one below it.`;
  }
  const offered = sizes.map(({ width, height }) => `${width}x${height}`);
  for (const [name, { label, flag }] of Object.entries(STREAMS))
    if (settings.flags[flag] ? !offered.includes(settings.texts[name]) : UNSENDABLE.test(settings.texts[name])) found[name] = `${label}: choose one of the camera's stream sizes.`;
  return found;
}

/** @param {Settings} settings @returns {Settings} */
export const copyOf = (settings) => structuredClone(settings);

/** @param {Settings} a @param {Settings} b */
export const isSame = (a, b) => serialise(a) === serialise(b);

/**
 * `settings` with all that is in it as in `base` taken from `current`. Shapes move as a whole: half a shape of one page
 * and half of another would be neither's.
 * @param {Settings} settings @param {Settings} base @param {Settings} current @returns {Settings}
 */
export function rebased(settings, base, current) {
  /** @template T @param {T} mine @param {T} old @param {T} theirs @returns {T} */
  const choose = (mine, old, theirs) => structuredClone(JSON.stringify(mine) === JSON.stringify(old) ? theirs : mine);
  /** @template T @param {Record<string, T>} mine @param {Record<string, T>} old @param {Record<string, T>} theirs */
  const each = (mine, old, theirs) => Object.fromEntries(Object.keys(mine).map((name) => [name, choose(mine[name], old[name], theirs[name])]));
  const [corners, area] = choose([settings.corners, settings.area], [base.corners, base.area], [current.corners, current.area]);
  return {
    flags: each(settings.flags, base.flags, current.flags),
    texts: each(settings.texts, base.texts, current.texts),
    corners: /** @type {number} */ (corners), area: /** @type {Point[]} */ (area),
    zones: settings.zones.map((zone, i) => choose(zone, base.zones[i], current.zones[i])),
  };
}

const FILE_KIND = "korvex-orvel-settings";

/** @param {Settings} settings @param {string} version */
export function toFile(settings, version) {
  const { Eula: _agreement, ...flags } = settings.flags; // an agreement is accepted by a person, not by a file
  return JSON.stringify({ kind: FILE_KIND, version, ...settings, flags }, null, 2);
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
  if (file?.kind !== FILE_KIND) return { settings: null, wrong: ["This is no settings file of Korvex Orvel. Choose a file that Export made."] };

  const settings = copyOf(current);
  const wrong = [];
  for (const name of FLAGS.filter((flag) => flag !== "Eula"))
    if (typeof file.flags?.[name] === "boolean") settings.flags[name] = file.flags[name];
    else wrong.push(`${name} is missing or neither true nor false.`);
  for (const name of Object.keys(settings.texts))
    if (typeof file.texts?.[name] !== "string") wrong.push(`${name} is missing or no text.`);
    else if (name in STREAMS && !/^(0|\d{1,5}x\d{1,5})?$/.test(file.texts[name]) && file.texts[name] !== current.texts[name])
      wrong.push(`${name} is no stream size.`);
    else settings.texts[name] = file.texts[name];
  if (CORNER_COUNTS.includes(file.corners)) settings.corners = file.corners;
  else wrong.push("The number of corners is not 4, 6 or 8.");
  /**
   * What is not in use may lie outside the picture: so it does on a camera that was turned, and nobody sees it.
   * @param {unknown} points @param {number} count @param {number} used
   */
  const isPolygon = (points, count, used) => Array.isArray(points) && points.length === count &&
    points.every((point, i) => [point?.x, point?.y].every((value) => Number.isInteger(value) &&
      (i < used ? value >= 0 && value <= 100 : Math.abs(value) < 10000)));
  /** @param {Point[]} points nothing but the coordinates of what a file holds */
  const bare = (points) => points.map(({ x, y }) => ({ x, y }));
  if (isPolygon(file.area, 8, settings.corners)) settings.area = bare(file.area);
  else wrong.push("The area is not eight corners of whole per cents from 0 to 100.");
  if (Array.isArray(file.zones) && file.zones.length === 3 && file.zones.every((/** @type {unknown} */ zone, /** @type {number} */ i) => isPolygon(zone, 4, settings.flags[`Exclusion${i + 1}_Active`] ? 4 : 0)))
    settings.zones = file.zones.map(bare);
  else wrong.push("The exclusion zones are not three times four corners of whole per cents from 0 to 100.");
  wrong.push(...Object.values(problems(settings, sizes)));
  return wrong.length > 0 ? { settings: null, wrong } : { settings, wrong };
}
