// Settings that hold what no page would have saved.

import assert from "node:assert/strict";
import { test } from "node:test";
import { until } from "../support/http.mjs";
import { double, visit } from "./setting.mjs";

test("values out of range are told with their ranges, mended field by field, and saved as soon as all are right", async () => {
  double.stored = {
    Sensitivity: "7.00",
    MinNumberOfPeopleForTrigger: "0",
    Alert1ThreshSeconds: "30",
    SelectedDetectionOverlay: "17x4",
  };
  const visitor = await visit(),
    { page } = visitor;
  assert.match(await visitor.text("save-note"), /^Stored, but not fit to be saved again\./);
  for (const tab of ["detection", "alerts", "overlays"])
    assert.equal(await page.locator(`#tab-${tab}.wrong`).count(), 1, tab);
  await visitor.tab("detection");
  assert.match(await visitor.text("Sensitivity-error"), /from 0\.01 to 0\.99/);
  assert.match(await visitor.text("MinNumberOfPeopleForTrigger-error"), /from 1 to 12/);
  await visitor.type("Sensitivity", "0.4");
  assert.ok(await page.isDisabled("#save"), "the others are wrong still");
  assert.equal(await visitor.text("Sensitivity-error"), "");
  await visitor.type("MinNumberOfPeopleForTrigger", "1");
  await visitor.tab("alerts");
  assert.match(
    await visitor.text("Alert2ThreshSeconds-error"),
    /more than the 30 of the first alert.*from 31 to 86400/,
  );
  assert.match(await visitor.text("Alert3ThreshSeconds-error"), /more than the 30 of the first alert/);
  await visitor.type("Alert1ThreshSeconds", "5");
  assert.equal(await visitor.text("Alert3ThreshSeconds-error"), "");
  await visitor.tab("overlays");
  assert.match(await visitor.text("SelectedDetectionOverlay-error"), /"17x4" is none.*640x360, 800x450, 1280x720/);
  assert.ok(await page.isDisabled("#save"));
  await page.selectOption("#SelectedDetectionOverlay", "1280x720");
  await visitor.save();
  assert.deepEqual(
    ["Sensitivity", "MinNumberOfPeopleForTrigger", "Alert1ThreshSeconds", "SelectedDetectionOverlay"].map(
      (name) => double.stored[name],
    ),
    ["0.40", "1", "5", "1280x720"],
  );
});

test("the agreement can be accepted though a stored text would break the application off", async () => {
  double.stored = { Eula: "0", SelectedDetectionOverlay: "soon" };
  const visitor = await visit(),
    { page } = visitor;
  await page.waitForSelector("#agreement[open]");
  await visitor.waitForText("agreement-text", /does not hide people/);
  await page.click("#agreement-accept");
  await until(() => double.posts.length === 1, "the acceptance");
  assert.match(double.posts[0], /<Eula>1<.*<SelectedDetectionOverlay>0x0</);
});

test("why nothing can alert is told where it is switched", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await visitor.tab("detection");
  for (const box of await page.locator("#classes input:not(#DetectPersons)").all()) await box.uncheck();
  assert.match(await visitor.text("class-advice"), /Only persons are on/);
  await page.uncheck("#DetectPersons");
  assert.match(await visitor.text("class-advice"), /Every class is off/);
  await visitor.tab("alerts");
  await page.uncheck("#Alert1_Active");
  assert.match(await visitor.text("alert-advice"), /The first alert is disabled/);
  await visitor.tab("live");
  assert.match(await visitor.text("shape-problems"), /Every class is off.*\n.*The first alert is disabled/);
  await page.click("#discard");
  await page.check("#Exclusion1_Active");
  await visitor.setCorners("zone1", [
    [30, 30],
    [70, 30],
    [70, 90],
    [30, 90],
  ]);
  assert.match(await visitor.text("shape-problems"), /The exclusion zones cover all of the area/);
});
