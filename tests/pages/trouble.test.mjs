// What a person meets who is not alone, or whose camera is slow, breaks off or shows nothing.

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { appendFileSync, readdirSync, readFileSync, rmSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { openBrowser } from "./support/browser.mjs";
import { Camera, freePort, scratchFolder, slowVideo } from "./support/camera.mjs";
import { ask, ENDPOINT, settingsOf, until } from "./support/http.mjs";
import { LIMIT_S } from "./support/limit.mjs";
import { Visitor } from "./support/visitor.mjs";

const folder = scratchFolder("trouble");
const options = ["--state", join(folder, "state"), "--source", slowVideo(folder), "--listen", `127.0.0.1:${await freePort()}`, "--set", "MainLoopTime=1000"];
let camera = new Camera(options);
const browser = await openBrowser();
const SAVE = "**/*action=set_post_parameters";
const DOCUMENT = "**/*action=get_all_parameters";
const LOG = "**/*action=get_logfile_as_serialized_text";
const FAILED = "2026-01-31 09:30:00|korvex_orvel|error|set_guint_parameter: Failed to save HStream\n";
/** @type {[string, string][]} */
const RUNNING = [["get_status_code", "502"], ["get_status_string", "First alert active"], ["get_execution_time", "77"]];

async function start() {
  await camera.start();
  await until(async () => (await ask(camera.address, `${ENDPOINT}?action=get_status_code`)).status === 200, "the endpoint");
}

/** A page of its own. @param {import("playwright-core").BrowserContextOptions} [options] */
async function visit(options = { viewport: { width: 1280, height: 900 } }) {
  const context = await browser.newContext(options);
  const visitor = new Visitor(await context.newPage());
  await visitor.page.goto(camera.address);
  await visitor.waitForText("save-note", /saved|accepted/);
  return visitor;
}

/** A request that is being answered by a test would fail it, when its page is gone. @param {Visitor} visitor */
async function leave({ page }) {
  await page.unrouteAll({ behavior: "ignoreErrors" });
  await page.context().close();
}

/** What the application answers, however long its disk takes. @param {import("playwright-core").Route} route */
const answerOf = (route) => route.fetch({ timeout: LIMIT_S * 1000 });

/** Until the page has seen it. @param {import("playwright-core").Response} response */
async function settled(response) {
  await response.finished();
  await response.frame().page().waitForTimeout(200);
}

/** As a browser tells it of a page that is looked at again. @param {Visitor} visitor */
const lookAgain = ({ page }) => page.evaluate(() => { document.dispatchEvent(new Event("visibilitychange")); });

/** For an answer that comes when the test says so. */
function answerHeld() {
  /** @type {() => void} */
  let finish = () => {};
  const isFinished = new Promise((resolve) => { finish = () => resolve(undefined); });
  return { isFinished, finish };
}

/** How often something posted. @param {Visitor} visitor */
function countPosts({ page }) {
  const count = { posts: 0 };
  page.on("request", (request) => { if (request.method() === "POST") count.posts += 1; });
  return count;
}

before(start);
after(async () => {
  await browser.close();
  await camera.stop();
});

test("accepting the agreement keeps what is edited, and frees the other page at the gate", async () => {
  const [anna, bert] = [await visit(), await visit()];
  for (const { page } of [anna, bert]) await page.waitForSelector("#agreement[open]");
  await anna.page.click("#agreement-close");
  await anna.tab("detection");
  await anna.type("MaxDisappear", "16");
  await anna.page.click("#agreement-open");
  await anna.page.click("#agreement-accept");
  await anna.page.waitForSelector("#agreement", { state: "hidden" });
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "16");
  assert.match(await anna.text("save-note"), /Changed, not saved yet/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "15", "the agreement alone is saved");
  await anna.page.keyboard.press("Control+z");
  await anna.page.click("#tab-detection");
  await anna.page.keyboard.press("Control+z");
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "15");
  assert.match(await anna.text("save-note"), /Everything is saved/, "undo does not take the agreement back");
  await bert.page.waitForSelector("#agreement", { state: "hidden" });
  assert.ok(await bert.page.isHidden("#agreement-notice"));
  await Promise.all([leave(anna), leave(bert)]);
});

