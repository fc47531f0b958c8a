// What happened: the stays of a host, and the alerts of any camera's log.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { double, visit } from "./setting.mjs";

/** @param {string} time @param {string} change */
const line = (time, change) => `2026-11-22 ${time}|korvex_orvel|info|sendEvent${change} Alert\n`;
const NIGHT =
  line("03:10:05", "Started: Starting event Korvex Orvel First") +
  line("03:10:10", "Started: Starting event Korvex Orvel Second") +
  line("03:11:40", "Stopped: Stopping event Korvex Orvel Second") +
  line("03:11:40", "Stopped: Stopping event Korvex Orvel First");

/** @param {number} id @param {string} time @param {number} seconds @param {number} level */
const stay = (id, time, seconds, level) => ({
  id,
  object: id + 40,
  class: 2,
  label: "Car",
  entered: `2026-11-22T${time}.250+01:00`,
  left: `2026-11-22T${time.slice(0, 6)}59.250+01:00`,
  seconds,
  level,
  alerts: Array.from({ length: level }, (_, i) => ({
    level: i + 1,
    time: `2026-11-22T${time}.250+01:00`,
    still: `/stream/stills/${id}-${i + 1}.jpg`,
    clip: i === 1 ? `/stream/clips/${id}-2.mp4` : null,
  })),
});

test("on a camera the log's alerts are the history of a day, in the camera's own time", async () => {
  double.log += NIGHT;
  const visitor = await visit({ viewport: { width: 1280, height: 900 }, timezoneId: "Pacific/Auckland" }),
    { page } = visitor;
  await visitor.tab("history");
  await visitor.waitForText("periods-note", /^2 alerts/);
  assert.equal(await page.inputValue("#day"), "2026-11-22");
  assert.deepEqual(
    (await page.locator("#period-list tr").allInnerTexts()).map((row) => row.split(/\s*\t\s*/)),
    [
      ["Second alert", "03:10:10", "03:11:40", "1 min 30 s"],
      ["First alert", "03:10:05", "03:11:40", "1 min 35 s"],
    ],
  );
  assert.ok(await page.isHidden("#stays"));
  await page.click("#day-before");
  await visitor.waitForText("periods-note", /No alert on this day/);
  await page.click("#day-today");
  await visitor.waitForText("periods-note", /^2 alerts/);
  assert.equal(await page.locator("#alert-line svg[aria-label='Second alert: 1 times']").count(), 1);
});

test("on a host the stays of a day come with figures, stills, clips, and files to keep", async () => {
  double.log += NIGHT;
  double.stays = [stay(1, "08:35:00", 26, 2), stay(2, "09:00:00", 4, 0), stay(3, "09:30:00", 12, 1)];
  const visitor = await visit(),
    { page } = visitor;
  await visitor.tab("history");
  await visitor.waitForText("stays-note", /3 of 3 stays/);
  assert.ok(double.asked.includes("/stream/stays.json?from=2026-11-22&to=2026-11-23"));
  assert.match(await visitor.text("stay-figures"), /Stays\s+3\s+Longest\s+26 s\s+Mean\s+14 s\s+No alert\s+1/);
  const rows = await page.locator("#stay-list tr").allInnerTexts();
  assert.match(rows[0], /^09:30:00\s+09:30:59\s+12 s\s+Car 43\s+First alert/);
  assert.match(rows[2], /^08:35:00\s+08:35:59\s+26 s\s+Car 41\s+Second alert\s+Clip of 08:35:00/);
  assert.equal(await page.getAttribute("#stay-list tr:last-child img", "src"), "/stream/stills/1-2.jpg");
  assert.equal(await page.getAttribute("#stay-list tr:last-child img", "loading"), "lazy");
  assert.equal(await page.getAttribute("#stay-list tr:last-child a[download]", "href"), "/stream/clips/1-2.mp4");
  assert.equal(await page.getAttribute("#stays-csv", "href"), "/stream/stays.csv?from=2026-11-22&to=2026-11-23");
  assert.equal(await page.locator("#stay-hours [aria-label='9 h: No alert: 1, First alert: 1']").count(), 1);
  const [file] = await Promise.all([page.waitForEvent("download"), page.click("#stays-json")]);
  assert.deepEqual(JSON.parse(readFileSync(await file.path(), "utf8")), { stays: double.stays });
  await page.check("#stays-with-alert");
  await visitor.waitForText("stays-note", /^2 of 3 stays/);
  assert.equal(await page.locator("#stay-list tr").count(), 2);
});

test("the log leaves its own reading out, folds what repeats, and has a view of the alerts alone", async () => {
  double.log += NIGHT + "2026-11-22 11:00:00|korvex_orvel|error|no picture\n".repeat(40);
  const visitor = await visit(),
    { page } = visitor;
  await visitor.tab("history"); // read once before
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /^6 of 6 lines/);
  assert.match(await visitor.text("log-lines"), /no picture \(40 times, until 2026-11-22 11:00:00\)/);
  assert.doesNotMatch(await visitor.text("log-lines"), /processGET/);
  await page.selectOption("#log-view", "alerts");
  await visitor.waitForText("log-note", /^5 of 5 lines/);
  assert.match(await visitor.text("log-lines"), /The application started[^]*First alert started[^]*First alert ended/);
});
