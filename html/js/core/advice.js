/** Why no alert can ever start with these settings, as far as that can be told beforehand. */

import { isInside } from "./geometry.js";
import { ALERT_FLAGS, CLASS_FLAGS, ZONE_FLAGS } from "./settings.js";
import { AREA } from "./shapes.js";

/** @import { Settings } from "./settings.js" */

const STEPS = 40; // how finely the area is looked through

/** @param {Settings} settings @returns {string} empty: nothing is to be told */
export function classAdvice({ flags }) {
  const on = CLASS_FLAGS.filter((flag) => flags[flag]);
  if (on.length === 0) return "Every class is off: nothing is followed, and no alert can start.";
  if (on.join() === "DetectPersons")
    return "Only persons are on, and persons are never followed: no alert can start. Switch a class of vehicles on.";
  return "";
}

/** @param {Settings} settings */
export function alertAdvice({ flags }) {
  if (ALERT_FLAGS.every((flag) => !flags[flag]))
    return "Every alert is disabled: objects are followed, but nothing is told.";
  if (!flags[ALERT_FLAGS[0]])
    return "The first alert is disabled: no other one can stay active, since each needs those below it.";
  return "";
}

/** @param {Settings} settings */
export function zoneAdvice(settings) {
  const area = AREA.points(settings);
  const zones = settings.zones.filter((_, i) => settings.flags[ZONE_FLAGS[i]]);
  if (zones.length === 0) return "";
  const steps = [...Array(STEPS).keys()].map((i) => (100 * (i + 0.5)) / STEPS);
  const spots = steps.flatMap((x) => steps.map((y) => ({ x, y }))).filter((spot) => isInside(spot, area));
  if (spots.length === 0 || !spots.every((spot) => zones.some((zone) => isInside(spot, zone)))) return "";
  return "The exclusion zones cover all of the area: only an object that reaches beyond them can count.";
}

/** @param {Settings} settings @returns {string[]} */
export const advice = (settings) =>
  [classAdvice(settings), alertAdvice(settings), zoneAdvice(settings)].filter((text) => text !== "");
