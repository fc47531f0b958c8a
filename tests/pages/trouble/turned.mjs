// A camera that was turned.

import assert from "node:assert/strict";
import { test } from "node:test";
import { Camera } from "../support/camera.mjs";
import { settingsOf } from "../support/http.mjs";
import { camera, leave, options, visit } from "./setting.mjs";

test("on a turned camera the picture stands upright under the shapes, and its settings go round", async (context) => {
  await camera.stop();
  const turned = new Camera([...options, "--accept-eula", "--set", "root.Image.I0.Appearance.Rotation=90"]);
  context.after(() => turned.stop());
  await turned.startAnswering();
  const visitor = await visit({ viewport: { width: 1280, height: 900 }, acceptDownloads: true }, turned),
    { page } = visitor;
  await page.waitForFunction(() => {
    const { naturalWidth, naturalHeight } = /** @type {HTMLImageElement} */ (document.getElementById("picture"));
    return naturalWidth > 0 && Math.abs(naturalHeight / naturalWidth - 16 / 9) < 0.01;
  });
  const stage = await page.locator("#stage").boundingBox();
  assert.ok(stage !== null && Math.abs(stage.height / stage.width - 16 / 9) < 0.01);
  // What was made for the picture as it lay is beyond the right of this one.
  await page.check("#Exclusion2_Active");
  assert.match(await visitor.text("shape-problems"), /Exclusion zone 2: it leaves the picture/);
  await page.uncheck("#Exclusion2_Active");
  await visitor.setCorners("area", [
    [33, 33],
    [66, 33],
    [66, 66],
    [33, 66],
  ]);
  const area = await visitor.corners("area");
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  const stored = await settingsOf(turned.address);
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.deepEqual(await visitor.corners("area"), area);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "26");
  await visitor.save();
  assert.deepEqual({ ...(await settingsOf(turned.address)), MaxDisappear: "" }, { ...stored, MaxDisappear: "" });
  await visitor.tab("advanced");
  const [file] = await Promise.all([page.waitForEvent("download"), page.click("#export")]);
  await page.setInputFiles("#import", await file.path());
  await visitor.waitForText("import-note", /holds what is saved already/);
  await leave(visitor);
});
