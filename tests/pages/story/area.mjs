// The area and the zones, on the picture and as numbers.

import assert from "node:assert/strict";
import { test } from "node:test";
import { page, visitor } from "./setting.mjs";

test("a corner is dragged, undone, redone, moved by keys and reset", async () => {
  const [saved] = await visitor.corners("area");
  await visitor.drag("area.0", 30, 35);
  assert.deepEqual((await visitor.corners("area"))[0], [30, 35]);
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.match(await page.title(), /^• .*Korvex Orvel$/);
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  await page.click("#redo");
  assert.deepEqual((await visitor.corners("area"))[0], [30, 35]);
  await page.focus('[data-handle="area.0"]');
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("Shift+ArrowUp");
  assert.deepEqual((await visitor.corners("area"))[0], [32, 30]);
  assert.match(
    (await page.getAttribute('[data-handle="area.0"]', "aria-label")) ?? "",
    /Area, corner 1: 32 % from the left, 30 % from the top/,
  );
  await page.click("#reset");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.match(await visitor.text("save-note"), /Everything is saved/);
});

test("corners snap to the picture's edges, and a shape moves as one within them", async () => {
  await visitor.drag("area.0", 1.5, 1.6);
  assert.deepEqual((await visitor.corners("area"))[0], [0, 0]);
  await page.click("#undo");
  const before = await visitor.corners("area");
  await visitor.drag("area.-1", -40, 50);
  const moved = await visitor.corners("area");
  assert.equal(Math.min(...moved.map(([x]) => x)), 0);
  const offsets = new Set(moved.map(([x], i) => before[i][0] - x));
  assert.equal(offsets.size, 1, "every corner by the same");
  await page.click("#reset");
});

test("crossing edges and an empty shape are told at once", async () => {
  await page.fill('[data-coordinate="area.0.x"]', "80");
  await page.keyboard.press("Tab");
  assert.match(await visitor.text("shape-problems"), /Area: its edges cross/);
  await page.click("#undo");
  assert.equal(await visitor.text("shape-problems"), "");
  await page.check("#Exclusion1_Active");
  for (const corner of [0, 1, 2, 3]) await page.fill(`[data-coordinate="zone1.${corner}.x"]`, "5");
  await page.keyboard.press("Tab");
  assert.match(await visitor.text("shape-problems"), /Exclusion zone 1: there is nearly nothing inside/);
  await page.fill('[data-coordinate="zone1.0.x"]', "101");
  await page.keyboard.press("Tab");
  assert.equal(await page.inputValue('[data-coordinate="zone1.0.x"]'), "101", "what cannot be stays to be put right");
  assert.match(await visitor.text("coordinates-note"), /zone 1, corner 1, x: a whole number from 0 to 100.*stays at 5/);
  assert.equal(await page.getAttribute('[data-coordinate="zone1.0.x"]', "aria-invalid"), "true");
  await page.click("#reset");
  assert.equal(await visitor.text("coordinates-note"), "");
});

test("a dragged corner, eight corners and a zone are there after saving and loading again", async () => {
  await page.selectOption("#corners", "8");
  await visitor.drag("area.0", 35, 30);
  await page.check("#Exclusion2_Active");
  await visitor.drag("zone2.2", 100, 22);
  const [area, zone] = [await visitor.corners("area"), await visitor.corners("zone2")];
  assert.equal(area.length, 8);
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.deepEqual(await visitor.corners("area"), area);
  assert.deepEqual(await visitor.corners("zone2"), zone);
  await page.selectOption("#corners", "4");
  await page.uncheck("#Exclusion2_Active");
  await visitor.save();
});
