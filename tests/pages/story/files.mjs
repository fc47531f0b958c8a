// Settings as a file.

import assert from "node:assert/strict";
import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, downloaded, folder, page, visitor } from "./setting.mjs";

/** @param {string} name @param {string} text */
async function importFile(name, text) {
  const file = join(folder, name);
  writeFileSync(file, text);
  await page.setInputFiles("#import", file);
}

/** @type {any} */
let exported;

test("settings are exported, changed in the file, imported and saved", async () => {
  exported = JSON.parse(await downloaded(() => page.click("#export")));
  assert.equal(exported.texts.Alert3ThreshSeconds, "3");
  assert.ok(!("Eula" in exported.flags));
  const changed = structuredClone(exported);
  changed.texts.Sensitivity = "0.41";
  changed.area[1] = { x: 67, y: 33 };
  await importFile("good.json", JSON.stringify(changed));
  await visitor.waitForText("import-note", /The file is fine/);
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  await visitor.save();
  const stored = await settingsOf(camera.address);
  assert.equal(stored.Sensitivity, "0.41");
  await visitor.tab("live");
  assert.deepEqual((await visitor.corners("area"))[1], [67, 33]);
});

test("files that are no good settings change nothing and say why", async () => {
  await visitor.tab("advanced");
  /** @type {[string, RegExp][]} */
  const files = [
    ["not JSON", /not JSON/],
    ["{}", /no settings file of Korvex Orvel/],
    [JSON.stringify({ ...exported, corners: 5 }), /4, 6 or 8/],
    [JSON.stringify({ ...exported, texts: { ...exported.texts, MaxDisappear: "1e9" } }), /Patience/],
    ["x".repeat(70000), /far too large/],
  ];
  for (const [text, expected] of files) {
    await importFile("bad.json", text);
    await visitor.waitForText("import-problems", expected);
    assert.match(await visitor.text("save-note"), /Everything is saved|Saved/);
  }
});
