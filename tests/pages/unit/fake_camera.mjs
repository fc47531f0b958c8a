// A camera that works as the real one does, and fails when the test says so.

import { SIZES, valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @typedef {import("../../../html/js/core/settings.js").Settings} Settings */

/** @type {typeof import("../../../html/js/core/coordinates.js")} */
const { settle } = await load("core/coordinates.js");

export const ANALYSED = { width: 1280, height: 720 };

/** As an application has them: such as can be read back. */
export const kept = () => settle(valid(), ANALYSED);

export class FakeCamera {
  settings = kept();
  /** Nothing can be asked any more. */
  isGone = false;
  /** What a save ends with, null: well. @type {(Error & {isUncertain?: boolean}) | null} */
  failure = null;
  /** Whether a save that fails is done all the same. */
  isDone = false;
  /** What it makes of what it is sent. @param {Settings} sent */
  keep = (sent) => sent;
  /** @type {"stored" | "lost" | "unknown" | null} null: that cannot be asked */
  storing = "stored";
  isStartedAnew = false;
  /** @type {Settings[]} */
  posts = [];
  /** Until when nothing is answered. @type {Promise<unknown>} */
  held = Promise.resolve();

  /** @returns {() => void} lets it answer again */
  hold() {
    /** @type {(value?: unknown) => void} */
    let release = () => {};
    this.held = new Promise((resolve) => {
      release = resolve;
    });
    return () => release();
  }

  /** As another page saves them. @param {Record<string, string>} texts */
  saveElsewhere(texts) {
    this.settings = structuredClone(this.settings);
    Object.assign(this.settings.texts, texts);
  }

  async readSettings() {
    const { settings } = this;
    await this.held;
    if (this.isGone) throw new Error("No connection.");
    return { settings: structuredClone(settings), sizes: SIZES, analysed: ANALYSED, isPortrait: false };
  }

  /** @param {Settings} sent */
  async writeSettings(sent) {
    this.posts.push(sent);
    await this.held;
    if (this.failure === null || this.isDone) this.settings = this.keep(structuredClone(sent));
    if (this.failure !== null) throw this.failure;
  }

  async readWhetherStored() {
    if (this.storing === null) throw new Error("No connection.");
    return this.storing;
  }

  async readWhetherStartedAnew() {
    return this.isStartedAnew;
  }
}

/** @param {string} message @param {boolean} isUncertain */
export const failure = (message, isUncertain) => Object.assign(new Error(message), { isUncertain });
