// The pages under a hand: typed in, dragged, touched. Nothing jumps, nothing is lost, nothing has to be done twice.

import assert from "node:assert/strict";
import { join } from "node:path";
import { after, before, beforeEach, test } from "node:test";
import { openBrowser } from "./support/browser.mjs";
import { Camera, freePort, scratchFolder, slowVideo } from "./support/camera.mjs";
import { ask, ENDPOINT, until } from "./support/http.mjs";
import { Visitor } from "./support/visitor.mjs";

const folder = scratchFolder("hand");
const camera = new Camera(["--state", join(folder, "state"), "--source", slowVideo(folder), "--listen", `127.0.0.1:${await freePort()}`, "--accept-eula", "--set", "MainLoopTime=1000"]);
const browser = await openBrowser();
const page = await browser.newPage({ viewport: { width: 1366, height: 768 } });
const visitor = new Visitor(page);

before(async () => {
  await camera.start();
  await until(async () => (await ask(camera.address, `${ENDPOINT}?action=get_status_code`)).status === 200, "the endpoint");
});
beforeEach(async () => {
  await page.goto("about:blank");
  await page.goto(camera.address);
  await visitor.waitForText("save-note", /Everything is saved/);
});
after(async () => {
  await browser.close();
  await camera.stop();
});

test("what is typed counts at once, and is one step of undo; what is wrong with it is told when it is left", async () => {
  await visitor.tab("detection");
  await page.click("#MaxDisappear");
  await page.keyboard.press("Control+a");
  await page.keyboard.type("12");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.ok(await page.isEnabled("#save"));
  await page.keyboard.type("x");
  assert.equal(await visitor.text("MaxDisappear-error"), "", "not while it is typed");
  assert.ok(await page.isDisabled("#save"));
  await page.keyboard.press("Enter");
  assert.match(await visitor.text("MaxDisappear-error"), /Patience: a whole number/);
  assert.equal(await page.locator("#tab-detection.wrong").count(), 1);
  await page.keyboard.press("Backspace");
  assert.equal(await visitor.text("MaxDisappear-error"), "", "put right, it is gone at once");
  await visitor.tab("live");
  await page.click("#undo");
  assert.match(await visitor.text("save-note"), /Everything is saved/);
});

test("a threshold of another spelling is no change, and none is told after saving", async () => {
  await visitor.tab("detection");
  await visitor.type("Sensitivity", "0,5");
  await visitor.save();
  assert.equal(await visitor.text("save-note"), "Saved.");
  await visitor.type("Sensitivity", ".5");
  assert.equal(await visitor.text("save-note"), "Saved.");
  await visitor.type("Sensitivity", "0.505");
  assert.match(await visitor.text("Sensitivity-error"), /at most two decimals/, "the application would not tell the third again");
});

test("what was discarded or saved can be undone", async () => {
  await visitor.tab("detection");
  await visitor.type("MinNumberOfPeopleForTrigger", "4");
  await page.click("#discard");
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "1");
  await visitor.tab("live");
  await page.click("#undo");
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "4");
  await visitor.save();
  await page.click("#undo");
  assert.match(await visitor.text("save-note"), /Changed, not saved yet/);
  assert.equal(await page.inputValue("#MinNumberOfPeopleForTrigger"), "1");
  await visitor.save();
});

test("Reset is there when a shape has changed, and only then", async () => {
  await visitor.tab("alerts");
  await visitor.type("Alert1ThreshSeconds", "4");
  await visitor.tab("live");
  assert.ok(await page.isDisabled("#reset"));
  await page.check("#Exclusion1_Active");
  assert.ok(await page.isEnabled("#reset"));
  await page.click("#reset");
  assert.ok(await page.isDisabled("#reset"));
  assert.equal(await page.inputValue("#Alert1ThreshSeconds"), "4");
});

test("the picture stays where it is while a warning comes, and the warning is in sight", async () => {
  const top = async () => (await page.locator("#stage").boundingBox())?.y;
  const before = await top();
  await visitor.drag("area.0", 80, 40);
  assert.match(await visitor.text("shape-problems"), /its edges cross/);
  assert.equal(await top(), before);
  const [warning, bar] = await Promise.all(["#shape-problems", "#savebar"].map((id) => page.locator(id).boundingBox()));
  assert.ok(warning !== null && bar !== null && warning.y + warning.height <= bar.y, "not under the bar");
  assert.match(await visitor.text("save-note"), /see the warning below the picture/);
});

