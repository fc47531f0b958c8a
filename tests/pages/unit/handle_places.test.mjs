import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/handle_places.js")} */
const { placesFor } = await load("core/handle_places.js");

/** @typedef {import("../../../html/js/core/settings.js").Point} Point */

/** How many pairs of squares of this size overlap. @param {Point[]} places @param {number} size */
const overlaps = (places, size) =>
  places.flatMap((a, i) => places.slice(i + 1).filter((b) => Math.abs(a.x - b.x) < size && Math.abs(a.y - b.y) < size))
    .length;

/** @param {number[]} values of a polygon's corners and its middle */
const shape = (...values) => {
  const points = values.filter((_, i) => i % 2 === 0).map((x, i) => ({ x, y: values[2 * i + 1] }));
  const middle = { x: 0, y: 0 };
  for (const { x, y } of points)
    Object.assign(middle, { x: middle.x + x / points.length, y: middle.y + y / points.length });
  return [...points, middle];
};

const PHONE = { width: 338, height: 190 };

test("handles that have room stand at their points", () => {
  const wanted = shape(100, 30, 200, 30, 200, 130, 100, 130);
  assert.deepEqual(placesFor([wanted], PHONE, 34, -8), wanted);
});

test("on a phone the handles of the small zones in the corners, and of the area, cover each other nowhere", () => {
  const wanted = [
    shape(7, 6, 27, 6, 27, 27, 7, 27),
    shape(311, 6, 331, 6, 331, 27, 311, 27),
    shape(7, 163, 27, 163, 27, 184, 7, 184),
    shape(145, 76, 196, 76, 199, 150, 135, 150),
  ];
  assert.ok(overlaps(wanted.flat(), 34) > 10);
  const places = placesFor(wanted, PHONE, 34, -8);
  assert.equal(overlaps(places, 34), 0);
  for (const { x, y } of places) assert.ok(x >= 8 && x <= 330 && y >= 8 && y <= 182, `${x}, ${y}`);
});

test("nor do those of eight corners on one another, or of shapes anywhere", () => {
  assert.equal(overlaps(placesFor([shape(...Array(16).fill(100))], PHONE, 34, -8), 34), 0);
  let seed = 3;
  const random = () => (seed = (seed * 48271) % 2147483647) / 2147483647;
  for (let round = 0; round < 50; round++) {
    const [x, y, w, h] = [300 * random(), 160 * random(), 60 * random(), 60 * random()];
    const places = placesFor([shape(x, y, x + w, y, x + w, y + h, x, y + h)], PHONE, 34, -8);
    assert.equal(overlaps(places, 34), 0, `${x}, ${y}, ${w}, ${h}`);
  }
});

test("the handles of a small shape stand around its middle as its corners do", () => {
  const [first, second, third, fourth, middle] = placesFor([shape(160, 90, 170, 90, 170, 96, 160, 96)], PHONE, 34, -8);
  assert.ok(first.x < middle.x && middle.x < second.x && second.x === third.x && first.x === fourth.x);
  assert.ok(first.y < middle.y && middle.y < fourth.y && first.y === second.y);
  assert.ok(second.x - first.x < 80 && fourth.y - first.y < 80, "and no farther off than they need");
});
