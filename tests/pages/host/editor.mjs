// The area on the picture: corners that come and go, the way back, low windows.

import assert from "node:assert/strict";
import { test } from "node:test";
import { visit } from "./setting.mjs";

const ROUND = [
  [50, 10],
  [70, 20],
  [80, 50],
  [70, 80],
  [50, 90],
  [30, 80],
  [20, 50],
  [30, 20],
];

/** @param {number[][]} points */
const areaOf = (points) =>
  Math.abs(
    points.reduce((sum, [x, y], i) => {
      const [nextX, nextY] = points[(i + 1) % points.length];
      return sum + x * nextY - nextX * y;
    }, 0),
  ) / 2;

test("from eight corners to four the area stays what it was, as nearly as can be", async () => {
  const visitor = await visit();
  await visitor.page.selectOption("#corners", "8");
  await visitor.setCorners("area", ROUND);
  const whole = areaOf(ROUND);
  for (const [count, share] of [
    [6, 0.8],
    [4, 0.55],
  ]) {
    await visitor.page.selectOption("#corners", String(count));
    const kept = await visitor.corners("area");
    assert.equal(kept.length, count);
    assert.ok(areaOf(kept) > share * whole, `${count} corners keep ${areaOf(kept)} of ${whole}`);
  }
});

test("a click on an edge adds a corner there, Delete removes it, and each is one step of undo", async () => {
  const visitor = await visit(),
    { page } = visitor;
  const before = await visitor.corners("area");
  const stage = await page.locator("#stage").boundingBox();
  assert.ok(stage !== null);
  await page.mouse.click(stage.x + stage.width * 0.505, stage.y + stage.height * 0.4);
  const added = await visitor.corners("area");
  assert.equal(added.length, 6);
  assert.ok(added.some(([x, y]) => Math.abs(x - 50) < 2 && Math.abs(y - 40) < 2));
  assert.match(await visitor.text("shape-note"), /an area has 4, 6 or 8/);
  await page.click("#undo");
  assert.deepEqual(await visitor.corners("area"), before);
  await page.click("#redo");
  const at = added.findIndex(([x, y]) => Math.abs(x - 50) < 2 && Math.abs(y - 40) < 2);
  await page.focus(`[data-handle="area.${at}"]`);
  await page.keyboard.press("Delete");
  assert.deepEqual(await visitor.corners("area"), before);
  await page.keyboard.press("Delete");
  assert.match(await visitor.text("shape-note"), /^An area has 4, 6 or 8 corners\.$/);
  assert.deepEqual(await visitor.corners("area"), before);
  await page.keyboard.press("Insert");
  assert.equal((await visitor.corners("area")).length, 6);
  // A drag that begins on an edge moves the shape, as one anywhere inside does.
  await page.click("#reset");
  await page.mouse.move(stage.x + stage.width * 0.505, stage.y + stage.height * 0.4);
  await page.mouse.down();
  await page.mouse.move(stage.x + stage.width * 0.605, stage.y + stage.height * 0.4, { steps: 3 });
  await page.mouse.up();
  assert.deepEqual(
    await visitor.corners("area"),
    before.map(([x, y]) => [x + 10, y]),
  );
});

test("there is a way back to the area that every camera begins with", async () => {
  const visitor = await visit(),
    { page } = visitor;
  const [first] = await visitor.corners("area");
  await page.selectOption("#corners", "8");
  await visitor.drag("area.0", 10, 10);
  await page.click("#default-area");
  const back = await visitor.corners("area");
  assert.equal(back.length, 4);
  assert.deepEqual(back[0], first);
  await page.click("#undo");
  assert.equal((await visitor.corners("area")).length, 8);
});

test("all of a concave shape is taken hold of where it lies", async () => {
  const visitor = await visit(),
    { page } = visitor;
  await page.selectOption("#corners", "8");
  await visitor.setCorners("area", [
    [10, 10],
    [90, 10],
    [90, 25],
    [25, 25],
    [25, 75],
    [90, 75],
    [90, 90],
    [10, 90],
  ]);
  await page.$eval("#stage", (stage) => stage.scrollIntoView());
  const onShape = await page.$eval('[data-handle="area.-1"]', (handle) => {
    const { left, top, width, height } = handle.getBoundingClientRect();
    return document.elementsFromPoint(left + width / 2, top + height / 2).some((each) => each.matches(".shape.area"));
  });
  assert.ok(onShape);
  const before = await visitor.corners("area");
  await page.focus('[data-handle="area.-1"]');
  await page.keyboard.press("ArrowRight");
  assert.deepEqual(
    await visitor.corners("area"),
    before.map(([x, y]) => [x + 1, y]),
  );
});

test("a pixel that two per cents stand for is explained where one was typed", async () => {
  const visitor = await visit();
  await visitor.page.fill('[data-coordinate="area.1.x"]', "66");
  await visitor.page.keyboard.press("Tab");
  assert.equal((await visitor.corners("area"))[1][0], 65);
  assert.match(await visitor.text("coordinates-note"), /66 and 65 are the same pixel/);
});

for (const [width, height] of [
  [1280, 440],
  [900, 400],
  [320, 256],
])
  test(`a window of ${width}x${height} has the picture, and nothing in its way`, async () => {
    const { page } = await visit({ viewport: { width, height } });
    await page.$eval("#stage", (stage) => stage.scrollIntoView({ block: "center" }));
    const covered = await page.evaluate(() => {
      const {
        top,
        bottom,
        height: tall,
      } = /** @type {Element} */ (document.getElementById("stage")).getBoundingClientRect();
      const bars = [...document.querySelectorAll("header, #savebar")].filter((bar) =>
        ["sticky", "fixed"].includes(getComputedStyle(bar).position),
      );
      const taken = bars.map((bar) => bar.getBoundingClientRect());
      const free = [Math.max(0, ...taken.map((box) => (box.top <= 0 ? box.bottom : 0)))];
      const end = Math.min(innerHeight, ...taken.map((box) => (box.top > 0 ? box.top : innerHeight)));
      return { tall, hidden: Math.max(0, free[0] - top) + Math.max(0, bottom - end) };
    });
    assert.ok(covered.tall >= 130, `${covered.tall} pixels of picture`);
    assert.ok(covered.hidden < 2, `${covered.hidden} pixels are hidden`);
  });
