/** What is wrong with the settings so that they cannot be saved, and what is to be warned of though they can. */

import { ALERT_FLAGS, ALERT_SECONDS, LEVELS, NUMBERS, STREAMS, told } from "./settings.js";
import { ALWAYS_WITH_BOXES, sizeText } from "./sizes.js";

/** @import { Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */

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
 * What is wrong with the order of the alerts' seconds: each is told by itself, whatever is wrong with the others.
 * @param {Record<string, string>} texts @param {Record<string, string>} found that are no such numbers at all
 */
function takeOrder(texts, found) {
  let [below, least] = [-1, 0];
  ALERT_SECONDS.forEach((name, i) => {
    if (found[name] !== undefined) return;
    const seconds = Number(told(name, texts[name]));
    if (below >= 0 && seconds <= least)
      found[name] =
        `${NUMBERS[name].label}: more than the ${least} of the ${LEVELS[below].toLowerCase()} alert, please: ` +
        `from ${least + 1} to ${NUMBERS[name].most}.`;
    else [below, least] = [i, seconds];
  });
}

/** @param {string} label @param {string} chosen @param {string[]} offered */
function problemOfStream(label, chosen, offered) {
  const now = /^(0(x0)?)?$/.test(chosen) ? "none is chosen" : `${JSON.stringify(chosen)} is none of this camera's`;
  return `${label}: ${now}. Choose one of the camera's stream sizes (${offered.join(", ") || "there are none"}), or switch it off.`;
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
  takeOrder(texts, found);
  const offered = sizes.map(sizeText);
  for (const [name, { label, flag }] of Object.entries(STREAMS))
    if (flags[flag] ? !offered.includes(texts[name]) : UNSENDABLE.test(texts[name]))
      found[name] = problemOfStream(label, texts[name], offered);
  return found;
}

/**
 * The same settings such as the application can take, whatever another program has stored: what is no stream size at all
 * becomes none, since it would break off there, or not read any of it.
 * @param {Settings} settings @returns {Settings}
 */
export function acceptable(settings) {
  const streams = Object.keys(STREAMS).filter((name) => !/^(\d{1,5}x\d{1,5})?$/.test(settings.texts[name]));
  return { ...settings, texts: { ...settings.texts, ...Object.fromEntries(streams.map((name) => [name, "0x0"])) } };
}

/**
 * A level stays active only while every lower one is on: told at each level that is on above one that is off.
 * @param {Settings} settings @returns {string[]} for each level; empty where nothing is to be told
 */
export function chainWarnings({ flags }) {
  const missing = ALERT_FLAGS.findIndex((flag) => !flags[flag]);
  return ALERT_FLAGS.map((flag, i) =>
    missing >= 0 && i > missing && flags[flag]
      ? `Cannot stay active while the ${LEVELS[missing].toLowerCase()} alert is disabled. Enable that, or disable this.`
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
