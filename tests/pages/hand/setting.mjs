// A page of its own for each test, before a camera whose picture nobody minds.

import { join } from "node:path";
import { after, before, beforeEach } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { Camera, freePort, scratchFolder, slowVideo } from "../support/camera.mjs";
import { Visitor } from "../support/visitor.mjs";

const folder = scratchFolder("hand");
export const camera = new Camera([
  "--state",
  join(folder, "state"),
  "--source",
  slowVideo(folder),
  "--listen",
  `127.0.0.1:${await freePort()}`,
  "--accept-eula",
  "--set",
  "MainLoopTime=1000",
]);
export const browser = await openBrowser();
export const page = await browser.newPage({ viewport: { width: 1366, height: 768 } });
export const visitor = new Visitor(page);

before(() => camera.startAnswering());
beforeEach(async () => {
  await page.goto("about:blank");
  await page.goto(camera.address);
  await visitor.waitForText("save-note", /Everything is saved/);
});
after(async () => {
  await browser.close();
  await camera.stop();
});
