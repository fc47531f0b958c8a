/** The saved and the edited settings, with undo. Whoever shows them listens for "change". */

import { isSame } from "./document.js";
import { copyOf, rebased } from "./settings.js";

/** @import { Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */

const DEPTH = 200;

export class Store extends EventTarget {
  /** @type {Settings | null} */ saved = null;
  /** @type {Settings | null} */ edited = null;
  /** @type {Size[]} */ sizes = [];
  /** @type {Size} */ analysed = { width: 1280, height: 720 };
  isPortrait = false;
  /** @type {Settings[]} */ #past = [];
  /** @type {Settings[]} */ #future = [];
  #topic = "";

  /**
   * What the application has now. What was edited stays on top of it, in the steps of undo as well, so that neither
   * brings back what another page has changed meanwhile.
   * @param {Settings} settings
   */
  load(settings) {
    const base = this.saved;
    if (base !== null && this.edited !== null) {
      /** @param {Settings} step */
      const move = (step) => rebased(step, base, settings);
      this.edited = move(this.edited);
      this.#past = this.#past.map(move);
      this.#future = this.#future.map(move);
    } else this.edited = copyOf(settings);
    this.saved = copyOf(settings);
    this.#tell();
  }

  /**
   * What the application made of a save; it can be undone like any edit. What was edited while it ran stays.
   * @param {Settings} settings @param {Settings} wanted what was edited when it began
   */
  keep(settings, wanted) {
    if (this.edited !== null) this.edited = rebased(this.edited, wanted, settings);
    this.saved = copyOf(settings);
    this.#topic = "";
    this.#tell();
  }

  /**
   * Changes the edited settings as one step of undo, or as part of the last one when that has the same topic.
   * @param {(settings: Settings) => void} change @param {string} [topic] such as the field that is typed in
   */
  edit(change, topic = "") {
    if (this.edited === null) return;
    const before = copyOf(this.edited);
    change(this.edited);
    this.#step(before, topic);
  }

  /** Back to what is saved, as a step of undo like any edit. */
  discard() {
    this.edit((settings) => {
      if (this.saved !== null) Object.assign(settings, copyOf(this.saved));
    });
  }

  /** Changes them without a step of undo: while something is dragged. @param {(settings: Settings) => void} change */
  preview(change) {
    if (this.edited === null) return;
    change(this.edited);
    this.#tell();
  }

  /** Makes what was previewed since `before` one step of undo. @param {Settings} before */
  commit(before) {
    this.#step(before, "");
  }

  undo() {
    this.#travel(this.#past, this.#future);
  }
  redo() {
    this.#travel(this.#future, this.#past);
  }
  get canUndo() {
    return this.#past.length > 0;
  }
  get canRedo() {
    return this.#future.length > 0;
  }
  get isChanged() {
    return this.saved !== null && this.edited !== null && !isSame(this.saved, this.edited);
  }
  get isAccepted() {
    return this.saved?.flags.Eula === true;
  }

  /** @param {Settings} before @param {string} topic */
  #step(before, topic) {
    if (this.edited === null || isSame(before, this.edited)) return;
    if (topic === "" || topic !== this.#topic) this.#past.push(before);
    this.#topic = topic;
    if (this.#past.length > DEPTH) this.#past.shift();
    this.#future = [];
    this.#tell();
  }

  /** @param {Settings[]} from @param {Settings[]} to */
  #travel(from, to) {
    const target = from.pop();
    if (target === undefined || this.edited === null) return;
    to.push(this.edited);
    this.edited = target;
    this.#topic = "";
    this.#tell();
  }

  #tell() {
    this.dispatchEvent(new Event("change"));
  }
}

export const store = new Store();
