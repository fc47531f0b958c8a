import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/alert_history.js")} */
const { alertPeriods, ofDay, secondsOf } = await load("core/alert_history.js");
/** @type {typeof import("../../../html/js/core/log_lines.js")} */
const { parseLog } = await load("core/log_lines.js");
/** @type {typeof import("../../../html/js/core/wall_time.js")} */
const { clockOf, dayAfter, dayOf, durationText, wallTime } = await load("core/wall_time.js");

/** @param {...string} lines "09:30:00 +1": the first alert starts; "STARTING"; or any other message */
function periodsOf(...lines) {
  const log = lines.map((line) => {
    const [, time, text] = /^(\S+) (.*)$/.exec(line) ?? [];
    const stamp = time.includes("T") ? time.replace("T", " ") : `2026-01-31 ${time}`;
    const change = /^([+-])([123])$/.exec(text);
    if (change === null) return `${stamp}|korvex_orvel|${/^ST/.test(text) ? "warning" : "info"}|${text}`;
    const verb = change[1] === "+" ? "sendEventStarted: Starting" : "sendEventStopped: Stopping";
    return `${stamp}|korvex_orvel|info|${verb} event Korvex Orvel ${["First", "Second", "Third"][Number(change[2]) - 1]} Alert`;
  });
  return alertPeriods(parseLog(log.join("\n"))).map(
    (period) => `${period.level} ${clockOf(period.from)} ${clockOf(period.to)} ${secondsOf(period)} ${period.note}`,
  );
}

for (const [what, lines, expected] of /** @type {[string, string[], string[]][]} */ ([
  [
    "levels that come and go together",
    ["09:30:00 +1", "09:30:05 +2", "09:30:20 -2", "09:30:20 -1", "09:31:00 +1", "09:31:02 -1"],
    ["1 09:30:00 09:30:20 20 ", "2 09:30:05 09:30:20 15 ", "1 09:31:00 09:31:02 2 "],
  ],
  ["one that is active still", ["09:30:00 +1", "09:30:30 anything"], ["1 09:30:00 09:30:30 30 still active"]],
  [
    "one that began before the log does",
    ["09:30:00 anything", "09:30:07 -3"],
    ["3 09:30:00 09:30:07 7 began before the log"],
  ],
  [
    "an application that is killed",
    ["09:30:00 +1", "09:30:09 anything", "10:00:00 STARTING korvex_orvel", "10:00:05 +1", "10:00:06 -1"],
    ["1 09:30:00 09:30:09 9 ended with the application", "1 10:00:05 10:00:06 1 "],
  ],
  [
    "an application that ends",
    ["09:30:00 +1", "09:30:04 STOPPING korvex_orvel", "09:30:04 "],
    ["1 09:30:00 09:30:04 4 ended with the application"],
  ],
  ["a start that is told twice", ["09:30:00 +1", "09:30:02 +1", "09:30:03 -1"], ["1 09:30:00 09:30:03 3 "]],
  ["midnight", ["2026-01-31T23:59:50 +1", "2026-02-01T00:00:10 -1"], ["1 23:59:50 00:00:10 20 "]],
  ["other lines alone", ["09:30:00 sendEventStarted: Starting event Of Another", "09:30:01 +4"], []],
]))
  test(`the alerts' periods of ${what}`, () => assert.deepEqual(periodsOf(...lines), expected));

test("a day has what reaches into it", () => {
  const period = { from: wallTime("2026-01-31 23:59:50"), to: wallTime("2026-02-01 00:00:10") };
  for (const [day, count] of /** @type {[string, number][]} */ ([
    ["2026-01-30", 0],
    ["2026-01-31", 1],
    ["2026-02-01", 1],
    ["2026-02-02", 0],
  ]))
    assert.equal(ofDay([period], day).length, count, day);
});

test("times are the camera's own, whatever zone they are told in", () => {
  assert.equal(wallTime("2026-11-22T08:35:00.5+01:00"), wallTime("2026-11-22 08:35:00") + 500);
  assert.ok(Number.isNaN(wallTime("soon")));
  assert.equal(dayOf(wallTime("2026-11-22T23:59:59+13:00")), "2026-11-22");
  assert.equal(dayAfter("2026-02-28", 1), "2026-03-01");
  assert.deepEqual([0, 59.4, 61, 3725].map(durationText), ["0 s", "59 s", "1 min 1 s", "1 h 2 min"]);
});