test("two pages that save one after the other: neither undoes the other unseen", async () => {
  const [anna, bert] = [await visit(), await visit()];
  // Were the other's save so slow that her page lost the application over it, it would read the settings anew.
  for (const [action, body] of RUNNING) await anna.page.route(`**/*action=${action}`, (route) => route.fulfill({ body }));
  await anna.tab("detection");
  await anna.type("MinNumberOfPeopleForTrigger", "2");
  await bert.tab("detection");
  await bert.type("MaxDisappear", "17");
  await bert.save();
  await anna.page.click("#save");
  await anna.waitForText("save-note", /^Not saved: the settings have been changed elsewhere meanwhile/);
  assert.equal(await anna.page.inputValue("#MaxDisappear"), "17", "the other's change is shown");
  assert.equal(await anna.page.inputValue("#MinNumberOfPeopleForTrigger"), "2", "with one's own on top");
  assert.equal((await settingsOf(camera.address)).MinNumberOfPeopleForTrigger, "1");
  await anna.save();
  const stored = await settingsOf(camera.address);
  assert.deepEqual([stored.MinNumberOfPeopleForTrigger, stored.MaxDisappear], ["2", "17"]);
  await Promise.all([leave(anna), leave(bert)]);
});

test("a camera that needs long for a save is waited for, and what is edited meanwhile stays", async () => {
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
  const { isFinished, finish } = answerHeld();
  let isHeld = false;
  await page.route(DOCUMENT, async (route) => {
    isHeld = true;
    await isFinished;
    await route.continue();
  }, { times: 1 });
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
  const visitor = await visit(), { page } = visitor;
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
  await start();
  await visitor.waitForText("save-note", /^Saved\.$/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "19");
  await leave(visitor);
});

