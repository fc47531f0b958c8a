// The first visit: the agreement and the picture.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf, until } from "../support/http.mjs";
import { camera, page, visitor } from "./setting.mjs";

test("the address opens the pages, and the agreement", async () => {
  await page.goto(camera.address);
  assert.equal(new URL(page.url()).pathname, "/local/korvex_orvel/");
  await visitor.waitForText("agreement-text", /WARRANTY|Warranty/);
  await page.waitForSelector("#agreement[open]");
  assert.equal(await page.title(), "Korvex Orvel");
});

test("nothing can be saved before it is accepted", async () => {
  await page.click("#agreement-close");
  assert.ok(await page.isVisible("#agreement-notice"));
  await visitor.waitForText("status", /408 Agreement not accepted/);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "4");
  assert.ok(await page.isDisabled("#save"));
  assert.match(await visitor.text("save-note"), /Nothing can be saved before the agreement is accepted/);
  await page.click("#discard");
  assert.equal(await page.inputValue("#MaxDisappear"), "15");
});

test("accepting it is stored, and the analysis begins", async () => {
  await page.click("#agreement-open");
  await page.click("#agreement-accept");
  await page.waitForSelector("#agreement", { state: "hidden" });
  assert.ok(await page.isHidden("#agreement-notice"));
  assert.equal((await settingsOf(camera.address)).Eula, "1");
  await visitor.waitForText("status", /200|50[234]|600/);
});

test("the live picture moves", async () => {
  await visitor.tab("live");
  await visitor.waitForPicture(1280);
  assert.ok(await page.isHidden("#no-picture"));
  const first = await page.locator("#picture").screenshot();
  await until(async () => !first.equals(await page.locator("#picture").screenshot()), "another picture");
});
