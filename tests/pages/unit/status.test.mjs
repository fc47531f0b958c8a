import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/status.js")} */
const { highestAlert, kindOf } = await load("core/status.js");

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
