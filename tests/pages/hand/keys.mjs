// By keyboard.

import assert from "node:assert/strict";
import { test } from "node:test";
import { page, visitor } from "./setting.mjs";

test("a held key is one step of undo, single presses are one each", async () => {
  const [saved] = await visitor.corners("area");
  await page.focus('[data-handle="area.0"]');
  await page.keyboard.press("ArrowLeft");
  const [once] = await visitor.corners("area");
  for (let i = 0; i < 5; i++) await page.keyboard.down("ArrowDown"); // each but the first repeats
  await page.keyboard.up("ArrowDown");
  const [far] = await visitor.corners("area");
  assert.ok(far[1] >= once[1] + 5);
  await page.keyboard.press("Control+z");
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], once);
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
});

test("Alt with an arrow is the browser's own", async () => {
  const [saved] = await visitor.corners("area");
  await page.focus('[data-handle="area.0"]');
  // The browser's way back would leave the page.
  await page.evaluate(() =>
    window.addEventListener("keydown", (event) => {
      document.body.dataset.taken = String(event.defaultPrevented);
      event.preventDefault();
    }),
  );
  for (const at of ['[data-handle="area.0"]', "#tab-live"]) {
    await page.focus(at);
    await page.keyboard.press("Alt+ArrowRight");
    assert.equal(await page.getAttribute("body", "data-taken"), "false", at);
  }
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.ok(await page.isVisible("#panel-live"));
});

test("who copies by keyboard stays where the button is, also without a secure connection", async () => {
  await page.evaluate(() => Object.defineProperty(navigator, "clipboard", { value: undefined, configurable: true }));
  await visitor.tab("advanced");
  await page.focus("#diagnostics-copy");
  await page.keyboard.press("Enter");
  await visitor.waitForText("diagnostics-note", /clipboard|does not let/);
  assert.equal(await page.evaluate(() => document.activeElement?.id), "diagnostics-copy");
});
