/**
 * What becomes of the settings between this page and the application. There is no document here: whoever shows it
 * listens for "change", and for "load" after each time that the page has taken over what the application has.
 *
 *                 save()              there is something to save
 *     resting ---------------> asking ---------------------------> posting
 *      ^ ^ ^                     |                                  |    |
 *      | | |   nothing to save,  |                            taken |    | refused, or nothing was heard
 *      | | +----or no answer-----+                                  |    v
 *      | |                                                          |  examining ---+
 *      | +----------------------------------------------------------+    |          | nothing is heard now either,
 *      |                   what became of it is known                    |          | and it may have been taken
 *      +-----------------------------------------------------------------+          v
 *      +--------------------------------- load() ------------------------------ uncertain
 *
 * An uncertain save is left by save() as well; where that gets no answer it is uncertain again.
 */

import { isSame } from "./document.js";
import { settle } from "./coordinates.js";
import { acceptable } from "./problems.js";
import { copyOf } from "./settings.js";

/** @import { Settings } from "./settings.js" */
/** @import { Store } from "./store.js" */
/** @typedef {"resting" | "asking" | "posting" | "examining" | "uncertain"} Phase */
/** @typedef {(stored: Settings, wanted: Settings) => void} Take what to do with what is stored then */
/** @typedef {{wanted: Settings, take: Take}} Attempt */
/**
 * @typedef {Object} Camera
 * @property {() => Promise<import("./document.js").Received>} readSettings
 * @property {(settings: Settings) => Promise<void>} writeSettings
 *   what it throws has `isUncertain` when the application may have done it all the same
 * @property {() => Promise<"stored" | "lost" | "unknown">} readWhetherStored
 * @property {() => Promise<boolean>} readWhetherStartedAnew since the last save
 */

const SAVED = "Saved.";
const CHANGED_ELSEWHERE =
  "Not saved: the settings have been changed elsewhere meanwhile. They are shown now, with your changes among them. " +
  "Look through them and save again.";

const NOT_STORED = {
  stored: "",
  lost:
    "The camera works with these settings but could not store them: at the application's next start they are gone. " +
    "Make room on the camera, restart the application, and save again.",
  unknown:
    "The camera works with these settings, but may not have stored them: it cannot even write its log. " +
    "Make room on the camera, restart the application, and save again.",
};

export class Saving extends EventTarget {
  /** @type {Phase} */
  phase = "resting";
  /** What went wrong or right last; a later edit clears it. */
  result = { text: "", kind: "" };
  /** What is wrong with the last save as far as the camera's storage goes; it stays until that is known to be over. */
  warning = "";
  /** @type {Store} */
  #store;
  /** @type {Camera} */
  #camera;
  /** How many there were: what was read before one began is old when it has ended. */
  #saves = 0;
  /** The save that is uncertain. @type {Attempt | null} */
  #uncertain = null;

  /** @param {Store} store @param {Camera} camera */
  constructor(store, camera) {
    super();
    this.#store = store;
    this.#camera = camera;
    store.addEventListener("change", () => {
      if (store.isChanged) this.result = { text: "", kind: "" };
      this.#tell();
    });
  }

  get isSaving() {
    return this.phase !== "resting" && this.phase !== "uncertain";
  }

