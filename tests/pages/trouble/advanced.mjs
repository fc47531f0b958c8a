// The page for support, while something is going on.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { ask, ENDPOINT, settingsOf } from "../support/http.mjs";
import { camera, leave, RUNNING, visit } from "./setting.mjs";

test("while nothing is new nothing in the page is touched: nothing to speak again, nothing to lose a selection in", async () => {
  const visitor = await visit(),
    { page } = visitor;
  for (const [action, body] of RUNNING) await page.route(`**/*action=${action}`, (route) => route.fulfill({ body }));
  await visitor.waitForText("pass-time", /77 ms/);
  await visitor.tab("advanced");
  assert.ok((await page.locator("#diagnostics dd").count()) > 5, "the diagnostics are there at once");
  const touched = await page.evaluate(async () => {
    /** @type {string[]} */
    const found = [];
    const observer = new MutationObserver((records) =>
      found.push(
        ...records
          .filter(({ type }) => type === "childList")
          .map(({ target }) => /** @type {HTMLElement} */ (target).outerHTML),
      ),
    );
    observer.observe(document.body, { subtree: true, childList: true });
    await new Promise((resolve) => setTimeout(resolve, 3500));
    return found;
  });
  const seconds = /^<dd>\d+\/\d+\/\d+, /; // when the last answer came
  assert.deepEqual(
    touched.filter((text) => !seconds.test(text)),
    [],
  );
  await leave(visitor);
});

test("who has scrolled back in a followed log stays there, and its lines stay the same elements", async () => {
  const visitor = await visit({ viewport: { width: 1280, height: 420 } }),
    { page } = visitor;
  const log = "2026-01-31 09:30:00|korvex_orvel|info|line ";
  let count = 200;
  await page.route("**/*action=get_logfile_as_serialized_text", (route) =>
    route.fulfill({ body: Array.from({ length: count++ }, (_, i) => `${log}${i}\n`).join("") }),
  );
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /^200 of 200/);
  await page.check("#log-follow");
  await visitor.waitForText("log-note", /^20[3-9] of/);
  const isAtEnd = () => page.$eval("#log-scroll", (box) => box.scrollHeight - box.scrollTop - box.clientHeight < 2);
  assert.ok(await isAtEnd(), "the newest line is shown");
  await page.$eval("#log-scroll", (box) => {
    box.scrollTop = 100;
    /** @type {any} */ (box.querySelector("tbody tr:nth-child(9)")).dataset.mine = "1";
  });
  const seen = await page.locator("#log-lines tr").count();
  await page.waitForFunction((before) => (document.getElementById("log-lines")?.children.length ?? 0) > before, seen);
  assert.equal(await page.$eval("#log-scroll", (box) => box.scrollTop), 100);
  assert.equal(await page.locator("#log-lines tr:nth-child(9)[data-mine]").count(), 1);
  await leave(visitor);
});

test("the log is not cleared by a key pressed too many", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /lines/);
  await page.focus("#log-clear");
  await page.keyboard.press("Enter");
  await page.waitForSelector("#confirm[open]");
  await page.keyboard.press("Enter");
  await page.waitForSelector("#confirm", { state: "hidden" });
  assert.match((await ask(camera.address, `${ENDPOINT}?action=get_logfile_as_plain_text`)).body, /STARTING/);
  await page.click("#log-clear");
  await page.click("#confirm-yes");
  await visitor.waitForText("log-note", /The log has been cleared/);
  await leave(visitor);
});

test("an export holds what the camera has, not what is only shown", async () => {
  const visitor = await visit({ acceptDownloads: true }),
    { page } = visitor;
  const { MaxDisappear } = await settingsOf(camera.address);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "x");
  await visitor.tab("advanced");
  const [file] = await Promise.all([page.waitForEvent("download"), page.click("#export")]);
  assert.equal(JSON.parse(readFileSync(await file.path(), "utf8")).texts.MaxDisappear, MaxDisappear);
  assert.match(await visitor.text("import-note"), /what is changed and not saved is not in it/);
  await leave(visitor);
});
