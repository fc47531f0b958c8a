import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/log_lines.js")} */
const { filtered, folded, goneRows, parseLine, parseLog, viewed, withoutReading } = await load("core/log_lines.js");

for (const [text, expected] of /** @type {[string, any][]} */ ([
  [
    "2026-01-31 09:30:00|korvex_orvel|error|init: failed",
    { time: "2026-01-31 09:30:00", level: "error", message: "init: failed" },
  ],
  ["t|app|info|a|b||c", { time: "t", level: "info", message: "a|b||c" }],
  ["half a li", { time: "", level: "info", message: "half a li" }],
  ["", null],
]))
  test(`the log line "${text}" is read`, () => assert.deepEqual(parseLine(text), expected));

const LINES = parseLog(
  "09:00|app|info|starting up\n09:01|app|warning|Disk is slow\n09:02|app|error|disk is gone\n09:03|app|odd|a level that is none\n",
);

for (const [level, text, expected] of /** @type {[string, string, string[]][]} */ ([
  ["", "", ["09:00", "09:01", "09:02", "09:03"]],
  ["warning", "", ["09:01", "09:02"]],
  ["error", "", ["09:02"]],
  ["", "DISK", ["09:01", "09:02"]],
  ["", "09:03", ["09:03"]],
  ["error", "slow", []],
]))
  test(`of the log, level "${level}" and text "${text}" leave ${expected.length} lines`, () => {
    const times = filtered(LINES, level, text).map(({ time }) => time);
    assert.deepEqual(times, expected);
  });

test("rows that stay are left alone as the log grows and its oldest lines go", () => {
  assert.equal(goneRows(LINES.slice(0, 3), LINES), 0);
  assert.equal(goneRows(LINES, structuredClone(LINES)), 0, "nothing is new");
  assert.equal(goneRows(LINES.slice(0, 3), LINES.slice(1)), 1);
  assert.equal(goneRows(LINES.slice(0, 2), LINES.slice(2)), 2, "none of them stays");
});

test("rows that are no beginning of what is to be shown all go", () => {
  assert.equal(goneRows(LINES, LINES.slice(0, 2)), 4, "some of the last are not wanted any more");
  assert.equal(goneRows([LINES[0], LINES[2]], LINES), 2, "one came in between");
  assert.equal(goneRows(LINES, []), 4);
  assert.equal(goneRows([], LINES), 0);
});

const LOG = parseLog(
  [
    "2026-01-31 09:30:00|app|warning|STARTING korvex_orvel",
    "2026-01-31 09:30:05|app|info|sendEventStarted: Starting event Korvex Orvel First Alert",
    "2026-01-31 09:30:06|app|info|processGET: get_logfile_as_plain_text",
    "2026-01-31 09:30:07|app|error|no picture",
    "2026-01-31 09:30:08|app|info|processGET: get_logfile_as_plain_text",
    "2026-01-31 09:30:09|app|error|no picture",
    "2026-01-31 09:30:10|app|info|no picture",
    "2026-01-31 09:30:11|app|info|sendEventStopped: Stopping event Korvex Orvel First Alert",
    "2026-01-31 09:30:12|app|warning|STOPPING korvex_orvel",
  ].join("\n"),
);

test("the log's own reading is left out, and what repeats is one row with its number", () => {
  const rows = folded(withoutReading(LOG)).map(({ time, until, count, message }) => [
    time.slice(-2),
    until.slice(-2),
    count,
    message,
  ]);
  assert.deepEqual(rows.slice(2, 4), [
    ["07", "09", 2, "no picture"],
    ["10", "10", 1, "no picture"],
  ]);
  assert.equal(rows.length, 6);
});

test("the view of the alerts tells of them in words, and of the application's starts and ends", () => {
  assert.deepEqual(
    viewed(LOG, "alerts").map(({ message }) => message),
    ["The application started", "First alert started", "First alert ended", "The application ended"],
  );
  assert.equal(viewed(LOG, "technical"), LOG);
});
