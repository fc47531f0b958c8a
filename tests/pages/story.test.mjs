// The whole story of a person before the pages: ./run, its web server, the endpoint, the application and the scene are
// the real ones.

import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { openBrowser } from "./support/browser.mjs";
import { Camera, freePort, scratchFolder } from "./support/camera.mjs";
import { ask, ENDPOINT, settingsOf, until } from "./support/http.mjs";
import { Visitor } from "./support/visitor.mjs";

const folder = scratchFolder("story");
const listen = `127.0.0.1:${await freePort()}`;
/** @param {...string} more */
const options = (...more) => ["--state", join(folder, "state"), "--listen", listen, "--set", "MainLoopTime=1000", ...more];
let camera = new Camera(options());
const browser = await openBrowser();
const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, acceptDownloads: true });
await context.grantPermissions(["clipboard-read", "clipboard-write"]);
const page = await context.newPage();
const visitor = new Visitor(page);

before(start);
after(async () => {
  await browser.close();
  await camera.stop();
});

/** A visitor who is quicker than the application meets a failed request or two; here none is to be seen. */
async function start() {
  await camera.start();
  await until(async () => (await ask(camera.address, `${ENDPOINT}?action=get_status_code`)).status === 200, "the endpoint");
}

/** @param {() => Promise<unknown>} act @returns {Promise<string>} what the browser saved */
async function downloaded(act) {
  const [file] = await Promise.all([page.waitForEvent("download"), act()]);
  return readFileSync(await file.path(), "utf8");
}

/** @param {string} name @param {string} text */
async function importFile(name, text) {
  const file = join(folder, name);
  writeFileSync(file, text);
  await page.setInputFiles("#import", file);
}

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
  await visitor.waitForText("status", /408.*EULA has not been accepted/);
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
  await page.waitForFunction(() => /** @type {HTMLImageElement} */ (document.getElementById("picture")).naturalWidth === 1280);
  assert.ok(await page.isHidden("#no-picture"));
  const first = await page.locator("#picture").screenshot();
  await until(async () => !first.equals(await page.locator("#picture").screenshot()), "another picture");
});

test("a corner is dragged, undone, redone, moved by keys and reset", async () => {
  const [saved] = await visitor.corners("area");
  await visitor.drag("area.0", 30, 35);
  assert.deepEqual((await visitor.corners("area"))[0], [30, 35]);
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.equal(await page.title(), "• Korvex Orvel");
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  await page.click("#redo");
  assert.deepEqual((await visitor.corners("area"))[0], [30, 35]);
  await page.focus('[data-handle="area.0"]');
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("Shift+ArrowUp");
  assert.deepEqual((await visitor.corners("area"))[0], [32, 30]);
  assert.match(await page.getAttribute('[data-handle="area.0"]', "aria-label") ?? "", /Area, corner 1: 32 % from the left, 30 % from the top/);
  await page.click("#reset");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.match(await visitor.text("save-note"), /Everything is saved/);
});

test("corners snap to the picture's edges, and a shape moves as one within them", async () => {
  await visitor.drag("area.0", 1.5, 1.6);
  assert.deepEqual((await visitor.corners("area"))[0], [0, 0]);
  await page.click("#undo");
  const before = await visitor.corners("area");
  await visitor.drag("area.-1", -40, 50);
  const moved = await visitor.corners("area");
  assert.equal(Math.min(...moved.map(([x]) => x)), 0);
  const offsets = new Set(moved.map(([x], i) => before[i][0] - x));
  assert.equal(offsets.size, 1, "every corner by the same");
  await page.click("#reset");
});

test("crossing edges and an empty shape are told at once", async () => {
  await page.fill('[data-coordinate="area.0.x"]', "80");
  await page.keyboard.press("Tab");
  assert.match(await visitor.text("shape-problems"), /Area: its edges cross/);
  await page.click("#undo");
  assert.equal(await visitor.text("shape-problems"), "");
  await page.check("#Exclusion1_Active");
  for (const corner of [0, 1, 2, 3]) await page.fill(`[data-coordinate="zone1.${corner}.x"]`, "5");
  await page.keyboard.press("Tab");
  assert.match(await visitor.text("shape-problems"), /Exclusion zone 1: there is nearly nothing inside/);
  await page.fill('[data-coordinate="zone1.0.x"]', "101");
  await page.keyboard.press("Tab");
  assert.equal(await page.inputValue('[data-coordinate="zone1.0.x"]'), "5", "what cannot be is not taken");
  await page.click("#reset");
});

test("a dragged corner, eight corners and a zone are there after saving and loading again", async () => {
  await page.selectOption("#corners", "8");
  await visitor.drag("area.0", 35, 30);
  await page.check("#Exclusion2_Active");
  await visitor.drag("zone2.2", 100, 22);
  const [area, zone] = [await visitor.corners("area"), await visitor.corners("zone2")];
  assert.equal(area.length, 8);
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  assert.deepEqual(await visitor.corners("area"), area);
  assert.deepEqual(await visitor.corners("zone2"), zone);
  await page.selectOption("#corners", "4");
  await page.uncheck("#Exclusion2_Active");
  await visitor.save();
});

