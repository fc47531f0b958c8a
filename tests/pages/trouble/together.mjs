// More than one page.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, leave, RUNNING, visit } from "./setting.mjs";

test("accepting the agreement keeps what is edited, and frees the other page at the gate", async () => {
  const [anna, bert] = [await visit(), await visit()];
  for (const { page } of [anna, bert]) await page.waitForSelector("#agreement[open]");
  await anna.page.click("#agreement-close");
  await anna.tab("detection");
  await anna.type("MaxDisappear", "16");
  await anna.page.click("#agreement-open");
  await anna.page.click("#agreement-accept");
  await anna.page.waitForSelector("#agreement", { state: "hidden" });
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "16");
  assert.match(await anna.text("save-note"), /Changed, not saved yet/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "15", "the agreement alone is saved");
  await anna.page.keyboard.press("Control+z");
  await anna.page.click("#tab-detection");
  await anna.page.keyboard.press("Control+z");
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "15");
  assert.match(await anna.text("save-note"), /Everything is saved/, "undo does not take the agreement back");
  await bert.page.waitForSelector("#agreement", { state: "hidden" });
  assert.ok(await bert.page.isHidden("#agreement-notice"));
  await Promise.all([leave(anna), leave(bert)]);
});

test("two pages that save one after the other: neither undoes the other unseen", async () => {
  const [anna, bert] = [await visit(), await visit()];
  // Were the other's save so slow that her page lost the application over it, it would read the settings anew.
  for (const [action, body] of RUNNING)
    await anna.page.route(`**/*action=${action}`, (route) => route.fulfill({ body }));
  await anna.tab("detection");
  await anna.type("MinNumberOfPeopleForTrigger", "2");
  await bert.tab("detection");
  await bert.type("MaxDisappear", "17");
  await bert.save();
  await anna.page.click("#save");
  await anna.waitForText("save-note", /^Not saved: the settings have been changed elsewhere meanwhile/);
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "17", "the other's change is shown");
  assert.equal(await anna.page.inputValue("#MinNumberOfPeopleForTrigger"), "2", "with one's own on top");
  assert.equal((await settingsOf(camera.address)).MinNumberOfPeopleForTrigger, "1");
  await anna.save();
  const stored = await settingsOf(camera.address);
  assert.deepEqual([stored.MinNumberOfPeopleForTrigger, stored.MaxDisappear], ["2", "17"]);
  await Promise.all([leave(anna), leave(bert)]);
});
