// A page as it is seen: kept as a picture, looked through by axe-core, and without anything beyond the screen's side.

import assert from "node:assert/strict";
import { mkdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const pictures = join(process.env.KORVEX_BUILD_DIR ?? ".", "pages");
mkdirSync(pictures, { recursive: true });

/** @param {import("playwright-core").Page} page @param {string} name */
export async function look(page, name) {
  await page.screenshot({ path: join(pictures, `${name}.png`) });
  // Against the screen: a phone's window grows with what is too wide for it.
  const beyond = (await page.evaluate(() => document.documentElement.scrollWidth)) - (page.viewportSize()?.width ?? 0);
  assert.ok(beyond <= 0, `${name} is ${beyond} pixels wider than its screen`);
  await page.evaluate(AXE);
  const { violations } = await page.evaluate(() => /** @type {any} */ (window).axe.run());
  assert.deepEqual(
    violations.map(
      (/** @type {any} */ found) =>
        `${name}: ${found.id}: ${found.nodes.map((/** @type {any} */ node) => node.html).join(" ")}`,
    ),
    [],
  );
}
