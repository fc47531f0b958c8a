import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/geometry.js")} */
const { areaOf, crossesItself, distanceTo, holdOf, isInside, leavesPicture, middleOf, snapped, withCorners } =
  await load("core/geometry.js");

/** @typedef {import("../../../html/js/core/settings.js").Point} Point */
/** @param {number[]} values @returns {Point[]} */
const polygon = (...values) => values.filter((_, i) => i % 2 === 0).map((x, i) => ({ x, y: values[2 * i + 1] }));

const SQUARE = polygon(10, 10, 20, 10, 20, 20, 10, 20);
const BOW_TIE = polygon(10, 10, 20, 20, 20, 10, 10, 20);
const ARROW = polygon(0, 0, 10, 5, 0, 10, 4, 5);
const TOUCHING = polygon(0, 0, 10, 0, 10, 10, 5, 0, 0, 10, 0, 5);

test("edges that cross or touch are found", () => {
  assert.equal(crossesItself(SQUARE), false);
  assert.equal(crossesItself(BOW_TIE), true);
  assert.equal(crossesItself(ARROW), false);
  assert.equal(crossesItself(TOUCHING), true);
});

test("crossing does not depend on where a shape begins or on its direction", () => {
  for (const shape of [SQUARE, BOW_TIE, ARROW, TOUCHING])
    for (let i = 0; i < shape.length; i++) {
      const turned = [...shape.slice(i), ...shape.slice(0, i)];
      assert.equal(crossesItself(turned), crossesItself(shape));
      assert.equal(crossesItself([...turned].reverse()), crossesItself(shape));
    }
});

test("a corner outside the picture is found, one on its edge is inside", () => {
  assert.equal(leavesPicture(polygon(0, 0, 100, 100)), false);
  for (const outside of [polygon(-1, 0), polygon(0, -1), polygon(101, 0), polygon(0, 101)])
    assert.equal(leavesPicture(outside), true);
});

test("area and middle of a shape", () => {
  assert.equal(areaOf(SQUARE), 100);
  assert.equal(areaOf([...SQUARE].reverse()), 100);
  assert.deepEqual(middleOf(SQUARE), { x: 15, y: 15 });
});

test("more corners keep the outline, and going back keeps the area as nearly as can be", () => {
  const eight = withCorners(SQUARE, 8);
  assert.equal(eight.length, 8);
  assert.equal(areaOf(eight), areaOf(SQUARE));
  for (const count of [6, 4]) assert.equal(areaOf(withCorners(eight, count)), areaOf(SQUARE));
  assert.equal(withCorners(polygon(5, 5, 5, 5, 5, 5, 5, 5), 8).length, 8);
});

test("the corners that go are those whose loss changes the area least, wherever they stand", () => {
  const round = polygon(50, 0, 85, 15, 100, 50, 85, 85, 50, 100, 15, 85, 0, 50, 15, 15);
  // Cut at its last corners it would be a sliver.
  assert.ok(areaOf(round.slice(0, 4)) < areaOf(round) / 3);
  assert.ok(areaOf(withCorners(round, 4)) > areaOf(round) * 0.6);
  const dented = polygon(0, 0, 50, 1, 100, 0, 99, 50, 100, 100, 0, 100);
  for (let turn = 0; turn < dented.length; turn++) {
    const turned = [...dented.slice(turn), ...dented.slice(0, turn)];
    const kept = withCorners(turned, 4).map(({ x, y }) => `${x},${y}`);
    assert.deepEqual(kept.sort(), ["0,0", "0,100", "100,0", "100,100"], `beginning at ${turn}`);
  }
});

test("losing corners makes no edges cross where none did", () => {
  let seed = 7;
  const random = () => (seed = (seed * 48271) % 2147483647) / 2147483647;
  for (let round = 0; round < 300; round++) {
    const star = [...Array(8).keys()].map((i) => {
      const [angle, far] = [(i * Math.PI) / 4, 5 + 45 * random()];
      return { x: Math.round(50 + far * Math.cos(angle)), y: Math.round(50 + far * Math.sin(angle)) };
    });
    if (crossesItself(star)) continue;
    for (const count of [6, 4]) assert.equal(crossesItself(withCorners(star, count)), false, `${JSON.stringify(star)}`);
  }
});

test("a shape is held at a place that lies in it, also where its middle does not", () => {
  assert.deepEqual(holdOf(SQUARE), { x: 15, y: 15 });
  const bracket = polygon(0, 0, 100, 0, 100, 10, 10, 10, 10, 90, 100, 90, 100, 100, 0, 100);
  assert.equal(isInside(middleOf(bracket), bracket), false);
  const hold = holdOf(bracket);
  assert.ok(isInside(hold, bracket));
  for (const [i, a] of bracket.entries()) assert.ok(distanceTo(hold, a, bracket[(i + 1) % 8]) > 3);
  assert.ok(isInside(holdOf(ARROW), ARROW));
});

for (const [value, free, expected] of /** @type {[number, boolean, number][]} */ ([
  [2.4, false, 0],
  [2.6, false, 3],
  [2.4, true, 2],
  [97.6, false, 100],
  [97.4, false, 97],
  [-20, true, 0],
  [130, true, 100],
  [50.5, false, 51],
]))
  test(`${value} ${free ? "without" : "with"} snapping is ${expected}`, () =>
    assert.equal(snapped(value, free), expected));
