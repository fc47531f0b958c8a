// One person before the pages, and what the browser complained of meanwhile.

import { LIMIT_S } from "./limit.mjs";

/** @typedef {import("playwright-core").Page} Page */

export class Visitor {
  /** @type {string[]} */
  complaints = [];
  /** While requests are meant to fail, the browser's own line about each is no complaint. */
  expectsFailures = false;

  /** @param {Page} page */
  constructor(page) {
    this.page = page;
    page.setDefaultTimeout(LIMIT_S * 1000);
    page.on("console", (message) => {
      const isFailure = message.text().startsWith("Failed to load resource");
      // A camera has no such addresses, and the browser says so whatever the page does about it.
      const isHosts = /\/stream\/(objects|stays\.json)/.test(message.location().url);
      if (["error", "warning"].includes(message.type()) && !(isFailure && (this.expectsFailures || isHosts)))
        this.complaints.push(message.text());
    });
    page.on("pageerror", (error) => this.complaints.push(String(error)));
    page.on("dialog", (dialog) => dialog.accept());
  }

  /** @param {string} name */
  tab(name) {
    return this.page.click(`#tab-${name}`);
  }

  /** @param {string} id */
  text(id) {
    return this.page.locator(`#${id}`).innerText();
  }

  /** @param {string} id @param {string} value typed, and left */
  async type(id, value) {
    await this.page.fill(`#${id}`, value);
    await this.page.press(`#${id}`, "Tab");
  }

  /** @param {string} id @param {RegExp} pattern */
  waitForText(id, pattern) {
    return this.page.waitForFunction(
      ({ wanted, source }) => new RegExp(source).test(document.getElementById(wanted)?.textContent ?? ""),
      { wanted: id, source: pattern.source },
    );
  }

  /** Presses Save and waits for its result. */
  async save() {
    await this.page.click("#save");
    await this.waitForText("save-note", /^Saved\./);
  }

  /** @param {string} shape @returns {Promise<number[][]>} the corners' typed coordinates */
  corners(shape) {
    return this.page.$$eval(`[data-coordinate^="${shape}."]`, (inputs) => {
      const values = inputs.map((input) => Number(/** @type {HTMLInputElement} */ (input).value));
      return values.filter((_, i) => i % 2 === 0).map((x, i) => [x, values[2 * i + 1]]);
    });
  }

  /** Types all of a shape's corners. @param {string} shape @param {number[][]} corners */
  async setCorners(shape, corners) {
    for (const [corner, [x, y]] of corners.entries()) {
      await this.page.fill(`[data-coordinate="${shape}.${corner}.x"]`, String(x));
      await this.page.fill(`[data-coordinate="${shape}.${corner}.y"]`, String(y));
    }
    await this.page.press(`[data-coordinate="${shape}.${corners.length - 1}.y"]`, "Tab");
  }

  /** Until there is a live picture. @param {number} [width] of this width, or of any */
  waitForPicture(width) {
    return this.page.waitForFunction((wanted) => {
      const { naturalWidth } = /** @type {HTMLImageElement} */ (document.getElementById("picture"));
      return wanted === undefined ? naturalWidth > 0 : naturalWidth === wanted;
    }, width);
  }

  /** @param {string} handle such as area.0 @param {number} x @param {number} y where to, per cent of the picture */
  async drag(handle, x, y) {
    const stage = await this.page.locator("#stage").boundingBox();
    const from = await this.page.locator(`[data-handle="${handle}"]`).boundingBox();
    if (stage === null || from === null) throw new Error(`there is no ${handle} to drag`);
    await this.page.mouse.move(from.x + from.width / 2, from.y + from.height / 2);
    await this.page.mouse.down();
    await this.page.mouse.move(stage.x + (stage.width * x) / 200, stage.y + (stage.height * y) / 200);
    await this.page.mouse.move(stage.x + (stage.width * x) / 100, stage.y + (stage.height * y) / 100);
    await this.page.mouse.up();
  }
}
