// On a phone.

import assert from "node:assert/strict";
import { test } from "node:test";
import { visit } from "./setting.mjs";

const PHONE = { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, deviceScaleFactor: 2 };

/** @param {import("playwright-core").Page} page @returns {Promise<string[]>} the pairs of handles that cover each other */
const covering = (page) =>
  page.$$eval(".handle:not([hidden])", (handles) =>
    handles.flatMap((a, i) =>
      handles.slice(i + 1).flatMap((b) => {
        const [one, other] = [a, b].map((handle) => handle.getBoundingClientRect());
        const isOver =
          one.left < other.right - 1 &&
          other.left < one.right - 1 &&
          one.top < other.bottom - 1 &&
          other.top < one.bottom - 1;
        return isOver ? [`${a.getAttribute("aria-label")} / ${b.getAttribute("aria-label")}`] : [];
      }),
    ),
  );

test("no handle covers another, with every zone on", async () => {
  const { page } = await visit(PHONE);
  for (const zone of [1, 2, 3]) await page.check(`#Exclusion${zone}_Active`);
  assert.equal(await page.locator(".handle:not([hidden])").count(), 20);
  assert.deepEqual(await covering(page), []);
  for (const handle of await page.locator(".handle:not([hidden])").all()) {
    const box = await handle.boundingBox();
    assert.ok(box !== null && box.x >= 0 && box.x + box.width <= 360, "none is cut off by the screen");
  }
  await page.setViewportSize({ width: 740, height: 360 });
  await page.waitForTimeout(100);
  assert.deepEqual(await covering(page), []);
});

test("the picture fills the screen, and what is under the finger is shown beside it", async () => {
  const { page } = await visit(PHONE);
  await page.click("#frame-open");
  await page.waitForSelector(".frame.filling");
  const stage = await page.locator("#stage").boundingBox();
  assert.ok(stage !== null && stage.width >= 358);
  const handle = await page.locator('[data-handle="area.2"]').boundingBox();
  assert.ok(handle !== null);
  const client = await page.context().newCDPSession(page);
  const [x, y] = [handle.x + handle.width / 2, handle.y + handle.height / 2];
  await client.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints: [{ x, y }] });
  await client.send("Input.dispatchTouchEvent", { type: "touchMove", touchPoints: [{ x: x + 30, y }] });
  await page.waitForSelector("#loupe", { state: "visible" });
  const loupe = await page.locator("#loupe").boundingBox();
  assert.ok(loupe !== null && loupe.y + loupe.height < y - 10, "above the finger");
  await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
  await page.waitForSelector("#loupe", { state: "hidden" });
  await page.click("#frame-undo");
  assert.equal(await page.inputValue('[data-coordinate="area.2.x"]'), "59");
  await page.click("#frame-done");
  await page.waitForSelector(".frame.filling", { state: "detached" });
  assert.equal(await page.evaluate(() => document.activeElement?.id), "frame-open");
});
