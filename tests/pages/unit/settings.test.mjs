import assert from "node:assert/strict";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/settings.js")} */
const { copyOf, rebased, told } = await load("core/settings.js");

for (const [name, typed, expected] of /** @type {["Sensitivity" | "MaxDisappear", string, string][]} */ ([
  ["Sensitivity", "0,5", "0.50"],
  ["Sensitivity", ".5", "0.50"],
  ["Sensitivity", " 0.4500 ", "0.45"],
  ["Sensitivity", "0.455", "0.455"],
  ["Sensitivity", "x", "x"],
  ["MaxDisappear", "007", "7"],
  ["MaxDisappear", "0", "0"],
  ["MaxDisappear", "-1", "-1"],
  ["MaxDisappear", "1.0", "1.0"],
  ["MaxDisappear", "", ""],
]))
  test(`${name} typed as "${typed}" is sent as "${expected}"`, () => assert.equal(told(name, typed), expected));

test("edits stay on top of what another page has saved, and nothing else does", () => {
  const base = valid(),
    mine = valid(),
    theirs = valid();
  mine.flags.DetectCars = !base.flags.DetectCars;
  theirs.flags.DetectBoats = !base.flags.DetectBoats;
  mine.texts.MaxDisappear = "mine";
  theirs.texts.MaxDisappear = theirs.texts.Sensitivity = "theirs";
  mine.area[0].x = 50;
  theirs.corners = 8;
  theirs.zones[0][0].x = 60;
  mine.zones[2][3].y = 70;
  const result = rebased(mine, base, theirs);
  const expected = copyOf(theirs);
  expected.flags.DetectCars = mine.flags.DetectCars;
  expected.texts.MaxDisappear = "mine";
  Object.assign(expected, { area: mine.area, corners: mine.corners }); // a shape is taken whole
  expected.zones[2] = mine.zones[2];
  assert.deepEqual(result, expected);
  result.zones[0][0].x = 1;
  assert.equal(theirs.zones[0][0].x, 60, "it shares nothing");
});
