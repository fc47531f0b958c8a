import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { html, load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/shapes.js")} */
const {
  AREA,
  SHAPES,
  WHOLE,
  addCorner,
  dragFrom,
  haveSameShapes,
  put,
  removeCorner,
  resetShapes,
  setCorners,
  setDefaultArea,
  shapeProblems,
  shapesOn,
  step,
  zoneWarnings,
} = await load("core/shapes.js");

/** @type {typeof import("../../../html/js/core/document.js")} */
const { settingsOf } = await load("core/document.js");
/** @type {typeof import("../../../html/js/core/geometry.js")} */
const { areaOf } = await load("core/geometry.js");

const ANALYSED = { width: 1280, height: 720 };
const SQUARE = [
  { x: 10, y: 20 },
  { x: 40, y: 20 },
  { x: 40, y: 60 },
  { x: 10, y: 60 },
];
const square = () => structuredClone(SQUARE);
/** @param {{x: number, y: number}[]} points @param {number} dx @param {number} dy */
const moved = (points, dx, dy) => points.map(({ x, y }) => ({ x: x + dx, y: y + dy }));

/** Settings with a square area and no zone on. */
function plain() {
  const settings = valid();
  for (const zone of [1, 2, 3]) settings.flags[`Exclusion${zone}_Active`] = false;
  return Object.assign(settings, { corners: 4, area: [...square(), ...square()] });
}

test("a shape is there while its switch is on, the area always", () => {
  const settings = plain();
  assert.deepEqual(shapesOn(settings), [AREA]);
  settings.flags.Exclusion2_Active = true;
  assert.deepEqual(
    shapesOn(settings).map(({ key }) => key),
    ["area", "zone2"],
  );
  assert.equal(shapesOn(settings)[1].points(settings), settings.zones[1]);
  assert.equal(SHAPES.length, 4);
});

for (const [dx, dy, expected] of /** @type {[number, number, [number, number]][]} */ ([
  [5, -5, [5, -5]],
  [0.4, 0.6, [0, 1]],
  [-50, 0, [-10, 0]],
  [99, 99, [60, 40]],
  [0, -99, [0, -20]],
]))
  test(`a whole shape moved by ${dx}, ${dy} keeps its form within the picture`, () => {
    const points = square();
    step(points, WHOLE, dx, dy, ANALYSED);
    assert.deepEqual(points, moved(SQUARE, ...expected));
    const dragged = square();
    dragFrom(dragged, square(), WHOLE, { x: dx, y: dy }, false, ANALYSED);
    assert.deepEqual(dragged, points, "dragged as by key");
  });

test("each step by a key leads somewhere else, all across the picture", () => {
  for (const [dx, dy, from, to] of [
    [1, 0, 0, 100],
    [-1, 0, 100, 0],
    [0, 1, 0, 100],
    [0, -1, 100, 0],
  ]) {
    const points = [{ x: from, y: from }];
    const axis = dx === 0 ? "y" : "x";
    while (points[0][axis] !== to) {
      const before = points[0][axis];
      step(points, 0, dx, dy, ANALYSED);
      assert.equal(Math.sign(points[0][axis] - before), dx + dy, `from ${before} on ${axis}`);
    }
    step(points, 0, dx, dy, ANALYSED);
    assert.equal(points[0][axis], to, "and stops at its edge");
  }
});

test("a corner is put where the application can tell it from its neighbours", () => {
  const point = { x: 1, y: 1 };
  put(point, { x: 66, y: 50 }, ANALYSED);
  assert.deepEqual(point, { x: 65, y: 50 });
});

test("a dragged corner is where the drag has come to, whatever was between, and snaps unless it is free", () => {
  const points = square();
  dragFrom(points, SQUARE, 2, { x: 10, y: 10 }, false, ANALYSED);
  dragFrom(points, SQUARE, 0, { x: -8, y: -18.2 }, false, ANALYSED);
  assert.deepEqual(points, [{ x: 0, y: 0 }, ...SQUARE.slice(1)]);
  dragFrom(points, SQUARE, 0, { x: -8, y: -18.2 }, true, ANALYSED);
  assert.deepEqual(points[0], { x: 2, y: 2 });
});

test("a drag of a shape that was loaded with other corners meanwhile moves nothing", () => {
  const points = square();
  dragFrom(points, SQUARE.slice(0, 3), 0, { x: 5, y: 5 }, false, ANALYSED);
  assert.deepEqual(points, SQUARE);
});

test("there are always eight corners, whatever is in use", () => {
  const settings = plain();
  for (const count of [8, 4, 6]) {
    setCorners(settings, count);
    assert.equal(settings.corners, count);
    assert.equal(AREA.points(settings).length, count);
    assert.equal(settings.area.length, 8);
  }
});

test("Reset brings back the shapes and their switches, and nothing else", () => {
  const saved = plain();
  const edited = structuredClone(saved);
  edited.texts.MaxDisappear = "99";
  assert.ok(haveSameShapes(saved, edited));
  for (const change of [
    () => setCorners(edited, 6),
    () => {
      edited.zones[1][2].y += 1;
    },
    () => {
      edited.flags.Exclusion3_Active = true;
    },
  ]) {
    change();
    assert.ok(!haveSameShapes(saved, edited));
    resetShapes(edited, saved);
    assert.ok(haveSameShapes(saved, edited));
  }
  assert.equal(edited.texts.MaxDisappear, "99");
  edited.area[0].x += 1;
  assert.ok(!haveSameShapes(saved, edited), "they share nothing");
  assert.ok(haveSameShapes(null, null));
  assert.ok(!haveSameShapes(null, edited));
});

test("what is wrong with a shape is told while it is on", () => {
  const settings = plain();
  assert.deepEqual(shapeProblems(settings), []);
  settings.zones[0] = Array.from({ length: 4 }, () => ({ x: 5, y: 5 }));
  assert.deepEqual(shapeProblems(settings), []);
  settings.flags.Exclusion1_Active = true;
  assert.match(shapeProblems(settings).join("\n"), /^Exclusion zone 1: there is nearly nothing inside\.$/m);
  settings.zones[0] = moved(SQUARE, 70, 0);
  assert.deepEqual(shapeProblems(settings), [
    "Exclusion zone 1: it leaves the picture. Move its corners back into it.",
  ]);
  [settings.area[1], settings.area[2]] = [settings.area[2], settings.area[1]];
  assert.match(shapeProblems(settings)[0], /^Area: its edges cross\./);
});

test("a zone that another one's switch governs is told of", () => {
  const settings = plain();
  for (const [second, third, told] of [
    [false, false, 0],
    [true, false, 1],
    [false, true, 1],
    [true, true, 0],
  ]) {
    Object.assign(settings.flags, { Exclusion2_Active: second, Exclusion3_Active: third });
    assert.equal(zoneWarnings(settings).length, told);
  }
});

test("a corner comes where the edge was clicked, with one more where the edge is longest: an area has 4, 6 or 8", () => {
  const settings = plain();
  assert.ok(addCorner(settings, 1, { x: 45, y: 40 }, ANALYSED));
  assert.equal(settings.corners, 6);
  const points = AREA.points(settings);
  assert.ok(points.some(({ x, y }) => Math.abs(x - 45) <= 1 && Math.abs(y - 40) <= 1));
  assert.ok(
    points.some(({ x, y }) => x === 10 && y === 40),
    "the middle of the left edge",
  );
  assert.ok(addCorner(settings, 0, { x: 25, y: 15 }, ANALYSED));
  assert.equal(settings.corners, 8);
  const before = structuredClone(settings);
  assert.equal(addCorner(settings, 0, { x: 20, y: 20 }, ANALYSED), false, "eight are the most");
  assert.deepEqual(settings, before);
  assert.equal(settings.area.length, 8);
});

test("a corner goes, with the one that is missed least, and four stay", () => {
  const settings = plain();
  setCorners(settings, 6);
  const whole = areaOf(AREA.points(settings));
  const added = AREA.points(settings).findIndex((point) => !SQUARE.some(({ x, y }) => x === point.x && y === point.y));
  assert.ok(removeCorner(settings, added));
  assert.equal(settings.corners, 4);
  assert.equal(areaOf(AREA.points(settings)), whole);
  assert.equal(removeCorner(settings, 0), false);
  assert.equal(settings.corners, 4);
});

test("the default area is the one that the package declares", () => {
  const { parameters } = JSON.parse(readFileSync(join(html, "../package/manifest.json"), "utf8"));
  const pixels = parameters.filter((/** @type {any} */ { name }) => /^Detection1\d[xy]$/.test(name));
  const values = Object.fromEntries(
    pixels.map((/** @type {any} */ each, /** @type {number} */ i) => {
      const extent = i % 2 === 0 ? ANALYSED.width : ANALYSED.height;
      return [`Detection1_${i}`, String(Math.trunc((Number(each.default) * 100) / extent))];
    }),
  );
  const declared = settingsOf({ ...values, DetectionControlPoints: "4", CamsResAsCsv: "1280x720," }, false).settings;
  const settings = plain();
  setDefaultArea(settings, ANALYSED);
  assert.deepEqual([settings.area, settings.corners], [declared.area, declared.corners]);
});
