// Settings that the camera could not store.

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { appendFileSync, readdirSync, rmSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { Camera, freePort, scratchFolder } from "../support/camera.mjs";
import { ask, ENDPOINT, settingsOf } from "../support/http.mjs";
import { Visitor } from "../support/visitor.mjs";
import { browser, camera, leave, LOG, lookAgain, options, rewrite, settled, visit } from "./setting.mjs";

const FAILED = "2026-01-31 09:30:00|korvex_orvel|error|set_guint_parameter: Failed to save HStream\n";

test("settings that the camera could not store are told of until others are stored", async () => {
  const visitor = await visit(),
    { page } = visitor;
  let added = FAILED;
  await rewrite(visitor, LOG, (body) => body + added);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "30");
  await page.click("#save");
  await visitor.waitForText("save-note", /^In use, but not stored/);
  assert.match(
    await visitor.text("store-notice"),
    /works with these settings but could not store them: .* Make room .*, restart the application/,
  );
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "30");
  for (const log of [FAILED, ""]) {
    // the second is one that was cleared meanwhile
    await page.route(LOG, (route) => route.fulfill({ body: log }), { times: 1 });
    const asked = page.waitForResponse(LOG);
    await lookAgain(visitor);
    await settled(await asked);
    assert.ok(await page.isVisible("#store-notice"));
  }
  await visitor.type("MaxDisappear", "31");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.ok(await page.isVisible("#store-notice"), "while something else is edited");
  await page.click("#save");
  await visitor.waitForText("save-note", /^In use, but not stored/);
  added = "";
  await visitor.type("MaxDisappear", "32");
  await visitor.save();
  assert.ok(await page.isHidden("#store-notice"));
  assert.deepEqual(visitor.complaints, []);
  await leave(visitor);
});

test("a log that cannot be asked or written is no proof that a save is stored", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(LOG, (route) => route.abort());
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "33");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Saved\. Whether it is stored as well could not be asked\.$/);
  assert.ok(await page.isHidden("#store-notice"));
  await page.unroute(LOG);
  await page.route(LOG, (route) =>
    route.fulfill({ body: "2026-01-31 09:00:00|korvex_orvel|warning|STARTING korvex_orvel\n" }),
  );
  await visitor.type("MaxDisappear", "34");
  await page.click("#save");
  await visitor.waitForText("save-note", /^In use, but not stored/);
  assert.match(await visitor.text("store-notice"), /may not have stored them: it cannot even write its log/);
  await leave(visitor);
});

test("so is an agreement that the camera could not store, and the warning ends with a new start", async () => {
  const document = (await ask(camera.address, `${ENDPOINT}?action=get_all_parameters`)).body.replace(
    "<Eula>1",
    "<Eula>0",
  );
  assert.equal(
    (await ask(camera.address, `${ENDPOINT}?action=set_post_parameters`, { method: "POST", body: document })).status,
    200,
  );
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await rewrite(visitor, LOG, (body) => body + FAILED);
  await page.click("#agreement-accept");
  await page.waitForSelector("#agreement", { state: "hidden" });
  assert.match(await visitor.text("store-notice"), /could not store them/);
  assert.match(await visitor.text("save-note"), /^In use, but not stored/);
  await page.unroute(LOG);
  await camera.stop();
  await visitor.waitForText("connection", /No connection|does not answer/);
  assert.ok(await page.isVisible("#store-notice"));
  await camera.startAnswering();
  await page.waitForSelector("#store-notice", { state: "hidden" });
  assert.match(await visitor.text("save-note"), /^The application has started anew, without what it could not store/);
  await leave(visitor);
});

test("a disk that is full is told of as it really fills up", async (context) => {
  const small = scratchFolder("small");
  const view = ["--dev-bind", "/", "/", "--size", "4000000", "--tmpfs", small, "--die-with-parent"];
  if (spawnSync("bwrap", [...view, "true"]).status !== 0)
    return context.skip("no file system of its own can be made here");
  const full = new Camera(
    [...options, "--state", join(small, "state"), "--listen", `127.0.0.1:${await freePort()}`, "--accept-eula"],
    ["bwrap", ...view],
  );
  const visitor = new Visitor(await browser.newPage()),
    { page } = visitor;
  try {
    await full.startAnswering();
    await page.goto(full.address);
    await visitor.waitForText("save-note", /Everything is saved/);
    await visitor.tab("detection");
    await visitor.type("MaxDisappear", "16");
    await visitor.save();
    assert.ok(await page.isHidden("#store-notice"));
    const inside = `/proc/${full.inner}/root${small}`,
      fill = `${inside}/fill`;
    // Where it has room in its files it goes on storing.
    for (const name of readdirSync(`${inside}/state`).filter((entry) => entry.startsWith("parameters.sqlite")))
      rmSync(`${inside}/state/${name}`);
    assert.throws(() => {
      while (true) appendFileSync(fill, Buffer.alloc(4096));
    }, /ENOSPC/);
    await visitor.type("MaxDisappear", "17");
    await page.click("#save");
    await visitor.waitForText("save-note", /^In use, but not stored/);
    assert.match(await visitor.text("store-notice"), /could not store them|may not have stored them/);
    rmSync(fill);
    await visitor.type("MaxDisappear", "18");
    await page.click("#save");
    await visitor.waitForText("store-notice", /could not store them/);
    await visitor.waitForText("save-note", /^In use, but not stored/);
  } finally {
    await page.context().close();
    await full.stop();
  }
});
