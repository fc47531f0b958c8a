import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/status.js")} */
const { aboutOf, alertWord, highestAlert, kindOf, Status, textOf } = await load("core/status.js");

for (const [code, kind, highest] of /** @type {[number, string, number | null][]} */ ([
  [100, "wait", null],
  [200, "good", 0],
  [400, "bad", null],
  [408, "bad", null],
  [502, "warn", 1],
  [503, "warn", 2],
  [504, "warn", 3],
  [599, "warn", null],
  [600, "warn", null],
  [601, "bad", null],
]))
  test(`status ${code} is ${kind}, and its highest alert ${highest}`, () => {
    assert.equal(kindOf(code), kind);
    assert.equal(highestAlert(code), highest);
  });

test("a slow pass tells nothing of the alerts: what was known stays for ten seconds, and is marked", () => {
  const status = new Status();
  const at = (/** @type {number} */ seconds) => new Date(1e12 + 1000 * seconds);
  const seen = () => [status.highest, status.isKept];
  status.take(600, 900, at(0));
  assert.deepEqual(seen(), [null, false], "nothing was known before");
  status.take(503, 100, at(1));
  assert.deepEqual(seen(), [2, false]);
  status.take(600, 900, at(2));
  assert.deepEqual(seen(), [2, true]);
  status.fail(at(9));
  assert.deepEqual(seen(), [2, true], "nor does an answer that does not come");
  status.take(600, 900, at(12));
  assert.deepEqual(seen(), [null, false], "after that it is unknown");
  status.take(200, 100, at(13));
  assert.deepEqual(seen(), [0, false]);
});

const ON = { Alert1_Active: true, Alert2_Active: true, Alert3_Active: true };
for (const [level, highest, flags, word] of /** @type {[number, number | null, any, string][]} */ ([
  [1, 2, ON, "active"],
  [3, 2, ON, "quiet"],
  [3, 0, { ...ON, Alert2_Active: false }, "disabled"],
  [1, 0, { ...ON, Alert2_Active: false }, "quiet"],
  [2, null, { ...ON, Alert2_Active: false }, "disabled"],
  [1, null, ON, "unknown"],
  [1, 0, undefined, "quiet"],
]))
  test(`alert ${level} is ${word} while the highest is ${highest} of ${JSON.stringify(flags)}`, () =>
    assert.equal(alertWord(level, highest, flags), word));

test("every status has words and a meaning, also one that nobody knows", () => {
  assert.equal(textOf(504), "Third alert active");
  assert.equal(textOf(407), "Unknown default status");
  for (const code of [50, 100, 200, 400, 408, 502, 600, 999]) assert.match(aboutOf(code), /\.$/);
});
