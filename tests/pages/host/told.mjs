// Told to who does not look at the page.

import assert from "node:assert/strict";
import { test } from "node:test";
import { double, visit } from "./setting.mjs";

test("title and icon tell of the highest alert; a sound and a notification come by choice, once for each rise", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await page.context().grantPermissions(["notifications"]);
  await page.evaluate(() => {
    const shown = /** @type {string[]} */ ([]);
    const Notification = function (/** @type {string} */ title) {
      shown.push(title);
    };
    Object.assign(Notification, { permission: "granted", requestPermission: async () => "granted" });
    Object.assign(window, { shown, Notification });
    const { start } = OscillatorNode.prototype;
    OscillatorNode.prototype.start = function (/** @type {number | undefined} */ when) {
      shown.push("tone");
      return start.call(this, when);
    };
  });
  const shown = () => page.evaluate(() => /** @type {any} */ (window).shown.splice(0));
  assert.equal(await page.title(), "Korvex Orvel");
  await visitor.waitForText("status", /200/);
  double.code = 502;
  await page.waitForFunction(() => document.title === "First alert – Korvex Orvel");
  assert.match((await page.getAttribute("#icon", "href")) ?? "", /^data:image\/svg/);
  assert.deepEqual(await shown(), [], "nobody has chosen any");
  await visitor.tab("alerts");
  await page.check("#tell-sound");
  await page.check("#tell-notification");
  double.code = 503;
  await page.waitForFunction(() => document.title.startsWith("Second alert"));
  assert.deepEqual(await shown(), ["tone", "tone", "Second alert active"]);
  double.code = 600;
  await visitor.waitForText("status", /600/);
  double.code = 503;
  await visitor.waitForText("status", /503/);
  assert.deepEqual(await shown(), [], "a slow pass between is no news");
  double.code = 200;
  await page.waitForFunction(() => document.title === "Korvex Orvel");
  assert.equal(await page.getAttribute("#icon", "href"), "icon.svg");
  await page.reload();
  await visitor.waitForText("save-note", /saved/);
  assert.ok(await page.isChecked("#tell-sound"));
});

test("a notification that the browser does not allow is not chosen, and the page says what to do", async () => {
  const { page } = await visit();
  await page.evaluate(() => {
    Object.assign(window, { Notification: { permission: "denied", requestPermission: async () => "denied" } });
  });
  await page.click("#tab-alerts");
  await page.click("#tell-notification");
  await page.waitForFunction(() => /allow it/.test(document.getElementById("tell-note")?.textContent ?? ""));
  assert.ok(!(await page.isChecked("#tell-notification")));
});
