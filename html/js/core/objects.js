/** The objects that are followed, as a host tells them at each pass, in words. */

import { ALERT_SECONDS, LEVELS } from "./settings.js";

/** @import { Settings } from "./settings.js" */
/** @typedef {[x: number, y: number, width: number, height: number]} Box */
/**
 * @typedef {Object} Finding
 * @property {number} id @property {string} label @property {Box} box in pixels of the analysed picture
 * @property {number | null} score null: remembered, not seen
 * @property {number} footing 0 to 4 @property {number} seconds @property {string} reason
 * @property {number} unseen_seconds
 */
/** @typedef {{time: number, size: [number, number], status: number, findings: Finding[], problems: import("./troubles.js").Trouble[]}} Pass */
/** @typedef {ReturnType<typeof tell>} Told */

/** @param {string} data of one message @returns {Pass | null} null: it is none */
export function passOf(data) {
  try {
    const pass = JSON.parse(data);
    return Array.isArray(pass?.findings) && Array.isArray(pass?.size) ? { problems: [], ...pass } : null;
  } catch {
    return null;
  }
}

/** @param {string} reason as the host tells it */
function inWords(reason) {
  if (reason === "counts") return "Counts";
  if (reason === "outside") return "Does not count: outside the area";
  if (reason === "class off") return "Does not count: its class is off";
  return `Does not count: ${reason}`;
}

/**
 * How far it is to the next level.
 * @param {Finding} finding @param {Settings} settings
 */
function progressOf({ footing, seconds }, { texts }) {
  if (footing === 0) return { progress: "", share: 0 };
  const thresholds = ALERT_SECONDS.map((name) => Number(texts[name]));
  const next = thresholds.findIndex((threshold) => seconds < threshold);
  if (next < 0) return { progress: `${seconds} s, past the third alert's ${thresholds[2]} s`, share: 1 };
  return {
    progress: `${seconds} of ${thresholds[next]} s to the ${LEVELS[next].toLowerCase()} alert`,
    share: Math.max(0, seconds / thresholds[next]),
  };
}

/**
 * One object: the share is of the seconds to the next level, the colour that of its box in the picture, the box in per
 * cent of the picture.
 * @param {Finding} finding @param {Pass} pass @param {Settings} settings
 */
function tell(finding, { size: [width, height] }, settings) {
  const { id, label, footing, reason, score, unseen_seconds: unseen } = finding;
  const [x, y, w, h] = finding.box;
  return {
    id,
    name: `${label} ${id}`,
    reason: inWords(reason),
    ...progressOf(finding, settings),
    unseen: score === null ? `not seen for ${Math.max(1, Math.round(unseen))} s` : "",
    score: score === null ? "" : `score ${score.toFixed(2)}`,
    colour: footing === 0 ? "green" : footing === 1 ? "yellow" : "red",
    level: Math.max(0, footing - 1),
    box: [(100 * x) / width, (100 * y) / height, (100 * w) / width, (100 * h) / height],
  };
}

/** In the order in which they came, which the host keeps. @param {Pass} pass @param {Settings} settings */
export const toldOf = (pass, settings) => pass.findings.map((finding) => tell(finding, pass, settings));

/**
 * All of it in a line.
 * @param {Told[]} objects @param {Settings} settings
 */
export function summaryOf(objects, settings) {
  if (objects.length === 0) return "Nothing is followed now.";
  const counting = objects.filter(({ colour }) => colour !== "green").length;
  const needed = Number(settings.texts.MinNumberOfPeopleForTrigger);
  const rule = needed > 1 ? ` An alert needs ${needed} that have stayed long enough.` : "";
  return `${objects.length} followed, ${counting} ${counting === 1 ? "counts" : "count"}.${rule}`;
}
