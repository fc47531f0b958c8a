// One browser and one double for all of these stories; a page of its own for each.

import { after, afterEach, before, beforeEach } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { Double } from "../support/double.mjs";
import { Visitor } from "../support/visitor.mjs";

export const double = new Double();
const browser = await openBrowser();
/** What the browser said of any of the pages. @type {string[]} */
export const complaints = [];
/** @type {import("playwright-core").BrowserContext[]} */
const contexts = [];

before(() => double.start());
beforeEach(() => double.reset());
afterEach(async () => {
  await Promise.all(contexts.splice(0).map((context) => context.close()));
});
after(async () => {
  await browser.close();
  double.stop();
});

/** A page of its own, with the settings there. @param {import("playwright-core").BrowserContextOptions} [options] */
export async function visit(options = { viewport: { width: 1280, height: 900 } }) {
  const context = await browser.newContext({ reducedMotion: "reduce", acceptDownloads: true, ...options });
  contexts.push(context);
  const visitor = new Visitor(await context.newPage());
  visitor.complaints = complaints;
  await visitor.page.goto(double.address);
  await visitor.waitForText("save-note", /saved|Stored/);
  return visitor;
}

/** Tells every page of a pass. @param {object[]} findings @param {object[]} [problems] */
export const tell = (findings, problems = []) =>
  double.tell({ time: Date.now() / 1000, size: [1280, 720], status: double.code, findings, problems });
