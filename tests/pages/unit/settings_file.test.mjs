import assert from "node:assert/strict";
import { test } from "node:test";
import { SIZES, valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/settings_file.js")} */
const { fromFile, toFile } = await load("core/settings_file.js");

/** @type {typeof import("../../../html/js/core/document.js")} */
const { isSame } = await load("core/document.js");

/** @type {typeof import("../../../html/js/core/settings.js")} */
const { FLAGS } = await load("core/settings.js");

test("a file brings back all but the agreement", () => {
  const settings = valid();
  const current = structuredClone(settings);
  for (const name of FLAGS) current.flags[name] = !current.flags[name];
  current.corners = 4;
  current.area[0].x = 50;
  const { settings: read, wrong } = fromFile(toFile(settings, "1.0.0"), current, SIZES);
  assert.deepEqual(wrong, []);
  assert.ok(read !== null);
  assert.equal(read.flags.Eula, current.flags.Eula);
  read.flags.Eula = settings.flags.Eula;
  assert.ok(isSame(read, settings));
});

test("a camera's own export is taken, whatever lies unused outside its picture", () => {
  const settings = valid();
  Object.assign(settings.flags, { Exclusion1_Active: false, Exclusion2_Active: true, AnonOverlaysOn: false });
  settings.texts.SelectedAnonOverlay = "of another program";
  settings.area[6].x = 163;
  settings.zones[0][3] = { x: -4, y: 163 };
  const { settings: read, wrong } = fromFile(toFile(settings, "1.0.0"), settings, SIZES);
  assert.deepEqual(wrong, []);
  assert.ok(read !== null && isSame(read, settings));
  settings.flags.Exclusion1_Active = true;
  assert.match(fromFile(toFile(settings, "1.0.0"), settings, SIZES).wrong.join(), /exclusion zones are not/);
});

/** @type {[string, (file: any) => unknown, RegExp][]} */
const BAD_FILES = [
  ["another kind", (file) => ({ ...file, kind: "x" }), /no settings file of Korvex Orvel/],
  ["null", () => null, /no settings file of Korvex Orvel/],
  [
    "a missing flag",
    (file) => {
      delete file.flags.DetectCars;
      return file;
    },
    /DetectCars is missing/,
  ],
  [
    "a number that is none",
    (file) => {
      file.texts.MaxDisappear = "x";
      return file;
    },
    /Patience/,
  ],
  [
    "a text that is a list",
    (file) => {
      file.texts.Sensitivity = [];
      return file;
    },
    /Sensitivity is missing or no text/,
  ],
  [
    "a size that is none, though unused",
    (file) => {
      file.flags.AnonOverlaysOn = false;
      file.texts.SelectedAnonOverlay = "x".repeat(9);
      return file;
    },
    /SelectedAnonOverlay is no stream size/,
  ],
  [
    "an unused corner far away",
    (file) => {
      file.area[7].x = 1e9;
      return file;
    },
    /area is not eight corners/,
  ],
  ["five corners", (file) => ({ ...file, corners: 5 }), /4, 6 or 8/],
  [
    "an area outside",
    (file) => {
      file.area[3].x = 101;
      return file;
    },
    /area is not eight corners/,
  ],
  [
    "an area of seven",
    (file) => {
      file.area.pop();
      return file;
    },
    /area is not eight corners/,
  ],
  [
    "a zone of null",
    (file) => {
      file.zones[1] = null;
      return file;
    },
    /exclusion zones are not/,
  ],
  [
    "a corner of half per cents",
    (file) => {
      file.zones[0][0].y = 0.5;
      return file;
    },
    /exclusion zones are not/,
  ],
];
for (const [what, spoil, expected] of BAD_FILES)
  test(`a file with ${what} is refused in a sentence`, () => {
    const file = JSON.stringify(spoil(JSON.parse(toFile(valid(), "1.0.0"))));
    const { settings, wrong } = fromFile(file, valid(), SIZES);
    assert.equal(settings, null);
    assert.match(wrong.join(" "), expected);
  });

test("a file that is no JSON is refused in a sentence", () => {
  assert.match(fromFile("<app>", valid(), SIZES).wrong[0], /not JSON/);
});
