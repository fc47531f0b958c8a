import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/store.js")} */
const { Store } = await load("core/store.js");

let store = new Store();
let changes = 0;

/** @param {string} text @param {string} [topic] */
const type = (text, topic) => store.edit(({ texts }) => Object.assign(texts, { MaxDisappear: text }), topic);
const typed = () => store.edited?.texts.MaxDisappear;

beforeEach(() => {
  store = new Store();
  store.load(valid());
  changes = 0;
  store.addEventListener("change", () => {
    changes += 1;
  });
});

test("before there are settings nothing can be edited, undone or discarded", () => {
  const empty = new Store();
  empty.edit(() => assert.fail("there is nothing to edit"));
  empty.preview(() => assert.fail("there is nothing to edit"));
  empty.undo();
  empty.discard();
  assert.deepEqual([empty.edited, empty.canUndo, empty.isChanged, empty.isAccepted], [null, false, false, false]);
});

test("an edit is told of and can be undone and done again", () => {
  type("4");
  assert.ok(store.isChanged && store.canUndo && !store.canRedo);
  store.undo();
  assert.ok(!store.isChanged && !store.canUndo && store.canRedo);
  store.redo();
  assert.equal(typed(), "4");
  assert.equal(changes, 3);
});

test("an edit that changes nothing is no step", () => {
  type("3");
  assert.equal(store.canUndo, false);
  assert.equal(changes, 0);
});

test("what is typed on one topic is one step, and nothing else is", () => {
  for (const text of ["4", "45", "456"]) type(text, "MaxDisappear");
  store.undo();
  assert.equal(typed(), "3");
  store.redo();
  type("7", "MaxDisappear");
  store.undo();
  assert.equal(typed(), "456", "undo ends a topic");
  for (const text of ["8", "9"]) type(text);
  store.undo();
  assert.equal(typed(), "8");
});

test("an edit after undo ends what could be done again", () => {
  type("4");
  store.undo();
  type("5");
  assert.equal(store.canRedo, false);
});

test("what is previewed is one step once it is committed, and none when it leads back", () => {
  const before = valid();
  for (const x of [20, 30, 40]) store.preview(({ area }) => Object.assign(area[0], { x }));
  assert.equal(store.canUndo, false);
  store.commit(before);
  store.undo();
  assert.deepEqual(store.edited, before);
  store.preview(({ area }) => Object.assign(area[0], { x: before.area[0].x }));
  store.commit(before);
  assert.equal(store.canUndo, false);
});

test("what was discarded can be undone", () => {
  type("4");
  store.discard();
  assert.equal(store.isChanged, false);
  store.undo();
  assert.equal(typed(), "4");
});

test("two hundred steps can be undone, and no more", () => {
  for (let i = 1; i <= 250; i++) type(String(i * 10));
  let steps = 0;
  for (; store.canUndo; steps++) store.undo();
  assert.equal(steps, 200);
  assert.equal(typed(), "500");
});

test("what another page has saved comes below what is edited, in every step", () => {
  type("4");
  type("5");
  store.undo();
  const theirs = valid();
  theirs.texts.Sensitivity = "0.80";
  store.load(theirs);
  const seen = [];
  for (const go of [() => {}, () => store.redo(), () => store.undo(), () => store.undo()]) {
    go();
    seen.push([typed(), store.edited?.texts.Sensitivity]);
  }
  assert.deepEqual(seen, [
    ["4", "0.80"],
    ["5", "0.80"],
    ["4", "0.80"],
    ["3", "0.80"],
  ]);
  assert.equal(store.isChanged, false);
});

test("what was edited during a save stays, and what was saved can be undone", () => {
  type("4");
  const wanted = structuredClone(/** @type {import("../../../html/js/core/settings.js").Settings} */ (store.edited));
  store.edit(({ texts }) => Object.assign(texts, { Sensitivity: "0.10" }));
  store.keep({ ...wanted, corners: 8 }, wanted);
  assert.deepEqual([typed(), store.edited?.texts.Sensitivity, store.edited?.corners], ["4", "0.10", 8]);
  assert.equal(store.saved?.texts.Sensitivity, "0.35");
  store.undo();
  store.undo();
  assert.equal(typed(), "3");
  assert.ok(store.isChanged);
});
