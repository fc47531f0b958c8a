import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/log.js")} */
const { parseLine } = await load("log.js");

for (const [text, expected] of /** @type {[string, any][]} */ ([
  ["2026-01-31 09:30:00|korvex_orvel|error|init: failed", { time: "2026-01-31 09:30:00", level: "error", message: "init: failed" }],
  ["t|app|info|a|b||c", { time: "t", level: "info", message: "a|b||c" }],
  ["half a li", { time: "", level: "info", message: "half a li" }],
  ["", null],
]))
  test(`the log line "${text}" is read`, () => assert.deepEqual(parseLine(text), expected));
