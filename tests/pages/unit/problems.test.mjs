import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { SIZES, valid } from "./example.mjs";
import { html, load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/problems.js")} */
const { acceptable, chainWarnings, overlayWarning, problems } = await load("core/problems.js");

/** @type {typeof import("../../../html/js/core/settings.js")} */
const { NUMBERS } = await load("core/settings.js");

test("a comma for the decimals is fine", () => {
  const settings = valid();
  settings.texts.Sensitivity = " 0,45 ";
  assert.deepEqual(problems(settings, SIZES), {});
});

for (const [name, text] of /** @type {[string, string][]} */ ([
  ["MinNumberOfPeopleForTrigger", "0"],
  ["MinNumberOfPeopleForTrigger", "13"],
  ["MinNumberOfPeopleForTrigger", "1.5"],
  ["Sensitivity", ""],
  ["Sensitivity", "x"],
  ["Sensitivity", "1"],
  ["Sensitivity", "-0.1"],
  ["Sensitivity", "1e-1"],
  ["MaxDisappear", "-1"],
  ["MaxDisappear", "3601"],
  ["MaxDisappear", "99999999999999999999"],
  ["Alert1ThreshSeconds", "0"],
  ["Alert2ThreshSeconds", "5"],
  ["Alert3ThreshSeconds", "9"],
  ["SelectedDetectionOverlay", "1x1"],
]))
  test(`${name} "${text}" is told at its field`, () => {
    const settings = valid();
    settings.flags.DetectionOverlaysOn = true;
    settings.texts[name] = text;
    assert.deepEqual(Object.keys(problems(settings, SIZES)), [name]);
  });

test("stored values that are out of range are told each at its own field, with the range, and saved as soon as all are right", () => {
  const settings = valid();
  settings.flags.DetectionOverlaysOn = true;
  Object.assign(settings.texts, {
    MinNumberOfPeopleForTrigger: "0",
    Sensitivity: "7.00",
    MaxDisappear: "-3",
    Alert1ThreshSeconds: "60",
    Alert2ThreshSeconds: "10",
    Alert3ThreshSeconds: "15",
    SelectedDetectionOverlay: "17x4",
  });
  /** @type {[string, string, RegExp][]} */
  const mending = [
    ["MinNumberOfPeopleForTrigger", "1", /from 1 to 12/],
    ["Sensitivity", "0.5", /from 0\.01 to 0\.99/],
    ["MaxDisappear", "3", /from 0 to 3600/],
    ["Alert2ThreshSeconds", "70", /from 61 to 86400/],
    ["Alert3ThreshSeconds", "80", /from 71 to 86400/],
    ["SelectedDetectionOverlay", "1280x720", /"17x4".*640x360, 1280x720, 1920x1080/],
  ];
  for (const [i, [name, value, range]] of mending.entries()) {
    const found = problems(settings, SIZES);
    assert.deepEqual(
      Object.keys(found).sort(),
      mending
        .slice(i)
        .map(([each]) => each)
        .sort(),
    );
    assert.match(found[name], range);
    settings.texts[name] = value;
  }
  assert.deepEqual(problems(settings, SIZES), {});
});

test("a stream text that would break the application off is none when the agreement alone is accepted", () => {
  const settings = valid();
  for (const [text, sent] of [
    ["17x4", "17x4"],
    ["a&b", "0x0"],
    ["0", "0x0"],
    ["\u0001", "0x0"],
  ]) {
    settings.texts.SelectedAnonOverlay = text;
    assert.equal(acceptable(settings).texts.SelectedAnonOverlay, sent);
    assert.equal(settings.texts.SelectedAnonOverlay, text, "what is shown stays");
  }
});

test("a text that no document can carry is told at its field, in use or not", () => {
  const settings = valid();
  Object.assign(settings.flags, { DetectionOverlaysOn: false, AnonOverlaysOn: false });
  for (const text of ["", "0x0", "a&b", "ü", " \n", "\u{1F697}"]) {
    settings.texts.SelectedAnonOverlay = text;
    assert.deepEqual(problems(settings, SIZES), {}, JSON.stringify(text));
  }
  for (const text of ["a\u0001b", "\u0000", "\uFFFF", "\uD800"]) {
    settings.texts.SelectedAnonOverlay = text;
    assert.deepEqual(Object.keys(problems(settings, SIZES)), ["SelectedAnonOverlay"], JSON.stringify(text));
  }
});

test("every number at its limits is fine", () => {
  for (const [name, { least, most }] of Object.entries(NUMBERS).filter(([name]) => !name.startsWith("Alert")))
    for (const value of [least, most]) {
      const settings = valid();
      settings.texts[name] = String(value);
      assert.deepEqual(problems(settings, SIZES), {}, `${name} ${value}`);
    }
});

for (const [on, expected] of /** @type {[boolean[], string[]][]} */ ([
  [
    [true, true, true],
    ["", "", ""],
  ],
  [
    [false, false, false],
    ["", "", ""],
  ],
  [
    [true, false, true],
    ["", "", "second"],
  ],
  [
    [false, true, true],
    ["", "first", "first"],
  ],
  [
    [false, true, false],
    ["", "first", ""],
  ],
]))
  test(`alerts that are ${on.map((isOn) => (isOn ? "on" : "off")).join(", ")} are warned of where the chain bites`, () => {
    const settings = valid();
    on.forEach((isOn, i) => {
      settings.flags[`Alert${i + 1}_Active`] = isOn;
    });
    const named = chainWarnings(settings).map(
      (warning) => /while the (\w+) alert is disabled/.exec(warning)?.[1] ?? warning,
    );
    assert.deepEqual(named, expected);
  });

for (const [boxes, hidden, expected] of /** @type {[string, string, RegExp][]} */ ([
  ["1280x720", "640x360", /^$/],
  ["1280x720", "1280x720", /^Both choose the same size/],
  ["", "1280x720", /^$/],
  ["1280x720", "800x450", /^Streams of 800x450 always get plain boxes/],
  ["800x450", "800x450", /^Both choose the same size/],
  ["1280x720", "", /^$/],
]))
  test(`boxes on "${boxes}" and hidden objects on "${hidden}" are warned of as ${expected}`, () => {
    const settings = valid();
    Object.assign(settings.flags, { DetectionOverlaysOn: boxes !== "", AnonOverlaysOn: hidden !== "" });
    Object.assign(settings.texts, {
      SelectedDetectionOverlay: boxes || "1280x720",
      SelectedAnonOverlay: hidden || "1280x720",
    });
    assert.match(overlayWarning(settings), expected);
  });

test("the pages take what the package says that a person may set", () => {
  /** @type {{name: string, least?: number, most?: number}[]} */
  const declared = JSON.parse(readFileSync(join(html, "../package/manifest.json"), "utf8")).parameters;
  for (const [name, { least, most }] of Object.entries(NUMBERS)) {
    if (name === "MaxDisappear") continue; // seconds here, passes there
    const { least: lowest, most: highest } = declared.find((each) => each.name === name) ?? {};
    assert.deepEqual([least, most], [lowest, highest], name);
  }
});