test("the bar at the top keeps its height, whatever it tells", async () => {
  /** @type {[string, string][]} */
  const states = [["200", "Running"], ["504", "Third alert active"], ["600", "Slow"]];
  /** @type {Map<string, Set<number>>} */
  const heights = new Map();
  for (const [code, text] of states) {
    await page.route("**/*action=get_status_code", (route) => route.fulfill({ body: code }));
    await page.route("**/*action=get_status_string", (route) => route.fulfill({ body: text }));
    await visitor.waitForText("status-code", new RegExp(code));
    for (const [width, height] of [[360, 740], [390, 844], [600, 900], [740, 360], [820, 1180], [900, 900], [1000, 900], [1060, 900], [1366, 768]]) {
      await page.setViewportSize({ width, height });
      const size = `${width}x${height}`;
      heights.set(size, (heights.get(size) ?? new Set()).add((await page.locator("header").boundingBox())?.height ?? 0));
    }
  }
  for (const [size, seen] of heights) assert.equal(seen.size, 1, `${size}: ${[...seen].join(", ")}`);
  await page.unrouteAll();
  await page.setViewportSize({ width: 1366, height: 768 });
});

test("a zone that another switch governs after a restart is told of", async () => {
  await page.check("#Exclusion2_Active");
  assert.match(await visitor.text("shape-problems"), /Exclusion zone 2: when the application starts again, this zone will be on or off as zone 3 is/);
  await page.check("#Exclusion3_Active");
  assert.equal(await visitor.text("shape-problems"), "");
});

test("Tab goes from corner to corner in their order, whatever the number of corners", async () => {
  await page.check("#Exclusion1_Active");
  await page.selectOption("#corners", "8");
  await page.focus("#Exclusion3_Active");
  const visited = [];
  for (let i = 0; i < 14; i++) {
    await page.keyboard.press("Tab");
    visited.push(await page.evaluate(() => /** @type {HTMLElement} */ (document.activeElement).dataset.handle));
  }
  assert.deepEqual(visited, [0, 1, 2, 3, 4, 5, 6, 7, -1].map((i) => `area.${i}`).concat([0, 1, 2, 3, -1].map((i) => `zone1.${i}`)));
});

test("what has the focus is under neither bar", async () => {
  await page.setViewportSize({ width: 900, height: 400 });
  await page.focus("#corners");
  for (let i = 0; i < 20; i++) {
    await page.keyboard.press("Tab");
    const covered = await page.evaluate(() => {
      const { top, bottom } = /** @type {Element} */ (document.activeElement).getBoundingClientRect();
      const [head, bar] = ["header", "#savebar"].map((name) => /** @type {Element} */ (document.querySelector(name)).getBoundingClientRect());
      const isCarried = document.activeElement?.matches("body, header *, #savebar *, .skip");
      return !isCarried && (top < head.bottom || bottom > bar.top) ? /** @type {Element} */ (document.activeElement).outerHTML : "";
    });
    assert.equal(covered, "");
  }
  await page.setViewportSize({ width: 1366, height: 768 });
});

test("a held key is one step of undo, single presses are one each", async () => {
  const [saved] = await visitor.corners("area");
  await page.focus('[data-handle="area.0"]');
  await page.keyboard.press("ArrowLeft");
  const [once] = await visitor.corners("area");
  for (let i = 0; i < 5; i++) await page.keyboard.down("ArrowDown"); // each but the first repeats
  await page.keyboard.up("ArrowDown");
  const [far] = await visitor.corners("area");
  assert.ok(far[1] >= once[1] + 5);
  await page.keyboard.press("Control+z");
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], once);
  await page.keyboard.press("Control+z");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
});

test("Alt with an arrow is the browser's own", async () => {
  const [saved] = await visitor.corners("area");
  await page.focus('[data-handle="area.0"]');
  // The browser's way back would leave the page.
  await page.evaluate(() => window.addEventListener("keydown", (event) => {
    document.body.dataset.taken = String(event.defaultPrevented);
    event.preventDefault();
  }));
  for (const at of ['[data-handle="area.0"]', "#tab-live"]) {
    await page.focus(at);
    await page.keyboard.press("Alt+ArrowRight");
    assert.equal(await page.getAttribute("body", "data-taken"), "false", at);
  }
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.ok(await page.isVisible("#panel-live"));
});

