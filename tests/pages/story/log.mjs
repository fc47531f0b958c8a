// The log.

import assert from "node:assert/strict";
import { test } from "node:test";
import { downloaded, page, visitor } from "./setting.mjs";

test("the log is viewed, filtered and followed", async () => {
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /^(\d+) of \1 lines/);
  const all = await page.locator("#log-lines tr").count();
  await page.selectOption("#log-level", "warning");
  const warnings = await page.locator("#log-lines tr").count();
  assert.ok(warnings > 0 && warnings < all, `${warnings} of ${all}`);
  await page.selectOption("#log-level", "");
  await page.fill("#log-text", "init_LAROD");
  const found = await page.locator("#log-lines td:last-child").allInnerTexts();
  assert.ok(found.length > 0 && found.every((line) => line.includes("init_larod")), found.join("\n"));
  await page.fill("#log-text", "");
  await page.selectOption("#log-view", "alerts");
  const alerts = await page.locator("#log-lines td:last-child").allInnerTexts();
  assert.ok(alerts.includes("First alert started"), alerts.join("\n"));
  assert.ok(alerts.every((line) => /^(The application|(First|Second|Third) alert) (started|ended)/.test(line)));
  await page.selectOption("#log-view", "technical");
  assert.doesNotMatch(await visitor.text("log-lines"), /get_logfile/, "that it is read is no news");
});

test("the log is copied and downloaded, plain and serialised", async () => {
  await page.fill("#log-text", "starting korvex_ORVEL");
  await page.click("#log-copy");
  await visitor.waitForText("log-note", /clipboard/);
  assert.match(
    await page.evaluate(() => navigator.clipboard.readText()),
    /^\d{4}-\S+ \S+ warning STARTING korvex_orvel$/,
  );
  await page.fill("#log-text", "");
  assert.match(await downloaded(() => page.click("#log-plain")), /STARTING korvex_orvel/);
  assert.match(await downloaded(() => page.click("#log-serialised")), /\|korvex_orvel\|warning\|STARTING korvex_orvel/);
});

test("the log is cleared when that is confirmed, and not before", async () => {
  await page.click("#log-clear");
  await page.click("#confirm button[value=no]");
  await page.waitForSelector("#confirm", { state: "hidden" });
  assert.match(await downloaded(() => page.click("#log-plain")), /STARTING/);
  await page.click("#log-clear");
  await page.click("#confirm-yes");
  await page.waitForFunction(() => (document.getElementById("log-lines")?.children.length ?? 99) <= 3);
  assert.doesNotMatch(await downloaded(() => page.click("#log-plain")), /STARTING/);
});
