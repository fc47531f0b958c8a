// Typed, discarded, reset.

import assert from "node:assert/strict";
import { test } from "node:test";
import { page, visitor } from "./setting.mjs";

test("what is typed counts at once, and is one step of undo; what is wrong with it is told when it is left", async () => {
  await visitor.tab("detection");
  await page.click("#MaxDisappear");
  await page.keyboard.press("Control+a");
  await page.keyboard.type("12");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.ok(await page.isEnabled("#save"));
  await page.keyboard.type("x");
  assert.equal(await visitor.text("MaxDisappear-error"), "", "not while it is typed");
  assert.ok(await page.isDisabled("#save"));
  await page.keyboard.press("Enter");
  assert.match(await visitor.text("MaxDisappear-error"), /Patience: a whole number/);
  assert.equal(await page.locator("#tab-detection.wrong").count(), 1);
  await page.keyboard.press("Backspace");
  assert.equal(await visitor.text("MaxDisappear-error"), "", "put right, it is gone at once");
  await visitor.tab("live");
  await page.click("#undo");
  assert.match(await visitor.text("save-note"), /Everything is saved/);
});

test("a threshold of another spelling is no change, and none is told after saving", async () => {
  await visitor.tab("detection");
  await visitor.type("Sensitivity", "0,5");
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  await visitor.type("Sensitivity", ".5");
  assert.equal(await visitor.text("save-note"), "Saved.");
  await visitor.type("Sensitivity", "0.505");
  assert.match(
    await visitor.text("Sensitivity-error"),
    /at most two decimals/,
    "the application would not tell the third again",
  );
});

test("what was discarded or saved can be undone", async () => {
  await visitor.tab("detection");
  await visitor.type("MinNumberOfPeopleForTrigger", "4");
  await page.click("#discard");
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "1");
  await visitor.tab("live");
  await page.click("#undo");
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "4");
  await visitor.save();
  await page.click("#undo");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "1");
  await visitor.save();
});

test("Reset is there when a shape has changed, and only then", async () => {
  await visitor.tab("alerts");
  await visitor.type("Alert1ThreshSeconds", "4");
  await visitor.tab("live");
  assert.ok(await page.isDisabled("#reset"));
  await page.check("#Exclusion1_Active");
  assert.ok(await page.isEnabled("#reset"));
  await page.click("#reset");
  assert.ok(await page.isDisabled("#reset"));
  assert.equal(await page.inputValue("#Alert1ThreshSeconds"), "4");
});
