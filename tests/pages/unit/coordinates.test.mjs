import assert from "node:assert/strict";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/coordinates.js")} */
const { sendable, settle, settled } = await load("core/coordinates.js");

const truncate = Math.trunc;

test("saving again stores the same pixels, for every size and every pixel", () => {
  for (const extent of [960, 1024, 1280, 1920, 720, 540, 1080, 333]) {
    /** @param {number} percent */
    const stored = (percent) => truncate((percent * extent) / 100);
    /** @param {number} pixel */
    const read = (pixel) => truncate((pixel * 100) / extent);
    const reachable = new Set(Array.from({ length: 701 }, (_, i) => read(stored(i - 300))));
    for (let pixel = -extent; pixel <= 2 * extent; pixel++) {
      const once = stored(sendable(read(pixel), extent));
      assert.equal(stored(sendable(read(once), extent)), once, `pixel ${pixel} of ${extent}`);
      // Some per cents are read of pixels that no per cent makes; all others are read again.
      if (reachable.has(read(pixel))) assert.equal(read(once), read(pixel), `pixel ${pixel} of ${extent}`);
    }
  }
});

test("a corner that was chosen stays where the first save put it, and that is no more than 1 % away", () => {
  for (const extent of [960, 1024, 1280, 1920, 720, 540, 1080])
    for (let percent = 0; percent <= 100; percent++) {
      const sent = settled(percent, extent);
      const pixel = truncate((sent * extent) / 100);
      assert.equal(sendable(truncate((pixel * 100) / extent), extent), sent, `${percent} % of ${extent}`);
      assert.ok(Math.abs(sent - percent) <= 1, `${percent} % of ${extent} became ${sent} %`);
    }
});

test("settling moves corners and nothing else", () => {
  const settings = valid();
  settings.area[0] = { x: 66, y: 66 };
  const expected = structuredClone(settings);
  const result = settle(settings, { width: 1280, height: 720 });
  assert.deepEqual(result.area[0], { x: 65, y: 65 });
  result.area = expected.area;
  result.zones = expected.zones;
  assert.deepEqual(result, expected);
  assert.deepEqual(settings.area[0], { x: 66, y: 66 }, "what is shown stays as it is");
});
