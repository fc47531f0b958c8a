// The bar at the top, and the banner.

import assert from "node:assert/strict";
import { test } from "node:test";
import { until } from "../support/http.mjs";
import { double, tell, visit } from "./setting.mjs";

/** @param {import("../support/visitor.mjs").Visitor} visitor */
const chips = ({ page }) =>
  page.$$eval("#alerts li", (items) =>
    items.map((item) => {
      const { state, kept } = /** @type {HTMLElement} */ (item).dataset;
      return `${state}${kept === "true" ? " kept" : ""}`;
    }),
  );

test("a slow pass leaves the alerts as they were, marked; code and words are always of one answer", async () => {
  double.code = 503;
  double.stored = { Alert3_Active: "0" };
  const visitor = await visit(),
    { page } = visitor;
  await visitor.waitForText("status", /503 Second alert active/);
  assert.deepEqual(await chips(visitor), ["active", "active", "disabled"]);
  assert.match(await visitor.text("alerts"), /First active[^]*Second active[^]*Third disabled/);
  double.code = 600;
  await visitor.waitForText("status", /600 Slow/);
  assert.deepEqual(await chips(visitor), ["active kept", "active kept", "disabled kept"]);
  assert.doesNotMatch(await visitor.text("alerts"), /unknown/);
  double.code = 200;
  await visitor.waitForText("status", /200 Running/);
  assert.deepEqual(await chips(visitor), ["quiet", "quiet", "disabled"]);
  assert.ok(!double.asked.some((asked) => asked.includes("get_status_string")));

  assert.ok(await page.isHidden("#status-about"));
  await page.click("#status");
  assert.match(await visitor.text("status-meaning"), /The analysis runs, and no alert is active/);
  assert.match(await visitor.text("status-about"), /disabled[^]*switched off/);
  await page.keyboard.press("Escape");
  assert.ok(await page.isHidden("#status-about"));
});

test("what is wrong is told with its time: by the host's objects, or the pictures' head, or the status", async () => {
  double.code = 400;
  const camera = await visit();
  await camera.waitForText("troubles", /^No inference since \d\d:\d\d$/);
  double.code = 200;
  await camera.page.waitForSelector("#troubles", { state: "hidden" });

  double.video = "lost since 2026-11-22T08:35:00+01:00";
  const seen = await visit();
  await seen.waitForText("troubles", /^No video since 08:35$/);

  double.hasObjects = true;
  const host = await visit();
  await until(() => double.listeners.size > 0, "a listener");
  tell(
    [],
    [
      { kind: "agreement", since: 1, text: "The end-user agreement is not accepted" },
      { kind: "store", since: 3, text: "Settings cannot be kept since 08:40" },
      { kind: "late", since: 2, text: "The analysis is late since 08:36" },
    ],
  );
  await host.waitForText("troubles", /^Settings cannot be kept since 08:40The analysis is late since 08:36$/);
  tell([]);
  await host.page.waitForSelector("#troubles", { state: "hidden" });
});

test("a lost connection is told with its time", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route("**/*get_status_code*", (route) => route.abort());
  await visitor.waitForText("connection", /^Since \d\d:\d\d: No connection to the camera/);
  await visitor.waitForText("status", /No connection/);
  await page.unrouteAll();
  await page.waitForSelector("#connection", { state: "hidden" });
});
