import assert from "node:assert/strict";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/objects.js")} */
const { passOf, summaryOf, toldOf } = await load("core/objects.js");

/** @param {number} id @param {object} [more] @returns {any} */
const finding = (id, more = {}) => ({
  id,
  class: 2,
  label: "Car",
  box: [128, 72, 256, 144],
  score: 0.714,
  footing: 1,
  state: "briefly",
  seconds: 3,
  reason: "counts",
  unseen: 0,
  unseen_seconds: 0,
  ...more,
});

/** @param {...any} findings @returns {any} */
const pass = (...findings) => ({ time: 1, size: [1280, 720], status: 200, findings, problems: [] });

/** @param {object} more @returns {any} */
const told = (more) => toldOf(pass(finding(7, more)), valid())[0];

for (const [more, expected] of /** @type {[object, object][]} */ ([
  [{}, { reason: "Counts", progress: "3 of 5 s to the first alert", share: 0.6, colour: "yellow", level: 0 }],
  [
    { footing: 3, seconds: 12 },
    { progress: "12 of 15 s to the third alert", share: 0.8, colour: "red", level: 2 },
  ],
  [
    { footing: 4, seconds: 26 },
    { progress: "26 s, past the third alert's 15 s", share: 1, colour: "red", level: 3 },
  ],
  [
    { footing: 0, seconds: 0, reason: "excluded by zones 1 and 3" },
    { reason: "Does not count: excluded by zones 1 and 3", progress: "", colour: "green" },
  ],
  [{ footing: 0, reason: "class off" }, { reason: "Does not count: its class is off" }],
  [{ footing: 0, reason: "outside" }, { reason: "Does not count: outside the area" }],
  [
    { score: null, unseen: 9, unseen_seconds: 1.8 },
    { unseen: "not seen for 2 s", score: "" },
  ],
  [{}, { unseen: "", score: "score 0.71", name: "Car 7", box: [10, 10, 20, 20] }],
]))
  test(`an object that is ${JSON.stringify(more)} is told as ${JSON.stringify(expected)}`, () => {
    const object = told(more);
    for (const [name, value] of Object.entries(expected)) assert.deepEqual(object[name], value, name);
  });

test("all of them are told in a line, with how many an alert needs", () => {
  const settings = valid();
  const objects = toldOf(pass(finding(1), finding(2, { footing: 0 })), settings);
  assert.equal(summaryOf(objects, settings), "2 followed, 1 counts.");
  settings.texts.MinNumberOfPeopleForTrigger = "2";
  assert.match(summaryOf(objects, settings), /An alert needs 2/);
  assert.equal(summaryOf([], settings), "Nothing is followed now.");
});

test("what is no pass is none", () => {
  for (const data of ["", "{", "[]", "null", '{"findings":1}']) assert.equal(passOf(data), null, data);
  assert.deepEqual(passOf('{"time":1,"size":[2,1],"status":200,"findings":[]}')?.problems, []);
});
