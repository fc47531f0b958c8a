// For every eye: both themes, a reader's own colours, 320 pixels, and a desktop at 400 %.

import assert from "node:assert/strict";
import { test } from "node:test";
import { finding } from "../support/double.mjs";
import { until } from "../support/http.mjs";
import { look } from "../support/look.mjs";
import { double, tell, visit } from "./setting.mjs";

/** @typedef {import("playwright-core").BrowserContextOptions} Options */

const TABS = ["live", "history", "detection", "alerts", "overlays", "advanced"];

for (const [name, options] of /** @type {[string, Options][]} */ ([
  ["host-light", { viewport: { width: 1280, height: 900 }, colorScheme: "light" }],
  ["host-dark", { viewport: { width: 1280, height: 900 }, colorScheme: "dark" }],
  ["host-forced-colours", { viewport: { width: 1280, height: 900 }, forcedColors: "active" }],
  ["host-320", { viewport: { width: 320, height: 640 }, isMobile: true, hasTouch: true, colorScheme: "dark" }],
  ["host-400-per-cent", { viewport: { width: 320, height: 256 } }],
]))
  test(`every tab, ${name}`, async () => {
    Object.assign(double, { hasObjects: true, code: 503 });
    const alerts = [{ level: 1, time: "2026-11-22T08:35:05+01:00", still: "/stream/stills/1-1.jpg", clip: null }];
    double.stays = [
      {
        id: 1,
        object: 7,
        class: 2,
        label: "Car",
        entered: "2026-11-22T08:35:00+01:00",
        left: null,
        seconds: 12,
        level: 1,
        alerts,
      },
    ];
    double.log += "2026-11-22 11:00:00|korvex_orvel|info|sendEventStarted: Starting event Korvex Orvel First Alert\n";
    const visitor = await visit(options),
      { page } = visitor;
    await until(() => double.listeners.size === 1, "a listener");
    tell(
      [finding(7, { footing: 3, seconds: 12 }), finding(9, { score: null, unseen: 9, unseen_seconds: 2 })],
      [{ kind: "video", since: 1, text: "No video since 08:35" }],
    );
    await visitor.waitForText("objects", /Car 9/);
    await page.click("#status");
    for (const tab of TABS) {
      await visitor.tab(tab);
      if (tab === "history") await visitor.waitForText("stays-note", /1 of 1/);
      await look(page, `${tab}-${name}`);
      if (tab === "live") await page.click("#status");
    }
  });

test("a reader's own colours keep the chosen tab and the legend apart from the rest", async () => {
  const { page } = await visit({ viewport: { width: 1280, height: 900 }, forcedColors: "active" });
  /** @param {string} at @param {string} name */
  const style = (at, name) => page.$eval(at, (each, wanted) => getComputedStyle(each).getPropertyValue(wanted), name);
  assert.notEqual(
    await style("[aria-selected=true]", "background-color"),
    await style("[role=tab][aria-selected=false]", "background-color"),
  );
  const keys = await page.$$eval(".legend .key, .legend .mark", (marks) =>
    marks.map((mark) => getComputedStyle(mark).borderTopColor),
  );
  assert.ok(new Set(keys).size >= 6, keys.join(" "));
});

test("what is chosen by keyboard is seen: Import has a rim", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await visitor.tab("advanced");
  await page.focus("#export");
  await page.keyboard.press("Tab");
  assert.equal(await page.evaluate(() => document.activeElement?.id), "import");
  assert.equal(await page.$eval("label[for=import]", (label) => getComputedStyle(label).outlineStyle), "solid");
});

test("the pages say what the checkered pattern covers, and whom it does not hide", async () => {
  const visitor = await visit();
  await visitor.tab("overlays");
  const text = await visitor.text("panel-overlays");
  assert.match(text, /Covered: the box of each object that is followed/);
  assert.match(text, /Not covered: persons, who are never followed/);
  assert.match(text, /no means of hiding people/);
  await visitor.tab("advanced");
  await visitor.page.click("#show-agreement");
  await visitor.waitForText("agreement-text", /The stream with the checkered pattern does not hide people/);
});