test("wrong values are told at their fields and not sent", async () => {
  await visitor.tab("detection");
  await visitor.type("MaxDisappear", "soon");
  assert.match(await visitor.text("MaxDisappear-error"), /Patience: a whole number from 0 to 3600/);
  assert.equal(await page.getAttribute("#MaxDisappear", "aria-invalid"), "true");
  assert.ok(await page.isDisabled("#save"));
  await visitor.tab("alerts");
  await visitor.type("Alert3ThreshSeconds", "10");
  assert.match(await visitor.text("Alert3ThreshSeconds-error"), /more seconds than the one below/);
  await page.click("#discard");
  assert.equal(await visitor.text("Alert3ThreshSeconds-error"), "");
});

test("the chain of levels is told where it bites", async () => {
  await page.uncheck("#Alert1_Active");
  for (const level of [2, 3]) assert.match(await visitor.text(`Alert${level}-chain`), /Cannot stay active while the first alert is off/);
  await page.check("#Alert1_Active");
  assert.equal(await visitor.text("Alert2-chain"), "");
});

test("an alert appears", async () => {
  for (const level of [1, 2, 3]) await visitor.type(`Alert${level}ThreshSeconds`, String(level));
  // All of the picture is the area, so that any vehicle will do: the scene need not have come to one that stops.
  await visitor.tab("live");
  await page.selectOption("#corners", "4");
  for (const [corner, [x, y]] of [[0, 0], [100, 0], [100, 100], [0, 100]].entries()) {
    await page.fill(`[data-coordinate="area.${corner}.x"]`, String(x));
    await page.fill(`[data-coordinate="area.${corner}.y"]`, String(y));
  }
  await page.press('[data-coordinate="area.3.y"]', "Tab");
  await visitor.save();
  await page.locator('#alerts li[data-level="1"][data-active=true]', { hasText: "First active" }).waitFor();
});

test("overlays take the camera's own sizes and warn where two roles meet", async () => {
  await visitor.tab("overlays");
  const offered = (await settingsOf(camera.address)).CamsResAsCsv.split(",").filter((size) => size !== "");
  assert.deepEqual(await page.$$eval("#SelectedAnonOverlay option", (options) => options.map((option) => option.textContent)), offered);
  await page.check("#AnonOverlaysOn");
  await page.selectOption("#SelectedAnonOverlay", await page.inputValue("#SelectedDetectionOverlay"));
  assert.match(await visitor.text("overlay-note"), /NOT anonymised/);
  await page.selectOption("#SelectedAnonOverlay", "640x360");
  assert.ok(await page.isHidden("#overlay-note"));
  await visitor.save();
  assert.equal((await settingsOf(camera.address)).AnonOverlaysOn, "1");
});

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
  await page.check("#log-follow");
  // Each reading of the log is a line of it.
  await until(async () => await page.locator("#log-lines tr").count() >= all + 2, "the followed lines");
  await page.uncheck("#log-follow");
});

test("the log is copied and downloaded, plain and serialised", async () => {
  await page.fill("#log-text", "starting korvex_ORVEL");
  await page.click("#log-copy");
  await visitor.waitForText("log-note", /clipboard/);
  assert.match(await page.evaluate(() => navigator.clipboard.readText()), /^\d{4}-\S+ \S+ warning STARTING korvex_orvel$/);
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
  const files = [["not JSON", /not JSON/], ["{}", /no settings file of Korvex Orvel/],
    [JSON.stringify({ ...exported, corners: 5 }), /4, 6 or 8/],
    [JSON.stringify({ ...exported, texts: { ...exported.texts, MaxDisappear: "1e9" } }), /Patience/],
    ["x".repeat(70000), /far too large/]];
  for (const [text, expected] of files) {
    await importFile("bad.json", text);
    await visitor.waitForText("import-problems", expected);
    assert.match(await visitor.text("save-note"), /Everything is saved|Saved/);
  }
});

test("each refusal of the camera is told in a sentence", async () => {
  visitor.expectsFailures = true;
  await visitor.tab("detection");
  for (const [answer, expected] of /** @type {[number, RegExp][]} */ ([[400, /could not read the settings \(400\)/], [413, /413/],
    [500, /stopped in the middle/], [503, /does not answer/], [401, /log in/], [0, /No connection/]])) {
    await page.route("**/*action=set_post_parameters", (route) => (answer === 0 ? route.abort() : route.fulfill({ status: answer, body: "" })));
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
  camera = new Camera(options("--set", "Detection10x=547", "--set", "Detection10y=239", "--set", "Detection11x=743",
    "--set", "Exclusion12x=1279", "--set", "Exclusion12y=719", "--set", "Detection12y=713"));
  await camera.start();
  await page.waitForSelector("#connection", { state: "hidden" });
  await visitor.waitForText("status", /200|50[234]|600/);
  visitor.expectsFailures = false;
  assert.equal(await page.inputValue("#MaxDisappear"), "21");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  await visitor.tab("live");
  await page.waitForFunction(() => /** @type {HTMLImageElement} */ (document.getElementById("picture")).naturalWidth === 1280);
});

test("saving twice moves no corner", async () => {
  await page.reload();
  await visitor.waitForText("save-note", /Everything is saved/);
  /** @param {Record<string, string>} settings */
  const corners = (settings) => Object.fromEntries(Object.entries(settings).filter(([name]) => /^(Detection1|Exclusion\d)_\d+$/.test(name)));
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

test("the browser had nothing to complain of", () => assert.deepEqual(visitor.complaints, []));
