// Answers that do not come, or not whole.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, DOCUMENT, leave, rewrite, SAVE, visit } from "./setting.mjs";

test("an agreement that could not be loaded is loaded when it is opened again", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route("**/eula.txt", (route) => route.abort());
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  await visitor.waitForText("agreement-text", /could not be loaded/);
  await page.unroute("**/eula.txt");
  await visitor.tab("advanced");
  await page.click("#show-agreement");
  await visitor.waitForText("agreement-text", /Warranty/);
  await leave(visitor);
});

test("the picture under the shapes has the analysed picture's shape, whatever stream has the boxes", async () => {
  const visitor = await visit(),
    { page } = visitor;
  for (const [size, shown] of [
    ["1280x960", "800x450"],
    ["1920x1080", "1920x1080"],
  ]) {
    await rewrite(visitor, DOCUMENT, (body) =>
      body
        .replace(/<SelectedDetectionOverlay>[^<]*/, `<SelectedDetectionOverlay>${size}`)
        .replace("<DetectionOverlaysOn>0", "<DetectionOverlaysOn>1"),
    );
    const stream = page.waitForRequest("**/stream/*.mjpg*");
    await page.reload();
    assert.match((await stream).url(), new RegExp(`/stream/${shown}\\.mjpg`));
    await page.unroute(DOCUMENT);
  }
  await leave(visitor);
});

test("saved, though the settings could not be read back", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(SAVE, async (route) => {
    await page.route(DOCUMENT, (read) => read.abort());
    await route.continue();
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "21");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Saved\./);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "21");
  await leave(visitor);
});

test("settings that no parser takes are shown, and can be put right", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await rewrite(visitor, DOCUMENT, (body) =>
    body.replace(/<SelectedDetectionOverlay>[^<]*/, "<SelectedDetectionOverlay>a&b"),
  );
  await page.reload();
  await visitor.waitForText("save-note", /^Stored, but not fit to be saved again\. Boxes: "a&b" is none of/);
  await visitor.tab("overlays");
  assert.equal(await page.inputValue("#SelectedDetectionOverlay"), "a&b");
  assert.match(await visitor.text("SelectedDetectionOverlay-error"), /Choose one of the camera's stream sizes/);
  assert.ok((await page.locator("#tab-overlays.wrong").count()) === 1, "the tab tells where to look");
  await leave(visitor);
});

test("settings cut short are refused, and the status is told all the same", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await rewrite(visitor, DOCUMENT, (body) => body.slice(0, 900));
  await page.reload();
  await visitor.waitForText("connection", /sent settings that cannot be read/);
  assert.doesNotMatch(await visitor.text("status"), /No connection/);
  assert.ok((await page.locator("#panel-live[inert]").count()) === 1, "nothing to edit before there are settings");
  await page.unroute(DOCUMENT);
  await page.waitForSelector("#connection", { state: "hidden" });
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.ok((await page.locator("#panel-live[inert]").count()) === 0);
  await leave(visitor);
});
