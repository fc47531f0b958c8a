import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/geometry.js")} */
const { areaOf, crossesItself, leavesPicture, middleOf, snapped, withCorners } = await load("core/geometry.js");

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

test("more corners keep the outline, fewer keep the first ones", () => {
  const eight = withCorners(SQUARE, 8);
  assert.equal(eight.length, 8);
  assert.equal(areaOf(eight), areaOf(SQUARE));
  assert.deepEqual(withCorners(eight, 4), eight.slice(0, 4));
  assert.equal(withCorners(polygon(5, 5, 5, 5, 5, 5, 5, 5), 8).length, 8);
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
