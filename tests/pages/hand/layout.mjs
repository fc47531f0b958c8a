// Nothing jumps, and nothing is hidden.

import assert from "node:assert/strict";
import { test } from "node:test";
import { page, visitor } from "./setting.mjs";

test("the picture stays where it is while a warning comes, and the warning is in sight", async () => {
  // A machine with other work is late, and says so above the picture.
  await page.$eval("#troubles", (told) => /** @type {HTMLElement} */ (told).style.setProperty("display", "none"));
  const top = async () => (await page.locator("#stage").boundingBox())?.y;
  const before = await top();
  await visitor.drag("area.0", 80, 40);
  assert.match(await visitor.text("shape-problems"), /its edges cross/);
  assert.equal(await top(), before);
  const [warning, bar] = await Promise.all(["#shape-problems", "#savebar"].map((id) => page.locator(id).boundingBox()));
  assert.ok(warning !== null && bar !== null && warning.y + warning.height <= bar.y, "not under the bar");
  assert.match(await visitor.text("save-note"), /see the warning below the picture/);
});

test("the bar at the top keeps its height, whatever it tells", async () => {
  /** @type {[string, string][]} */
  const states = [
    ["200", "Running"],
    ["504", "Third alert active"],
    ["600", "Slow"],
  ];
  /** @type {Map<string, Set<number>>} */
  const heights = new Map();
  for (const [code, text] of states) {
    await page.route("**/*action=get_status_code", (route) => route.fulfill({ body: code }));
    await page.route("**/*action=get_status_string", (route) => route.fulfill({ body: text }));
    await visitor.waitForText("status-code", new RegExp(code));
    for (const [width, height] of [
      [360, 740],
      [390, 844],
      [600, 900],
      [740, 360],
      [820, 1180],
      [900, 900],
      [1000, 900],
      [1060, 900],
      [1366, 768],
    ]) {
      await page.setViewportSize({ width, height });
      const size = `${width}x${height}`;
      heights.set(
        size,
        (heights.get(size) ?? new Set()).add((await page.locator("header").boundingBox())?.height ?? 0),
      );
    }
  }
  for (const [size, seen] of heights) assert.equal(seen.size, 1, `${size}: ${[...seen].join(", ")}`);
  await page.unrouteAll();
  await page.setViewportSize({ width: 1366, height: 768 });
});

test("a zone that another switch governs after a restart is told of", async () => {
  await page.check("#Exclusion2_Active");
  assert.match(
    await visitor.text("shape-problems"),
    /Exclusion zone 2: when the application starts again, this zone will be on or off as zone 3 is/,
  );
  await page.check("#Exclusion3_Active");
  assert.equal(await visitor.text("shape-problems"), "");
});

test("Tab goes from corner to corner in their order, whatever the number of corners", async () => {
  await page.check("#Exclusion1_Active");
  await page.selectOption("#corners", "8");
  await page.focus("#Exclusion3_Active");
  const visited = [];
  for (let i = 0; i < 14; i++) {
    await page.keyboard.press("Tab");
    visited.push(await page.evaluate(() => /** @type {HTMLElement} */ (document.activeElement).dataset.handle));
  }
  assert.deepEqual(
    visited,
    [0, 1, 2, 3, 4, 5, 6, 7, -1].map((i) => `area.${i}`).concat([0, 1, 2, 3, -1].map((i) => `zone1.${i}`)),
  );
});

test("what has the focus is under neither bar", async () => {
  await page.setViewportSize({ width: 900, height: 400 });
  await page.focus("#corners");
  for (let i = 0; i < 20; i++) {
    await page.keyboard.press("Tab");
    const covered = await page.evaluate(() => {
      const { top, bottom } = /** @type {Element} */ (document.activeElement).getBoundingClientRect();
      const [head, bar] = ["header", "#savebar"].map((name) =>
        /** @type {Element} */ (document.querySelector(name)).getBoundingClientRect(),
      );
      const isCarried = document.activeElement?.matches("body, header *, #savebar *, .skip");
      return !isCarried && (top < head.bottom || bottom > bar.top)
        ? /** @type {Element} */ (document.activeElement).outerHTML
        : "";
    });
    assert.equal(covered, "");
  }
  await page.setViewportSize({ width: 1366, height: 768 });
});
