import assert from "node:assert/strict";
import { test } from "node:test";
import { SIZES, valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/save_note.js")} */
const { saveNote } = await load("core/save_note.js");
/** @type {typeof import("../../../html/js/core/store.js")} */
const { Store } = await load("core/store.js");

/** @typedef {import("../../../html/js/core/store.js").Store} Store */

/** @param {Store} store */
const editWrong = (store) => store.edit(({ texts }) => Object.assign(texts, { MaxDisappear: "x" }));
/** @param {Store} store */
const editFine = (store) => store.edit(({ texts }) => Object.assign(texts, { MaxDisappear: "5" }));
/** @param {Store} store */
const editEmptyArea = (store) =>
  store.edit(({ area }) => area.forEach((point) => Object.assign(point, { x: 9, y: 9 })));
/** @param {Store} store */
const storeWrong = (store) => {
  const settings = structuredClone(/** @type {any} */ (store.saved));
  settings.texts.Sensitivity = "7.00";
  store.load(settings);
};
const nothing = () => {};

for (const [
  expected,
  isAccepted,
  isSaving,
  result,
  act,
] of /** @type {[string, boolean, boolean, string, (store: Store) => void][]} */ ([
  ["Everything is saved.", true, false, "", nothing],
  ["Saving…", true, true, "of the last save", editWrong],
  ["Nothing can be saved before the agreement is accepted.", false, false, "of the last save", editFine],
  ["Patience: a whole number from 0 to 3600, please.", true, false, "of the last save", editWrong],
  [
    "Stored, but not fit to be saved again. Score threshold: a number with at most two decimals from 0.01 to 0.99, please.",
    true,
    false,
    "",
    storeWrong,
  ],
  ["of the last save", true, false, "of the last save", editFine],
  ["of the last save", true, false, "of the last save", nothing],
  ["Changed, not saved yet.", true, false, "", editFine],
  ["Changed, not saved yet; see the warning below the picture.", true, false, "", editEmptyArea],
]))
  test(`the bar says "${expected}"`, () => {
    const store = new Store();
    const settings = valid();
    settings.flags.Eula = isAccepted;
    settings.zones.forEach((_, i) => {
      settings.flags[`Exclusion${i + 1}_Active`] = false;
    });
    settings.area = [
      [10, 10],
      [40, 10],
      [40, 40],
      [30, 60],
      [20, 60],
      [10, 40],
      [0, 0],
      [0, 0],
    ].map(([x, y]) => ({ x, y }));
    store.sizes = SIZES;
    store.load(settings);
    act(store);
    assert.equal(saveNote(store, { isSaving, result: { text: result, kind: "" } }).text, expected);
  });

test("before there are settings the bar says that they are loading", () => {
  const resting = { isSaving: false, result: { text: "", kind: "" } };
  assert.equal(saveNote(new Store(), resting).text, "Loading the settings…");
});
