// Dragged by mouse and by finger.

import assert from "node:assert/strict";
import { test } from "node:test";
import { until } from "../support/http.mjs";
import { Visitor } from "../support/visitor.mjs";
import { browser, camera, page, visitor } from "./setting.mjs";

test("a held corner shows where it is; Escape takes the drag back", async () => {
  const [saved] = await visitor.corners("area");
  const box = await page.locator("#stage").boundingBox(),
    from = await page.locator('[data-handle="area.0"]').boundingBox();
  assert.ok(box !== null && from !== null);
  await page.mouse.move(from.x + from.width / 2, from.y + from.height / 2);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width * 0.3, box.y + box.height * 0.25);
  const shown = await page.$eval('[data-handle="area.0"]', (handle) => getComputedStyle(handle, "::after").content);
  assert.match(shown, /30 %, 25 %/);
  await page.keyboard.press("Control+z"); // nothing to undo before the drag has ended
  await page.keyboard.press("Escape");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  await page.mouse.move(box.x + 10, box.y + 10);
  await page.mouse.up();
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.ok(await page.isDisabled("#undo"));
});

test("a second finger does not take the corner along", async () => {
  const saved = await visitor.corners("area");
  const box = await page.locator("#stage").boundingBox();
  assert.ok(box !== null);
  /** @param {string} handle @param {string} type @param {number} id @param {number[]} at @param {boolean} [held] */
  const point = (handle, type, id, [x, y], held = true) =>
    page.$eval(
      `[data-handle="${handle}"]`,
      (target, init) =>
        target.dispatchEvent(
          new PointerEvent(init.type, { bubbles: true, cancelable: true, pointerType: "touch", button: 0, ...init }),
        ),
      {
        type,
        pointerId: id,
        buttons: held ? 1 : 0,
        clientX: box.x + (box.width * x) / 100,
        clientY: box.y + (box.height * y) / 100,
      },
    );
  await point("area.0", "pointerdown", 1, saved[0]);
  await point("area.2", "pointerdown", 2, saved[2]);
  await point("area.2", "pointermove", 2, [90, 90]);
  await point("area.2", "pointerup", 2, [90, 90], false);
  await point("area.0", "pointermove", 1, [30, 30]);
  await point("area.0", "pointerup", 1, [30, 30], false);
  assert.deepEqual(await visitor.corners("area"), [[30, 30], ...saved.slice(1)]);
});

test("on a phone the picture lets the page scroll, and every tab is in sight", async () => {
  const context = await browser.newContext({ viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true });
  const phone = new Visitor(await context.newPage());
  await phone.page.goto(camera.address);
  await phone.waitForText("save-note", /Everything is saved/);
  assert.ok(await phone.page.$eval(".tabs", (tabs) => tabs.scrollWidth <= tabs.clientWidth), "no tab is cut off");
  // As large as can be: a finger near a handle takes the handle.
  await phone.setCorners("area", [
    [0, 0],
    [100, 0],
    [100, 100],
    [0, 100],
  ]);
  await phone.page.evaluate(() => window.scrollTo(0, 0));
  const before = await phone.corners("area");
  const box = await phone.page.locator("#stage").boundingBox();
  assert.ok(box !== null);
  const client = await context.newCDPSession(phone.page);
  const [x, y] = [box.x + box.width * 0.25, box.y + box.height / 2];
  assert.ok(
    await phone.page.evaluate(([left, top]) => document.elementFromPoint(left, top)?.matches(".shape.area"), [x, y]),
  );
  await client.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints: [{ x, y }] });
  for (let i = 1; i <= 15; i++) {
    await client.send("Input.dispatchTouchEvent", { type: "touchMove", touchPoints: [{ x, y: y - 10 * i }] });
    await phone.page.waitForTimeout(20);
  }
  await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
  await until(() => phone.page.evaluate(() => window.scrollY > 50), "the page to scroll");
  assert.deepEqual(await phone.corners("area"), before, "and moved no shape");
  await context.close();
});
