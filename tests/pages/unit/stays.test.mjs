import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/stays.js")} */
const { byHour, staysOf, stillOf, summary } = await load("core/stays.js");

/** @param {number} id @param {string} time @param {number} seconds @param {number} level @param {object} [more] */
const stay = (id, time, seconds, level, more = {}) => ({
  id,
  object: id,
  class: 2,
  label: "Car",
  entered: `2026-11-22T${time}.123+01:00`,
  left: null,
  seconds,
  level,
  alerts: [],
  ...more,
});

const ANSWER = {
  stays: [
    stay(1, "00:00:00", 4, 0),
    stay(2, "08:35:00", 26, 3, { left: "2026-11-22T08:35:26.500+01:00" }),
    stay(3, "08:59:59", 12, 2),
    stay(4, "23:59:59", 2, 0),
  ],
};

test("stays are counted by level, and by the hour in which they began", () => {
  const stays = staysOf(ANSWER);
  assert.deepEqual(summary(stays), { count: 4, longest: 26, mean: 11, levels: [2, 0, 1, 1] });
  const hours = byHour(stays, "2026-11-22");
  assert.deepEqual(
    [hours[0], hours[8], hours[23]],
    [
      [1, 0, 0, 0],
      [0, 0, 1, 1],
      [1, 0, 0, 0],
    ],
  );
  assert.equal(
    hours.flat().reduce((sum, count) => sum + count),
    4,
  );
  assert.deepEqual(summary([]), { count: 0, longest: 0, mean: 0, levels: [0, 0, 0, 0] });
});

test("one that is there still lasts as long as it has so far", () => {
  const [, , still] = staysOf(ANSWER);
  assert.equal(still.to - still.from, 12000);
  assert.equal(staysOf(ANSWER)[1].to - staysOf(ANSWER)[1].from, 26377);
});

test("the still is the highest alert's that has one, and only ever a file of the host's own", () => {
  const alerts = [
    { level: 1, time: "", still: "/stream/stills/2-1.jpg", clip: null },
    { level: 2, time: "", still: "https://elsewhere.test/2.jpg", clip: "/stream/../eula.txt" },
    { level: 3, time: "", still: null, clip: "/stream/clips/2-3.mp4" },
  ];
  const [told] = staysOf({ stays: [stay(2, "08:35:00", 26, 3, { alerts })] });
  assert.equal(stillOf(told)?.still, "/stream/stills/2-1.jpg");
  assert.deepEqual(
    told.alerts.map(({ clip }) => clip),
    [null, null, "/stream/clips/2-3.mp4"],
  );
  assert.equal(stillOf(staysOf(ANSWER)[0]), undefined);
});

test("what is no answer with stays is refused", () => {
  for (const answer of [{}, null, { stays: 1 }]) assert.throws(() => staysOf(answer), /cannot be read/);
});
