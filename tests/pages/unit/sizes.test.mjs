import assert from "node:assert/strict";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/sizes.js")} */
const { analysedSize, parseSizes, sizeText, streamSize } = await load("core/sizes.js");

for (const [csv, isPortrait, expected] of /** @type {[string, boolean, string][]} */ ([
  ["640x360,800x450,1280x720,1920x1080,", false, "1280x720"],
  ["1280x960,1920x1080,", false, "1920x1080"],
  ["960x540,1280x720,", false, "960x540"],
  ["640x360,", false, "1280x720"],
  ["", true, "720x1280"],
  ["1920x1080,", true, "1080x1920"],
]))
  test(`of "${csv}"${isPortrait ? ", turned," : ""} ${expected} is analysed`, () => {
    assert.equal(sizeText(analysedSize(parseSizes(csv), isPortrait)), expected);
  });

for (const [
  what,
  chosen,
  isOn,
  offered,
  analysed,
  expected,
] of /** @type {[string, string, boolean, string, string, string][]} */ ([
  ["the user's choice", "1920x1080", true, "800x450,1920x1080", "1280x720", "1920x1080"],
  [
    "the one that always has boxes, where the choice is off",
    "1920x1080",
    false,
    "800x450,1920x1080",
    "1280x720",
    "800x450",
  ],
  ["that one, where the choice has another shape", "1280x960", true, "800x450,1280x960", "1280x720", "800x450"],
  ["that one, where the choice is not offered", "a&b", true, "800x450", "1280x720", "800x450"],
  ["the analysed one, where there is no other", "", true, "640x360", "1280x720", "1280x720"],
  ["the analysed one as it lies, of a turned camera", "", true, "", "720x1280", "1280x720"],
]))
  test(`the stream under the shapes is ${what}`, () => {
    const saved = valid();
    saved.flags.DetectionOverlaysOn = isOn;
    saved.texts.SelectedDetectionOverlay = chosen;
    const camera = { saved, sizes: parseSizes(offered), analysed: parseSizes(analysed)[0] };
    assert.equal(streamSize(camera), expected);
  });
