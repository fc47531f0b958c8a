// One person, one page, one camera, from the first visit on.

import { readFileSync } from "node:fs";
import { join } from "node:path";
import { after, before } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { Camera, freePort, scratchFolder } from "../support/camera.mjs";
import { Visitor } from "../support/visitor.mjs";

export const folder = scratchFolder("story");
const listen = `127.0.0.1:${await freePort()}`;
/** @param {...string} more */
const options = (...more) => [
  "--state",
  join(folder, "state"),
  "--listen",
  listen,
  "--set",
  "MainLoopTime=1000",
  ...more,
];
export let camera = new Camera(options());
const browser = await openBrowser();
const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, acceptDownloads: true });
await context.grantPermissions(["clipboard-read", "clipboard-write"]);
export const page = await context.newPage();
export const visitor = new Visitor(page);

before(() => camera.startAnswering());
after(async () => {
  await browser.close();
  await camera.stop();
});

/** The application once more, with other settings stored by another program. @param {...string} more options */
export function startAnew(...more) {
  camera = new Camera(options(...more));
  return camera.start();
}

/** @param {() => Promise<unknown>} act @returns {Promise<string>} what the browser saved */
export async function downloaded(act) {
  const [file] = await Promise.all([page.waitForEvent("download"), act()]);
  return readFileSync(await file.path(), "utf8");
}