test("a lost answer of an application that goes on is looked after at once", async () => {
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
  const { isFinished, finish } = answerHeld();
  let isHeld = false;
  await page.route(DOCUMENT, async (route) => {
    const response = await answerOf(route);
    isHeld = true;
    await isFinished;
    await route.fulfill({ response });
  }, { times: 1 });
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

test("settings that the camera could not store are told of until others are stored", async () => {
  const visitor = await visit(), { page } = visitor;
  let added = FAILED;
  await page.route(LOG, async (route) => {
    const response = await answerOf(route);
    await route.fulfill({ response, body: await response.text() + added });
  });
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "30");
  await page.click("#save");
  await visitor.waitForText("save-note", /^In use, but not stored/);
  assert.match(await visitor.text("store-notice"), /works with these settings but could not store them: .* Make room .*, restart the application/);
  assert.equal((await settingsOf(camera.address)).MaxDisappear, "30");
  for (const log of [FAILED, ""]) { // the second is one that was cleared meanwhile
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
  const visitor = await visit(), { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(LOG, (route) => route.abort());
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "33");
  await page.click("#save");
  await visitor.waitForText("save-note", /^Saved\. Whether it is stored as well could not be asked\.$/);
  assert.ok(await page.isHidden("#store-notice"));
  await page.unroute(LOG);
  await page.route(LOG, (route) => route.fulfill({ body: "2026-01-31 09:00:00|korvex_orvel|warning|STARTING korvex_orvel\n" }));
  await visitor.type("MaxDisappear", "34");
  await page.click("#save");
  await visitor.waitForText("save-note", /^In use, but not stored/);
  assert.match(await visitor.text("store-notice"), /may not have stored them: it cannot even write its log/);
  await leave(visitor);
});

test("so is an agreement that the camera could not store, and the warning ends with a new start", async () => {
  const document = (await ask(camera.address, `${ENDPOINT}?action=get_all_parameters`)).body.replace("<Eula>1", "<Eula>0");
  assert.equal((await ask(camera.address, `${ENDPOINT}?action=set_post_parameters`, { method: "POST", body: document })).status, 200);
  const visitor = await visit(), { page } = visitor;
  visitor.expectsFailures = true;
  await page.route(LOG, async (route) => {
    const response = await answerOf(route);
    await route.fulfill({ response, body: await response.text() + FAILED });
  });
  await page.click("#agreement-accept");
  await page.waitForSelector("#agreement", { state: "hidden" });
  assert.match(await visitor.text("store-notice"), /could not store them/);
  assert.match(await visitor.text("save-note"), /^In use, but not stored/);
  await page.unroute(LOG);
  await camera.stop();
  await visitor.waitForText("connection", /No connection|does not answer/);
  assert.ok(await page.isVisible("#store-notice"));
  await start();
  await page.waitForSelector("#store-notice", { state: "hidden" });
  assert.match(await visitor.text("save-note"), /^The application has started anew, without what it could not store/);
  await leave(visitor);
});

test("a disk that is full is told of as it really fills up", async (context) => {
  const small = scratchFolder("small");
  const view = ["--dev-bind", "/", "/", "--size", "4000000", "--tmpfs", small, "--die-with-parent"];
  if (spawnSync("bwrap", [...view, "true"]).status !== 0) return context.skip("no file system of its own can be made here");
  const full = new Camera([...options, "--state", join(small, "state"), "--listen", `127.0.0.1:${await freePort()}`, "--accept-eula"], ["bwrap", ...view]);
  await full.start();
  const visitor = new Visitor(await browser.newPage()), { page } = visitor;
  try {
    await until(async () => (await ask(full.address, `${ENDPOINT}?action=get_status_code`)).status === 200, "the endpoint");
    await page.goto(full.address);
    await visitor.waitForText("save-note", /Everything is saved/);
    await visitor.tab("detection");
    await visitor.type("MaxDisappear", "16");
    await visitor.save();
    assert.ok(await page.isHidden("#store-notice"));
    const inside = `/proc/${full.inner}/root${small}`, fill = `${inside}/fill`;
    // Where it has room in its files it goes on storing.
    for (const name of readdirSync(`${inside}/state`).filter((entry) => entry.startsWith("parameters.sqlite"))) rmSync(`${inside}/state/${name}`);
    assert.throws(() => { while (true) appendFileSync(fill, Buffer.alloc(4096)); }, /ENOSPC/);
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

test("an agreement that could not be loaded is loaded when it is opened again", async () => {
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
  for (const [size, shown] of [["1280x960", "800x450"], ["1920x1080", "1920x1080"]]) {
    await page.route(DOCUMENT, async (route) => {
      const response = await answerOf(route);
      const body = (await response.text()).replace(/<SelectedDetectionOverlay>[^<]*/, `<SelectedDetectionOverlay>${size}`);
      await route.fulfill({ response, body: body.replace("<DetectionOverlaysOn>0", "<DetectionOverlaysOn>1") });
    });
    const stream = page.waitForRequest("**/stream/**");
    await page.reload();
    assert.match((await stream).url(), new RegExp(`/stream/${shown}\\.mjpg`));
    await page.unroute(DOCUMENT);
  }
  await leave(visitor);
});

test("saved, though the settings could not be read back", async () => {
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit(), { page } = visitor;
  await page.route(DOCUMENT, async (route) => {
    const response = await answerOf(route);
    await route.fulfill({ response, body: (await response.text()).replace(/<SelectedDetectionOverlay>[^<]*/, "<SelectedDetectionOverlay>a&b") });
  });
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  await visitor.tab("overlays");
  assert.equal(await page.inputValue("#SelectedDetectionOverlay"), "a&b");
  assert.match(await visitor.text("SelectedDetectionOverlay-error"), /choose one of the camera's stream sizes/);
  assert.ok(await page.locator("#tab-overlays.wrong").count() === 1, "the tab tells where to look");
  await leave(visitor);
});

test("settings cut short are refused, and the status is told all the same", async () => {
  const visitor = await visit(), { page } = visitor;
  await page.route(DOCUMENT, async (route) => {
    const response = await answerOf(route);
    await route.fulfill({ response, body: (await response.text()).slice(0, 900) });
  });
  await page.reload();
  await visitor.waitForText("connection", /sent settings that cannot be read/);
  assert.doesNotMatch(await visitor.text("status"), /No connection/);
  assert.ok(await page.locator("#panel-live[inert]").count() === 1, "nothing to edit before there are settings");
  await page.unroute(DOCUMENT);
  await page.waitForSelector("#connection", { state: "hidden" });
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.ok(await page.locator("#panel-live[inert]").count() === 0);
  await leave(visitor);
});

test("a stream that ends or never comes is not shown as live, and comes back", async () => {
  const visitor = await visit(), { page } = visitor;
  visitor.expectsFailures = true;
  const { body } = await ask(camera.address, "/stream/640x360.jpg");
  const picture = Buffer.from(body, "latin1");
  await page.route("**/stream/**", (route) => route.fulfill({
    contentType: "multipart/x-mixed-replace; boundary=picture",
    body: Buffer.concat([Buffer.from(`--picture\r\nContent-Type: image/jpeg\r\nContent-Length: ${picture.length}\r\n\r\n`), picture, Buffer.from("\r\n")]),
  }));
  await page.reload();
  await page.waitForFunction(() => /** @type {HTMLImageElement} */ (document.getElementById("picture")).naturalWidth === 640);
  await page.waitForSelector("#no-picture", { state: "visible" });
  await page.route("**/stream/**", (route) => route.fulfill({ status: 404, body: "none" }));
  await page.reload();
  await page.waitForSelector("#no-picture", { state: "visible" });
  assert.ok(await page.isHidden("#picture"));
  await page.unroute("**/stream/**");
  await page.waitForSelector("#no-picture", { state: "hidden" });
  assert.ok(await page.isVisible("#picture"));
  await leave(visitor);
});

test("the stream is open only while its page is looked at", async () => {
  const visitor = await visit(), { page } = visitor;
  /** @type {Set<import("playwright-core").Request>} */
  const open = new Set();
  page.on("request", (request) => { if (request.url().includes("/stream/")) open.add(request); });
  page.on("requestfailed", (request) => open.delete(request));
  page.on("requestfinished", (request) => open.delete(request));
  await page.reload();
  await until(() => open.size === 1, "the stream");
  await visitor.tab("alerts");
  await until(() => open.size === 0, "the end of the stream");
  await page.waitForTimeout(200);
  await page.evaluate(() => document.getElementById("tab-live")?.click());
  assert.ok(await page.isHidden("#no-picture"), "it has not been given up meanwhile");
  await until(() => open.size === 1, "the stream");
  await leave(visitor);
});

test("while nothing is new nothing in the page is touched: nothing to speak again, nothing to lose a selection in", async () => {
  const visitor = await visit(), { page } = visitor;
  for (const [action, body] of RUNNING) await page.route(`**/*action=${action}`, (route) => route.fulfill({ body }));
  await visitor.waitForText("pass-time", /77 ms/);
  await visitor.tab("advanced");
  assert.ok(await page.locator("#diagnostics dd").count() > 5, "the diagnostics are there at once");
  const touched = await page.evaluate(async () => {
    /** @type {string[]} */
    const found = [];
    const observer = new MutationObserver((records) => found.push(...records.filter(({ type }) => type === "childList").map(({ target }) =>
      /** @type {HTMLElement} */ (target).outerHTML)));
    observer.observe(document.body, { subtree: true, childList: true });
    await new Promise((resolve) => setTimeout(resolve, 3500));
    return found;
  });
  const seconds = /^<dd>\d+\/\d+\/\d+, /; // when the last answer came
  assert.deepEqual(touched.filter((text) => !seconds.test(text)), []);
  await leave(visitor);
});

test("who has scrolled back in a followed log stays there, and its lines stay the same elements", async () => {
  const visitor = await visit({ viewport: { width: 1280, height: 420 } }), { page } = visitor;
  const log = "2026-01-31 09:30:00|korvex_orvel|info|line ";
  let count = 200;
  await page.route("**/*action=get_logfile_as_serialized_text", (route) => route.fulfill({ body: Array.from({ length: count++ }, (_, i) => `${log}${i}\n`).join("") }));
  await visitor.tab("advanced");
  await page.click("#view-log");
  await visitor.waitForText("log-note", /^200 of 200/);
  await page.check("#log-follow");
  await visitor.waitForText("log-note", /^20[3-9] of/);
  const isAtEnd = () => page.$eval("#log-scroll", (box) => box.scrollHeight - box.scrollTop - box.clientHeight < 2);
  assert.ok(await isAtEnd(), "the newest line is shown");
  await page.$eval("#log-scroll", (box) => { box.scrollTop = 100; /** @type {any} */ (box.querySelector("tbody tr:nth-child(9)")).dataset.mine = "1"; });
  const seen = await page.locator("#log-lines tr").count();
  await page.waitForFunction((before) => (document.getElementById("log-lines")?.children.length ?? 0) > before, seen);
  assert.equal(await page.$eval("#log-scroll", (box) => box.scrollTop), 100);
  assert.equal(await page.locator("#log-lines tr:nth-child(9)[data-mine]").count(), 1);
  await leave(visitor);
});

test("the log is not cleared by a key pressed too many", async () => {
  const visitor = await visit(), { page } = visitor;
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
  const visitor = await visit({ acceptDownloads: true }), { page } = visitor;
  const { MaxDisappear } = await settingsOf(camera.address);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "x");
  await visitor.tab("advanced");
  const [file] = await Promise.all([page.waitForEvent("download"), page.click("#export")]);
  assert.equal(JSON.parse(readFileSync(await file.path(), "utf8")).texts.MaxDisappear, MaxDisappear);
  assert.match(await visitor.text("import-note"), /what is changed and not saved is not in it/);
  await leave(visitor);
});

test("on a turned camera the picture stands upright under the shapes, and its settings go round", async () => {
  await camera.stop();
  camera = new Camera([...options, "--accept-eula", "--set", "root.Image.I0.Appearance.Rotation=90"]);
  await start();
  const visitor = await visit({ viewport: { width: 1280, height: 900 }, acceptDownloads: true }), { page } = visitor;
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
  for (const [corner, [x, y]] of [[33, 33], [66, 33], [66, 66], [33, 66]].entries()) {
    await page.fill(`[data-coordinate="area.${corner}.x"]`, String(x));
    await page.fill(`[data-coordinate="area.${corner}.y"]`, String(y));
  }
  await page.press('[data-coordinate="area.3.y"]', "Tab");
  const area = await visitor.corners("area");
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  const stored = await settingsOf(camera.address);
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.deepEqual(await visitor.corners("area"), area);
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "26");
  await visitor.save();
  assert.deepEqual({ ...await settingsOf(camera.address), MaxDisappear: "" }, { ...stored, MaxDisappear: "" });
  await visitor.tab("advanced");
  const [file] = await Promise.all([page.waitForEvent("download"), page.click("#export")]);
  await page.setInputFiles("#import", await file.path());
  await visitor.waitForText("import-note", /holds what is saved already/);
  await leave(visitor);
});
