// Imported before the other tests, whose pages are to be past the agreement.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, leave, visit } from "./setting.mjs";

test("the agreement is asked for once", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await page.click("#agreement-accept");
  await page.waitForSelector("#agreement", { state: "hidden" });
  assert.equal((await settingsOf(camera.address)).Eula, "1");
  await leave(visitor);
  const again = await visit();
  assert.ok(await again.page.isHidden("#agreement"));
  await leave(again);
});
