// The objects that are followed now.

import assert from "node:assert/strict";
import { test } from "node:test";
import { finding } from "../support/double.mjs";
import { until } from "../support/http.mjs";
import { double, tell, visit } from "./setting.mjs";

async function watch() {
  double.hasObjects = true;
  const visitor = await visit();
  await until(() => double.listeners.size === 1, "a listener");
  return visitor;
}

test("each object is told with what it counts for and why, in an order that stays, and its row with it", async () => {
  const visitor = await watch(),
    { page } = visitor;
  tell([finding(7, { footing: 3, seconds: 12 }), finding(9, { footing: 0, seconds: 0, reason: "excluded by zone 2" })]);
  await visitor.waitForText("followed-summary", /2 followed, 1 counts/);
  const rows = () => page.locator("#objects button").allInnerTexts();
  const [first, second] = await rows();
  assert.match(first, /^Car 7\s+Counts: 12 of 15 s to the third alert/);
  assert.match(second, /^Car 9\s+Does not count: excluded by zone 2/);
  assert.match((await page.getAttribute("#objects .bar span", "style")) ?? "", /scaleX\(0\.8\)/);
  await page.focus("#objects li:first-child button");
  await page.keyboard.press("Enter");
  assert.ok(await page.isVisible("#chosen"));
  const box = await page.locator("#chosen .over").boundingBox(),
    stage = await page.locator("#stage").boundingBox();
  assert.ok(box !== null && stage !== null);
  assert.ok(Math.abs(box.x - stage.x - stage.width / 4) < 4 && Math.abs(box.width - stage.width / 5) < 8);
  tell([finding(7, { footing: 4, seconds: 13, score: null, unseen: 8, unseen_seconds: 1.6 }), finding(12)]);
  await visitor.waitForText("objects", /not seen for 2 s/);
  assert.deepEqual(
    (await rows()).map((text) => text.split("\n")[0]),
    ["Car 7", "Car 12"],
  );
  assert.equal(await page.evaluate(() => document.activeElement?.querySelector(".name")?.textContent), "Car 7");
  await page.keyboard.press("Enter");
  assert.ok(await page.isHidden("#chosen"));
});

test("scores are shown and shapes hidden by choice, and the browser keeps both", async () => {
  const visitor = await watch(),
    { page } = visitor;
  tell([finding(7)]);
  await visitor.waitForText("objects", /Car 7/);
  assert.doesNotMatch(await visitor.text("objects"), /score/);
  await page.check("#show-scores");
  await visitor.waitForText("objects", /score 0\.71/);
  await page.check("#hide-shapes");
  assert.ok(await page.isHidden('[data-handle="area.0"]'));
  await page.reload();
  await visitor.waitForText("save-note", /saved/);
  assert.ok(await page.isChecked("#show-scores"));
  assert.ok(await page.isHidden('[data-handle="area.0"]'));
});

test("a camera that tells of no objects has no list, and a host that falls silent neither", async () => {
  const camera = await visit();
  await until(() => double.asked.includes("/stream/objects"), "the question");
  assert.ok(await camera.page.isHidden("#followed"));
  await camera.page.close(); // it would ask again
  const visitor = await watch();
  tell([finding(7)]);
  await visitor.waitForText("objects", /Car 7/);
  double.hasObjects = false;
  for (const listener of double.listeners) listener.destroy();
  visitor.expectsFailures = true;
  await visitor.page.waitForSelector("#followed", { state: "hidden" });
});

test("the objects are asked for only while the page can be seen", async () => {
  const { page } = await watch();
  const hide = (/** @type {boolean} */ isHidden) =>
    page.evaluate((hidden) => {
      Object.defineProperty(document, "hidden", { value: hidden, configurable: true });
      document.dispatchEvent(new Event("visibilitychange"));
    }, isHidden);
  await hide(true);
  await until(() => double.listeners.size === 0, "the end of the stream");
  await hide(false);
  await until(() => double.listeners.size === 1, "the stream");
});
