/** The settings as the pages hold them: their names, their limits, and how two versions of them are put together. */

export const CLASSES = [
  "Persons",
  "Cars",
  "Motorcycles",
  "Bicycles",
  "Airplanes",
  "Buses",
  "Trains",
  "Trucks",
  "Boats",
];
export const LEVELS = ["First", "Second", "Third"];
export const CORNER_COUNTS = [4, 6, 8];

/** @typedef {{x: number, y: number}} Point per cent of the picture, whole, as sent */
/**
 * @typedef {Object} Settings
 * @property {Record<string, boolean>} flags by element name
 * @property {Record<string, string>} texts by element name: numbers as typed, and stream sizes
 * @property {number} corners 4, 6 or 8
 * @property {Point[]} area always eight, the first `corners` in use
 * @property {Point[][]} zones three of four points
 */

export const CLASS_FLAGS = CLASSES.map((name) => `Detect${name}`);
export const ALERT_FLAGS = LEVELS.map((_, i) => `Alert${i + 1}_Active`);
export const ALERT_SECONDS = LEVELS.map((_, i) => `Alert${i + 1}ThreshSeconds`);
export const ZONE_FLAGS = [1, 2, 3].map((zone) => `Exclusion${zone}_Active`);
export const FLAGS = [...CLASS_FLAGS, ...ALERT_FLAGS, "Eula", "DetectionOverlaysOn", "AnonOverlaysOn", ...ZONE_FLAGS];

/**
 * What is typed, and what it may be.
 * @type {Record<string, {label: string, least: number, most: number, whole: boolean}>}
 */
export const NUMBERS = {
  MinNumberOfPeopleForTrigger: { label: "Minimum number of objects", least: 1, most: 12, whole: true },
  Sensitivity: { label: "Score threshold", least: 0.01, most: 0.99, whole: false }, // told with two decimals
  MaxDisappear: { label: "Patience", least: 0, most: 3600, whole: true },
  Alert1ThreshSeconds: { label: "Seconds of the first alert", least: 1, most: 86400, whole: true },
  Alert2ThreshSeconds: { label: "Seconds of the second alert", least: 1, most: 86400, whole: true },
  Alert3ThreshSeconds: { label: "Seconds of the third alert", least: 1, most: 86400, whole: true },
};
/** What streams are chosen for, with the switch of each. @type {Record<string, {label: string, flag: string}>} */
export const STREAMS = {
  SelectedDetectionOverlay: { label: "Boxes", flag: "DetectionOverlaysOn" },
  SelectedAnonOverlay: { label: "Hidden objects", flag: "AnonOverlaysOn" },
};
export const TEXTS = [...Object.keys(NUMBERS), ...Object.keys(STREAMS)];

/**
 * A number as the application tells it: 5 for 05, and 0.50 for 0,5. What is no such number stays as typed.
 * @param {string} name @param {string} typed
 */
export function told(name, typed) {
  const text = typed.trim().replace(",", ".");
  if (NUMBERS[name].whole) return /^\d{1,15}$/.test(text) ? String(Number(text)) : text;
  return /^\d{0,9}\.?\d{0,2}0*$/.test(text) && /\d/.test(text) ? Number(text).toFixed(2) : text;
}

/** @param {Settings} settings @returns {Settings} */
export const copyOf = (settings) => structuredClone(settings);

/**
 * `settings` with all that is in it as in `base` taken from `current`. Shapes move as a whole: half a shape of one page
 * and half of another would be neither's.
 * @param {Settings} settings @param {Settings} base @param {Settings} current @returns {Settings}
 */
export function rebased(settings, base, current) {
  /** @template T @param {T} mine @param {T} old @param {T} theirs @returns {T} */
  const choose = (mine, old, theirs) => structuredClone(JSON.stringify(mine) === JSON.stringify(old) ? theirs : mine);
  /** @template T @param {Record<string, T>} mine @param {Record<string, T>} old @param {Record<string, T>} theirs */
  const each = (mine, old, theirs) =>
    Object.fromEntries(Object.keys(mine).map((name) => [name, choose(mine[name], old[name], theirs[name])]));
  /** @param {Settings} from */
  const shape = ({ corners, area }) => ({ corners, area });
  return {
    flags: each(settings.flags, base.flags, current.flags),
    texts: each(settings.texts, base.texts, current.texts),
    ...choose(shape(settings), shape(base), shape(current)),
    zones: settings.zones.map((zone, i) => choose(zone, base.zones[i], current.zones[i])),
  };
}
