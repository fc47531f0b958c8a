// Saves that are slow, break off, or are never heard of.

import assert from "node:assert/strict";
import { test } from "node:test";
import { settingsOf, until } from "../support/http.mjs";
import {
  answerHeld,
  answerOf,
  camera,
  countPosts,
  DOCUMENT,
  leave,
  lookAgain,
  SAVE,
  settled,
  visit,
} from "./setting.mjs";

test("a camera that needs long for a save is waited for, and what is edited meanwhile stays", async () => {
  const visitor = await visit(),
    { page } = visitor;
  const count = countPosts(visitor);
  // Long is what the web server waits, and not what this machine's load makes of a time.
  await page.evaluate(() => {
    const wait = AbortSignal.timeout.bind(AbortSignal);
    AbortSignal.timeout = (milliseconds) => {
      document.body.dataset.patience = String(Math.max(milliseconds, Number(document.body.dataset.patience ?? 0)));
      return wait(milliseconds);
    };
  });
  const { isFinished, finish } = answerHeld();
  await page.route(SAVE, async (route) => {
    await isFinished;
    await route.continue();
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "18");
  await page.click("#save");
  assert.equal(await visitor.text("save-note"), "Saving…");
  assert.ok(await page.isVisible("#save-progress"));
  assert.ok(await page.isDisabled("#save"));
  await page.evaluate(() => document.getElementById("save")?.dispatchEvent(new MouseEvent("click")));
  await visitor.type("MinNumberOfPeopleForTrigger", "3");
  await until(() => count.posts === 1, "the save");
  assert.ok(Number(await page.getAttribute("body", "data-patience")) > 60000, "the web server's patience is 60 s");
  assert.equal(await visitor.text("save-note"), "Saving…");
  finish();
  await visitor.waitForText("save-note", /Changed, not saved yet/);
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "3");
  const stored = await settingsOf(camera.address);
  assert.deepEqual([stored.MaxDisappear, stored.MinNumberOfPeopleForTrigger, count.posts], ["18", "2", 1]);
  assert.deepEqual(visitor.complaints, []);
  await leave(visitor);
});

test("what is typed after Save is not sent with it, however long the application takes to be asked", async () => {
  const visitor = await visit(),
    { page } = visitor;
  const { isFinished, finish } = answerHeld();
  let isHeld = false;
  await page.route(
    DOCUMENT,
    async (route) => {
      isHeld = true;
      await isFinished;
      await route.continue();
    },
    { times: 1 },
  );
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "25");
  const saved = page.waitForResponse(SAVE);
  await page.click("#save");
  await until(() => isHeld, "the save");
  await visitor.type("MaxDisappear", "x");
  finish();
  assert.equal((await saved).status(), 200);
  await visitor.waitForText("save-note", /^Patience: a whole number/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "25");
  await leave(visitor);
});

test("a save whose answer is lost is not called failed, and is told of once the application is back", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(SAVE, async (route) => {
    await answerOf(route);
    await camera.stop();
    await route.abort();
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "19");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Not saved, as far as is known\. No connection/);
  await camera.startAnswering();
  await visitor.waitForText("save-note", /^Saved\.$/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "19");
  await leave(visitor);
});

test("a lost answer of an application that goes on is looked after at once", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(SAVE, async (route) => {
    await answerOf(route);
    await route.abort();
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "20");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Saved\.$/);
  await leave(visitor);
});

test("a save of which nothing was heard is looked after as soon as the application can be asked, and what is edited meanwhile stays", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(SAVE, async (route) => {
    await answerOf(route);
    await page.route(DOCUMENT, (read) => read.abort());
    await route.abort();
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "22");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Not saved, as far as is known\./);
  await visitor.type("MinNumberOfPeopleForTrigger", "5");
  await visitor.waitForText("connection", /No connection/);
  await page.unroute(DOCUMENT);
  await page.waitForSelector("#connection", { state: "hidden" });
  assert.equal(await visitor.text("save-note"), "Changed, not saved yet.");
  await page.click("#discard");
  assert.equal(await page.inputValue("#MaxDisappear"), "22", "this was saved");
  assert.equal(await visitor.text("save-note"), "Everything is saved.");
  await leave(visitor);
});

test("a refusal is still told after the page was left and looked at again", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(SAVE, (route) => route.fulfill({ status: 400, body: "" }));
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "23");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Not saved\. .*\(400\)/);
  const read = page.waitForResponse(DOCUMENT);
  await lookAgain(visitor);
  await settled(await read);
  assert.match(await visitor.text("save-note"), /^Not saved\. .*\(400\)/);
  await leave(visitor);
});

test("settings that were read before a save are not shown after it", async () => {
  const visitor = await visit(),
    { page } = visitor;
  const { isFinished, finish } = answerHeld();
  let isHeld = false;
  await page.route(
    DOCUMENT,
    async (route) => {
      const response = await answerOf(route);
      isHeld = true;
      await isFinished;
      await route.fulfill({ response });
    },
    { times: 1 },
  );
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "24");
  const read = page.waitForResponse(DOCUMENT);
  await lookAgain(visitor);
  await until(() => isHeld, "what is read before the save");
  await visitor.save();
  finish();
  await settled(await read);
  assert.equal(await page.inputValue("#MaxDisappear"), "24");
  assert.equal(await visitor.text("save-note"), "Saved.");
  await leave(visitor);
});
