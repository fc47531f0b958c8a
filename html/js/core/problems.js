// @ts-check
/** What is wrong with the settings so that they cannot be saved, and what is to be warned of though they can. */

import { ALERT_FLAGS, ALERT_SECONDS, LEVELS, NUMBERS, STREAMS, told } from "./settings.js";
import { ALWAYS_WITH_BOXES, sizeText } from "./sizes.js";

/** @typedef {import("./settings.js").Settings} Settings */
/** @typedef {import("./sizes.js").Size} Size */

/** What no document can carry, however it is written. */
const UNSENDABLE = /[^\t\n\r\u{20}-\u{D7FF}\u{E000}-\u{FFFD}\u{10000}-\u{10FFFF}]/u;

/** @param {string} name @param {string} typed @returns {string} empty: nothing is wrong */
function problemOfNumber(name, typed) {
  const { label, least, most, whole } = NUMBERS[name];
  const text = told(name, typed);
  const isNumber = (whole ? /^\d+$/ : /^\d+\.\d\d$/).test(text);
  if (isNumber && Number(text) >= least && Number(text) <= most) return "";
  return `${label}: a ${whole ? "whole number" : "number with at most two decimals"} from ${least} to ${most}, please.`;
}

/**
 * What is wrong with the values, by element name; empty when they may be saved.
 * @param {Settings} settings @param {Size[]} sizes @returns {Record<string, string>}
 */
export function problems({ flags, texts }, sizes) {
  /** @type {Record<string, string>} */
  const found = {};
  for (const name of Object.keys(NUMBERS)) {
    const problem = problemOfNumber(name, texts[name]);
    if (problem !== "") found[name] = problem;
  }
  ALERT_SECONDS.slice(1).forEach((upper, i) => {
    const lower = ALERT_SECONDS[i];
    if (!found[lower] && !found[upper] && Number(texts[upper]) <= Number(texts[lower]))
      found[upper] = `${LEVELS[i + 1]} alert: it needs more seconds than the one below it.`;
  });
  const offered = sizes.map(sizeText);
  for (const [name, { label, flag }] of Object.entries(STREAMS))
    if (flags[flag] ? !offered.includes(texts[name]) : UNSENDABLE.test(texts[name]))
      found[name] = `${label}: choose one of the camera's stream sizes.`;
  return found;
}

/**
 * A level stays active only while every lower one is on: told at each level that is on above one that is off.
 * @param {Settings} settings @returns {string[]} for each level; empty where nothing is to be told
 */
export function chainWarnings({ flags }) {
  const missing = ALERT_FLAGS.findIndex((flag) => !flags[flag]);
  return ALERT_FLAGS.map((flag, i) =>
    missing >= 0 && i > missing && flags[flag]
      ? `Cannot stay active while the ${LEVELS[missing].toLowerCase()} alert is off. Switch that on, or this off.`
      : "",
  );
}

/**
 * What hides objects gives way to boxes here and there.
 * @param {Settings} settings @returns {string} empty: nothing is to be told
 */
export function overlayWarning({ flags, texts }) {
  if (!flags.AnonOverlaysOn) return "";
  if (flags.DetectionOverlaysOn && texts.SelectedAnonOverlay === texts.SelectedDetectionOverlay)
    return (
      "Both choose the same size: those streams get plain boxes and are NOT anonymised. " +
      "Choose another size for one of them."
    );
  if (texts.SelectedAnonOverlay === ALWAYS_WITH_BOXES)
    return `Streams of ${ALWAYS_WITH_BOXES} always get plain boxes and are NOT anonymised. Choose another size.`;
  return "";
}
