// The other settings, and what they do.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, page, visitor } from "./setting.mjs";

test("wrong values are told at their fields and not sent", async () => {
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "soon");
  assert.match(await visitor.text("MaxDisappear-error"), /Patience: a whole number from 0 to 3600/);
  assert.equal(await page.getAttribute("#MaxDisappear", "aria-invalid"), "true");
  assert.ok(await page.isDisabled("#save"));
  await visitor.tab("alerts");
  await visitor.type("Alert3ThreshSeconds", "10");
  assert.match(
    await visitor.text("Alert3ThreshSeconds-error"),
    /third alert: more than the 10 of the second alert.*from 11 to 86400/,
  );
  await page.click("#discard");
  assert.equal(await visitor.text("Alert3ThreshSeconds-error"), "");
});

test("the chain of levels is told where it bites", async () => {
  await page.uncheck("#Alert1_Active");
  for (const level of [2, 3])
    assert.match(await visitor.text(`Alert${level}-chain`), /Cannot stay active while the first alert is disabled/);
  await page.check("#Alert1_Active");
  assert.equal(await visitor.text("Alert2-chain"), "");
});

test("an alert appears", async () => {
  for (const level of [1, 2, 3]) await visitor.type(`Alert${level}ThreshSeconds`, String(level));
  // All of the picture is the area, so that any vehicle will do: the scene need not have come to one that stops.
  await visitor.tab("live");
  await page.selectOption("#corners", "4");
  await visitor.setCorners("area", [
    [0, 0],
    [100, 0],
    [100, 100],
    [0, 100],
  ]);
  await visitor.save();
  await page.locator('#alerts li[data-level="1"][data-state=active]', { hasText: "First active" }).waitFor();
});

test("overlays take the camera's own sizes and warn where two roles meet", async () => {
  await visitor.tab("overlays");
  const offered = (await settingsOf(camera.address)).CamsResAsCsv.split(",").filter((size) => size !== "");
  assert.deepEqual(
    await page.$$eval("#SelectedAnonOverlay option", (options) => options.map((option) => option.textContent)),
    offered,
  );
  await page.check("#AnonOverlaysOn");
  await page.selectOption("#SelectedAnonOverlay", await page.inputValue("#SelectedDetectionOverlay"));
  assert.match(await visitor.text("overlay-note"), /NOT anonymised/);
  await page.selectOption("#SelectedAnonOverlay", "640x360");
  assert.ok(await page.isHidden("#overlay-note"));
  await visitor.save();
  assert.equal((await settingsOf(camera.address)).AnonOverlaysOn, "1");
});
