// @ts-check
/** The saved and the edited settings, with undo. Whoever shows them listens for "change". */

import { copyOf, isSame } from "./settings.js";

/** @typedef {import("./settings.js").Settings} Settings */
/** @typedef {import("./settings.js").Size} Size */

const DEPTH = 200;

class Store extends EventTarget {
  /** @type {Settings | null} */ saved = null;
  /** @type {Settings | null} */ edited = null;
  /** @type {Size[]} */ sizes = [];
  /** @type {Size} */ analysed = { width: 1280, height: 720 };
  isPortrait = false;
  /** @type {Settings[]} */ #past = [];
  /** @type {Settings[]} */ #future = [];

  /** @param {Settings} settings what the application has now; edits are dropped */
  load(settings) {
    this.saved = copyOf(settings);
    this.edited = copyOf(settings);
    this.#past = [];
    this.#future = [];
    this.#tell();
  }

  /** Changes the edited settings as one step of undo. @param {(settings: Settings) => void} change */
  edit(change) {
    if (this.edited === null) return;
    const before = copyOf(this.edited);
    change(this.edited);
    if (isSame(before, this.edited)) return;
    this.#past.push(before);
    if (this.#past.length > DEPTH) this.#past.shift();
    this.#future = [];
    this.#tell();
  }

  /** Changes them without a step of undo: while something is dragged. @param {(settings: Settings) => void} change */
  preview(change) {
    if (this.edited === null) return;
    change(this.edited);
    this.#tell();
  }

  /** Makes what was previewed since `before` one step of undo. @param {Settings} before */
  commit(before) {
    if (this.edited === null || isSame(before, this.edited)) return;
    this.#past.push(before);
    this.#future = [];
    this.#tell();
  }

  undo() { this.#step(this.#past, this.#future); }
  redo() { this.#step(this.#future, this.#past); }
  get canUndo() { return this.#past.length > 0; }
  get canRedo() { return this.#future.length > 0; }
  get isChanged() { return this.saved !== null && this.edited !== null && !isSame(this.saved, this.edited); }
  get isAccepted() { return this.saved?.flags.Eula === true; }

  /** @param {Settings[]} from @param {Settings[]} to */
  #step(from, to) {
    const target = from.pop();
    if (target === undefined || this.edited === null) return;
    to.push(this.edited);
    this.edited = target;
    this.#tell();
  }

  #tell() { this.dispatchEvent(new Event("change")); }
}

export const store = new Store();
