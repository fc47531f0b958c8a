// Every page in both themes on a desktop, and on a phone: kept as pictures, looked through by axe-core, and without
// anything beyond the screen's side.

import assert from "node:assert/strict";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { openBrowser } from "./support/browser.mjs";
import { Camera, freePort, scratchFolder } from "./support/camera.mjs";
import { look } from "./support/look.mjs";
import { Visitor } from "./support/visitor.mjs";

const TABS = ["live", "history", "detection", "alerts", "overlays", "advanced"];
/** @type {import("playwright-core").BrowserContextOptions} */
const DESKTOP = { viewport: { width: 1280, height: 900 }, reducedMotion: "reduce" };
/** @type {import("playwright-core").BrowserContextOptions} */
const PHONE = {
  viewport: { width: 360, height: 740 },
  isMobile: true,
  hasTouch: true,
  deviceScaleFactor: 2,
  reducedMotion: "reduce",
};
/** @type {[string, import("playwright-core").BrowserContextOptions][]} */
const SCREENS = [
  ["light", { ...DESKTOP, colorScheme: "light" }],
  ["dark", { ...DESKTOP, colorScheme: "dark" }],
  ["phone", { ...PHONE, colorScheme: "dark" }],
];

const folder = scratchFolder("look");
const camera = new Camera([
  "--state",
  join(folder, "state"),
  "--listen",
  `127.0.0.1:${await freePort()}`,
  "--set",
  "MainLoopTime=1000",
  "--set",
  "Exclusion1Active=true",
]);
const browser = await openBrowser();

before(() => camera.startAnswering());
after(async () => {
  await browser.close();
  await camera.stop();
});

for (const [screen, options] of SCREENS)
  test(`the agreement, ${screen}`, async () => {
    const context = await browser.newContext(options);
    const visitor = new Visitor(await context.newPage()),
      { page } = visitor;
    await page.goto(camera.address);
    await page.waitForSelector("#agreement[open]");
    await visitor.waitForText("agreement-text", /Warranty/);
    await look(page, `agreement-${screen}`);
    await context.close();
  });

for (const [screen, options] of SCREENS)
  test(`every tab, ${screen}`, async () => {
    const context = await browser.newContext(options);
    const visitor = new Visitor(await context.newPage()),
      { page } = visitor;
    await page.goto(camera.address);
    await visitor.waitForText("save-note", /saved|accepted/);
    if (await page.isVisible("#agreement")) await page.click("#agreement-accept");
    await page.waitForSelector("#agreement", { state: "hidden" });
    await visitor.waitForPicture();
    await visitor.waitForText("status", /200|50[234]|600/);
    for (const tab of TABS) {
      await visitor.tab(tab);
      if (tab === "advanced") {
        await page.click("#view-log");
        await visitor.waitForText("log-note", /lines/);
      }
      await look(page, `${tab}-${screen}`);
    }
    // What is wrong or warned of has to be readable too.
    await visitor.tab("alerts");
    await page.uncheck("#Alert1_Active");
    await visitor.type("Alert3ThreshSeconds", "x");
    await look(page, `alerts-wrong-${screen}`);
    assert.deepEqual(visitor.complaints, []);
    await context.close();
  });

test("the tabs are worked by keyboard", async () => {
  const visitor = new Visitor(await browser.newPage()),
    { page } = visitor;
  await page.goto(camera.address);
  await visitor.waitForText("save-note", /saved/);
  await page.focus("#tab-live");
  for (const [key, tab] of [
    ["ArrowRight", "history"],
    ["End", "advanced"],
    ["ArrowRight", "live"],
    ["ArrowLeft", "advanced"],
    ["Home", "live"],
  ]) {
    await page.keyboard.press(key);
    assert.equal(await page.evaluate(() => document.activeElement?.id), `tab-${tab}`);
    assert.ok(await page.isVisible(`#panel-${tab}`));
  }
  await page.goto(`${camera.address}local/korvex_orvel/#alerts`);
  await page.waitForSelector("#panel-alerts", { state: "visible" });
  await page.close();
});
