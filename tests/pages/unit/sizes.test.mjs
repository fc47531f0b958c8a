import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { html, load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/sizes.js")} */
const { analysedSize, parseSizes, sizeText, streamSize } = await load("core/sizes.js");

const offers = readFileSync(join(html, "../tests/support/analysed_sizes.txt"), "utf8");
for (const line of offers.split("\n").filter((text) => text.includes(" -> "))) {
  const [offered, expected] = line.split(" -> ");
  test(`of "${offered}" ${expected} is analysed`, () => {
    const chosen = analysedSize(parseSizes(`${offered},`), false);
    assert.equal(sizeText(chosen), expected);
    const turned = analysedSize(parseSizes(`${offered},`), true);
    assert.deepEqual(turned, { width: chosen.height, height: chosen.width });
  });
}

for (const csv of ["640x360,", ""])
  test(`of "${csv}" nothing fits, and the pages go by the usual size`, () => {
    assert.equal(sizeText(analysedSize(parseSizes(csv), false)), "1280x720");
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
