// The camera that gets into trouble, and what its visitors do.

import { join } from "node:path";
import { after, before } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { Camera, freePort, scratchFolder, slowVideo } from "../support/camera.mjs";
import { LIMIT_S } from "../support/limit.mjs";
import { Visitor } from "../support/visitor.mjs";

const folder = scratchFolder("trouble");
export const options = [
  "--state",
  join(folder, "state"),
  "--source",
  slowVideo(folder),
  "--listen",
  `127.0.0.1:${await freePort()}`,
  "--set",
  "MainLoopTime=1000",
];
export const camera = new Camera(options);
export const browser = await openBrowser();
export const SAVE = "**/*action=set_post_parameters";
export const DOCUMENT = "**/*action=get_all_parameters";
export const LOG = "**/*action=get_logfile_as_serialized_text";
/** @type {[string, string][]} */
export const RUNNING = [
  ["get_status_code", "502"],
  ["get_status_string", "First alert active"],
  ["get_execution_time", "77"],
];

/** A page of its own. @param {import("playwright-core").BrowserContextOptions} [options] @param {Camera} [visited] */
export async function visit(options = { viewport: { width: 1280, height: 900 } }, visited = camera) {
  const context = await browser.newContext(options);
  const visitor = new Visitor(await context.newPage());
  await visitor.page.goto(visited.address);
  await visitor.waitForText("save-note", /saved|accepted/);
  return visitor;
}

/** A request that is being answered by a test would fail it, when its page is gone. @param {Visitor} visitor */
export async function leave({ page }) {
  await page.unrouteAll({ behavior: "ignoreErrors" });
  await page.context().close();
}

/** What the application answers, however long its disk takes. @param {import("playwright-core").Route} route */
export const answerOf = (route) => route.fetch({ timeout: LIMIT_S * 1000 });

/**
 * Lets the page see another answer than the application gave.
 * @param {Visitor} visitor @param {string} asked @param {(body: string) => string} change
 */
export const rewrite = ({ page }, asked, change) =>
  page.route(asked, async (route) => {
    const response = await answerOf(route);
    await route.fulfill({ response, body: change(await response.text()) });
  });

/** Until the page has seen it. @param {import("playwright-core").Response} response */
export async function settled(response) {
  await response.finished();
  await response.frame().page().waitForTimeout(200);
}

/** As a browser tells it of a page that is looked at again. @param {Visitor} visitor */
export const lookAgain = ({ page }) =>
  page.evaluate(() => {
    document.dispatchEvent(new Event("visibilitychange"));
  });

/** For an answer that comes when the test says so. */
export function answerHeld() {
  /** @type {() => void} */
  let finish = () => {};
  const isFinished = new Promise((resolve) => {
    finish = () => resolve(undefined);
  });
  return { isFinished, finish };
}

/** How often something posted. @param {Visitor} visitor */
export function countPosts({ page }) {
  const count = { posts: 0 };
  page.on("request", (request) => {
    if (request.method() === "POST") count.posts += 1;
  });
  return count;
}

before(() => camera.startAnswering());
after(async () => {
  await browser.close();
  await camera.stop();
});
