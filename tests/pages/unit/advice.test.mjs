import assert from "node:assert/strict";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/advice.js")} */
const { advice } = await load("core/advice.js");
/** @type {typeof import("../../../html/js/core/settings.js")} */
const { ALERT_FLAGS, CLASS_FLAGS, ZONE_FLAGS } = await load("core/settings.js");

/** @typedef {import("../../../html/js/core/settings.js").Settings} Settings */

/** @param {number} left @param {number} right */
const band = (left, right) => [
  { x: left, y: 0 },
  { x: right, y: 0 },
  { x: right, y: 100 },
  { x: left, y: 100 },
];

/** With everything on, the area in the middle, and no zone on. */
function fine() {
  const settings = valid();
  for (const flag of [...CLASS_FLAGS, ...ALERT_FLAGS]) settings.flags[flag] = true;
  for (const flag of ZONE_FLAGS) settings.flags[flag] = false;
  settings.corners = 4;
  settings.area = [...band(20, 80), ...band(20, 80)];
  settings.zones = [band(0, 50), band(50, 100), band(20, 80)];
  return settings;
}

/** @param {Settings} settings @param {string[]} flags @param {boolean} isOn */
const all = (settings, flags, isOn) => flags.forEach((flag) => Object.assign(settings.flags, { [flag]: isOn }));

for (const [what, change, expected] of /** @type {[string, (settings: Settings) => void, RegExp | null][]} */ ([
  ["everything on", () => {}, null],
  [
    "one class",
    (settings) =>
      all(
        settings,
        CLASS_FLAGS.filter((flag) => flag !== "DetectCars"),
        false,
      ),
    null,
  ],
  ["no class", (settings) => all(settings, CLASS_FLAGS, false), /Every class is off/],
  ["persons alone", (settings) => all(settings, CLASS_FLAGS.slice(1), false), /Only persons are on/],
  ["no alert", (settings) => all(settings, ALERT_FLAGS, false), /Every alert is disabled/],
  ["no first alert", (settings) => all(settings, ALERT_FLAGS.slice(0, 1), false), /The first alert is disabled/],
  ["no third alert", (settings) => all(settings, ALERT_FLAGS.slice(2), false), null],
  ["a zone over a part", (settings) => all(settings, ZONE_FLAGS.slice(0, 1), true), null],
  [
    "zones that cover the area together",
    (settings) => all(settings, ZONE_FLAGS.slice(0, 2), true),
    /cover all of the area/,
  ],
  ["a zone that is the area", (settings) => all(settings, ZONE_FLAGS.slice(2), true), /cover all of the area/],
]))
  test(`${what}: ${expected === null ? "nothing" : String(expected)} is advised`, () => {
    const settings = fine();
    change(settings);
    const told = advice(settings);
    assert.equal(told.length, expected === null ? 0 : 1, told.join());
    if (expected !== null) assert.match(told[0], expected);
  });
