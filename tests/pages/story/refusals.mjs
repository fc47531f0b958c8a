// What the camera refuses, and what it does not lose.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf } from "../support/http.mjs";
import { camera, page, startAnew, visitor } from "./setting.mjs";

test("each refusal of the camera is told in a sentence", async () => {
  visitor.expectsFailures = true;
  await visitor.tab("detection");
  for (const [answer, expected] of /** @type {[number, RegExp][]} */ ([
    [400, /could not read the settings \(400\)/],
    [413, /413/],
    [500, /stopped in the middle/],
    [503, /does not answer/],
    [401, /log in/],
    [0, /No connection/],
  ])) {
    await page.route("**/*action=set_post_parameters", (route) =>
      answer === 0 ? route.abort() : route.fulfill({ status: answer, body: "" }),
    );
    await visitor.type("MaxDisappear", String(20 + (answer % 7)));
    await page.click("#save");
    await visitor.waitForText("save-note", new RegExp(`^Not saved\\..*${expected.source}`));
    await page.unroute("**/*action=set_post_parameters");
  }
  await page.click("#discard");
  visitor.expectsFailures = false;
});

test("a page left open over a restart finds the application again, and keeps what was not saved", async () => {
  await visitor.type("MaxDisappear", "21");
  visitor.expectsFailures = true;
  await camera.stop();
  await visitor.waitForText("connection", /No connection|does not answer/);
  assert.match(await visitor.text("status"), /No connection/);
  // Pixels that no whole per cent makes, as another program may have stored them.
  await startAnew(
    "--set",
    "Detection10x=547",
    "--set",
    "Detection10y=239",
    "--set",
    "Detection11x=743",
    "--set",
    "Exclusion12x=1279",
    "--set",
    "Exclusion12y=719",
    "--set",
    "Detection12y=713",
  );
  await page.waitForSelector("#connection", { state: "hidden" });
  await visitor.waitForText("status", /200|50[234]|600/);
  visitor.expectsFailures = false;
  assert.equal(await page.inputValue("#MaxDisappear"), "21");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  await visitor.tab("live");
  await visitor.waitForPicture(1280);
});

test("saving twice moves no corner", async () => {
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  /** @param {Record<string, string>} settings */
  const corners = (settings) =>
    Object.fromEntries(Object.entries(settings).filter(([name]) => /^(Detection1|Exclusion\d)_\d+$/.test(name)));
  await visitor.tab("detection");
  /** @type {Record<string, string>[]} */
  const seen = [];
  for (const patience of ["5", "6", "7"]) {
    await visitor.type("MaxDisappear", patience);
    await visitor.save();
    assert.equal(await visitor.text("save-note"), "Saved.");
    seen.push(corners(await settingsOf(camera.address)));
  }
  assert.deepEqual(seen[1], seen[0]);
  assert.deepEqual(seen[2], seen[0]);
});