test("who copies by keyboard stays where the button is, also without a secure connection", async () => {
  await page.evaluate(() => Object.defineProperty(navigator, "clipboard", { value: undefined, configurable: true }));
  await visitor.tab("advanced");
  await page.focus("#diagnostics-copy");
  await page.keyboard.press("Enter");
  await visitor.waitForText("diagnostics-note", /clipboard|does not let/);
  assert.equal(await page.evaluate(() => document.activeElement?.id), "diagnostics-copy");
});

test("a held corner shows where it is; Escape takes the drag back", async () => {
  const [saved] = await visitor.corners("area");
  const box = await page.locator("#stage").boundingBox(), from = await page.locator('[data-handle="area.0"]').boundingBox();
  assert.ok(box !== null && from !== null);
  await page.mouse.move(from.x + from.width / 2, from.y + from.height / 2);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width * 0.3, box.y + box.height * 0.25);
  const shown = await page.$eval('[data-handle="area.0"]', (handle) => getComputedStyle(handle, "::after").content);
  assert.match(shown, /30 %, 25 %/);
  await page.keyboard.press("Control+z"); // nothing to undo before the drag has ended
  await page.keyboard.press("Escape");
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  await page.mouse.move(box.x + 10, box.y + 10);
  await page.mouse.up();
  assert.deepEqual((await visitor.corners("area"))[0], saved);
  assert.ok(await page.isDisabled("#undo"));
});

test("a second finger does not take the corner along", async () => {
  const saved = await visitor.corners("area");
  const box = await page.locator("#stage").boundingBox();
  assert.ok(box !== null);
  /** @param {string} handle @param {string} type @param {number} id @param {number[]} at @param {boolean} [held] */
  const point = (handle, type, id, [x, y], held = true) => page.$eval(`[data-handle="${handle}"]`, (target, init) =>
    target.dispatchEvent(new PointerEvent(init.type, { bubbles: true, cancelable: true, pointerType: "touch", button: 0, ...init })),
  { type, pointerId: id, buttons: held ? 1 : 0, clientX: box.x + (box.width * x) / 100, clientY: box.y + (box.height * y) / 100 });
  await point("area.0", "pointerdown", 1, saved[0]);
  await point("area.2", "pointerdown", 2, saved[2]);
  await point("area.2", "pointermove", 2, [90, 90]);
  await point("area.2", "pointerup", 2, [90, 90], false);
  await point("area.0", "pointermove", 1, [30, 30]);
  await point("area.0", "pointerup", 1, [30, 30], false);
  assert.deepEqual(await visitor.corners("area"), [[30, 30], ...saved.slice(1)]);
});

test("on a phone the picture lets the page scroll, and every tab is in sight", async () => {
  const context = await browser.newContext({ viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true });
  const phone = new Visitor(await context.newPage());
  await phone.page.goto(camera.address);
  await phone.waitForText("save-note", /Everything is saved/);
  assert.ok(await phone.page.$eval(".tabs", (tabs) => tabs.scrollWidth <= tabs.clientWidth), "no tab is cut off");
  // As large as can be: a finger near a handle takes the handle.
  for (const [name, value] of Object.entries({ "0.x": 0, "0.y": 0, "1.x": 100, "1.y": 0, "2.x": 100, "2.y": 100, "3.x": 0, "3.y": 100 }))
    await phone.page.fill(`[data-coordinate="area.${name}"]`, String(value));
  await phone.page.keyboard.press("Tab");
  await phone.page.evaluate(() => window.scrollTo(0, 0));
  const before = await phone.corners("area");
  const box = await phone.page.locator("#stage").boundingBox();
  assert.ok(box !== null);
  const client = await context.newCDPSession(phone.page);
  const [x, y] = [box.x + box.width * 0.25, box.y + box.height / 2];
  assert.ok(await phone.page.evaluate(([left, top]) => document.elementFromPoint(left, top)?.matches(".shape.area"), [x, y]));
  await client.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints: [{ x, y }] });
  for (let i = 1; i <= 15; i++) {
    await client.send("Input.dispatchTouchEvent", { type: "touchMove", touchPoints: [{ x, y: y - 10 * i }] });
    await phone.page.waitForTimeout(20);
  }
  await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
  await until(() => phone.page.evaluate(() => window.scrollY > 50), "the page to scroll");
  assert.deepEqual(await phone.corners("area"), before, "and moved no shape");
  await context.close();
});

test("the browser had nothing to complain of", () => assert.deepEqual(visitor.complaints, []));