  /**
   * Reads what the application has; edits that are not saved stay.
   * @param {boolean} [keepsResult] whether what was told of the last save stays
   */
  async load(keepsResult = false) {
    if (this.isSaving) return;
    const before = this.#saves;
    const stored = await this.#read();
    if (this.#saves !== before) return; // a save that has begun meanwhile knows better
    const [sent, told] = [this.#uncertain, this.result];
    this.#uncertain = null;
    this.phase = "resting";
    if (sent !== null && this.#isStored(sent, stored)) {
      sent.take(stored, sent.wanted);
      await this.#tellSaved(SAVED);
    } else {
      this.#store.load(stored);
      if (sent !== null) await this.#tellUnheard();
      else if (this.#store.isChanged && keepsResult) this.#say(told.text, told.kind);
      await this.#lookAfterWarning();
    }
    this.dispatchEvent(new Event("load"));
  }

  /**
   * What is edited now, as it was looked through; what is typed from now on may be half a value.
   * @returns {Promise<boolean>}
   */
  async save() {
    if (this.#store.edited === null) return false;
    const edited = copyOf(this.#store.edited);
    return this.#save(
      (current) => this.#chooseEdited(current, edited),
      (stored, wanted) => this.#store.keep(stored, wanted),
    );
  }

  /**
   * The agreement alone is saved, beside what the application has: what is edited meanwhile waits.
   * @returns {Promise<boolean>}
   */
  acceptAgreement() {
    return this.#save(
      (current) => {
        this.#store.load(current);
        return acceptable({ ...current, flags: { ...current.flags, Eula: true } });
      },
      (stored) => this.#store.load(stored),
    );
  }

  /**
   * Saves what `choose` makes of the settings that the application has now.
   * @param {(current: Settings) => Settings | null} choose null: nothing is to be saved yet
   * @param {Take} take @returns {Promise<boolean>}
   */
  async #save(choose, take) {
    if (this.isSaving || this.#store.saved === null) return false;
    this.#saves += 1;
    this.#enter("asking");
    let wanted;
    try {
      wanted = choose(await this.#read());
    } catch (failure) {
      this.#say(`Not saved. ${messageOf(failure)}`, "bad");
      this.#rest();
      return false;
    }
    this.#uncertain = null;
    const isSaved = wanted !== null && (await this.#post({ wanted, take }));
    this.#rest();
    return isSaved;
  }

  /** Posts the settings and looks at what the application made of them. @param {Attempt} attempt */
  async #post(attempt) {
    this.#enter("posting");
    const sent = settle(attempt.wanted, this.#store.analysed);
    try {
      await this.#camera.writeSettings(sent);
    } catch (failure) {
      return this.#examine(attempt, failure);
    }
    // Without an answer they are saved all the same; the page reads them once there is one again.
    const stored = await this.#read().catch(() => sent);
    attempt.take(stored, attempt.wanted);
    await this.#tellSaved(
      isSame(stored, sent)
        ? SAVED
        : "Saved. The application keeps some values a little differently; what is shown is what it keeps.",
    );
    return true;
  }

  /** Looks what became of a save that failed. @param {Attempt} attempt @param {unknown} failure */
  async #examine(attempt, failure) {
    this.#enter("examining");
    const mayBeDone = /** @type {{isUncertain?: boolean}} */ (failure).isUncertain === true;
    let stored;
    try {
      stored = await this.#read();
    } catch {
      if (mayBeDone) this.#uncertain = attempt;
      this.#say(`Not saved${mayBeDone ? ", as far as is known" : ""}. ${messageOf(failure)}`, "bad");
      return false;
    }
    if (mayBeDone && this.#isStored(attempt, stored)) {
      attempt.take(stored, attempt.wanted);
      await this.#tellSaved(SAVED);
      return true;
    }
    this.#store.load(stored);
    this.#say(`Not saved. ${messageOf(failure)}`, "bad");
    return false;
  }

  /**
   * What another page has saved since this one looked is not overwritten unseen.
   * @param {Settings} current @param {Settings} edited
   */
  #chooseEdited(current, edited) {
    const { saved } = this.#store;
    if (saved === null) return null;
    if (isSame(current, saved)) return edited;
    this.#store.load(current);
    if (this.#store.isChanged) this.#say(CHANGED_ELSEWHERE, "bad");
    else this.#say("Saved already, by another page.", "good");
    return null;
  }

  async #read() {
    const { settings, ...picture } = await this.#camera.readSettings();
    Object.assign(this.#store, picture);
    return settings;
  }

  /** @param {Attempt} attempt @param {Settings} stored */
  #isStored({ wanted }, stored) {
    return isSame(stored, settle(wanted, this.#store.analysed));
  }

  /**
   * Tells of a save that the application has taken, once it is known whether it is stored as well.
   * @param {string} text
   */
  async #tellSaved(text) {
    let isAsked = true;
    try {
      this.#warn(NOT_STORED[await this.#camera.readWhetherStored()]);
    } catch {
      isAsked = false;
    }
    if (this.#store.isChanged) this.#say("", "");
    else if (this.warning !== "") this.#say("In use, but not stored: see the warning at the top.", "bad");
    else this.#say(isAsked ? text : `${text} Whether it is stored as well could not be asked.`, "good");
  }

  /** Tells of a save of which nothing was heard, and which the settings that were read now do not show as it was. */
  async #tellUnheard() {
    if (!this.#store.isChanged) return this.#tellSaved(SAVED);
    const lost = "The last save did not get through. What is shown is not saved: look through it and save once more.";
    this.#say(lost, "bad");
  }

  /** Takes the warning back when the application has started anew since. */
  async #lookAfterWarning() {
    if (this.warning === "" || !(await this.#camera.readWhetherStartedAnew().catch(() => false))) return;
    this.#warn("");
    const gone = "The application has started anew, without what it could not store. What is shown is what it has.";
    if (!this.#store.isChanged) this.#say(gone, "bad");
  }

  /** @param {Phase} phase */
  #enter(phase) {
    this.phase = phase;
    this.#tell();
  }

  #rest() {
    this.#enter(this.#uncertain === null ? "resting" : "uncertain");
  }

  /** @param {string} text @param {string} kind */
  #say(text, kind) {
    this.result = { text, kind };
    this.#tell();
  }

  /** @param {string} text */
  #warn(text) {
    this.warning = text;
    this.#tell();
  }

  #tell() {
    this.dispatchEvent(new Event("change"));
  }
}

/** @param {unknown} failure */
const messageOf = (failure) => /** @type {Error} */ (failure).message;
