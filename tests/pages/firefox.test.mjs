// The pages in the other browser: what a person does first works there too.

import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { openFirefox } from "./support/browser.mjs";
import { Double, finding } from "./support/double.mjs";
import { until } from "./support/http.mjs";
import { Visitor } from "./support/visitor.mjs";

const double = new Double();
const browser = await openFirefox();
before(() => double.start());
after(async () => {
  await browser.close();
  double.stop();
});

test("a first visit in Firefox: the objects, an area that is changed and saved, the alerts of the day", async () => {
  double.hasObjects = true;
  double.log += "2026-11-22 11:00:00|korvex_orvel|info|sendEventStarted: Starting event Korvex Orvel First Alert\n";
  const visitor = new Visitor(await browser.newPage()),
    { page } = visitor;
  await page.goto(double.address);
  await visitor.waitForText("save-note", /Everything is saved/);
  await visitor.waitForPicture();
  await until(() => double.listeners.size === 1, "a listener");
  double.tell({ time: 1, size: [1280, 720], status: 200, findings: [finding(7, { footing: 3, seconds: 12 })] });
  await visitor.waitForText("objects", /Car 7.*12 of 15 s to the third alert/);
  await page.click("#objects button");
  assert.ok(await page.isVisible("#chosen .over"));

  await visitor.drag("area.0", 30, 35);
  assert.deepEqual((await visitor.corners("area"))[0], [30, 35]);
  const stage = await page.locator("#stage").boundingBox();
  assert.ok(stage !== null);
  await page.mouse.click(stage.x + stage.width * 0.5, stage.y + stage.height * 0.79);
  assert.equal((await visitor.corners("area")).length, 6);
  await visitor.save();
  assert.equal(double.stored.DetectionControlPoints, "6");

  double.code = 502;
  await page.waitForFunction(() => document.title === "First alert – Korvex Orvel");
  await visitor.tab("history");
  await visitor.waitForText("periods-note", /^1 alerts/);
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /of 2 lines/);
  assert.deepEqual(visitor.complaints, []);
});
