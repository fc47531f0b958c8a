import assert from "node:assert/strict";
import { readdirSync, readFileSync, statSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { html } from "./modules.mjs";

test("the pages and the package are of one version", () => {
  const page = /<meta name="application-version" content="([^"]*)">/.exec(
    readFileSync(join(html, "index.html"), "utf8"),
  );
  const manifest = JSON.parse(readFileSync(join(html, "../package/manifest.json"), "utf8"));
  assert.equal(page?.[1], manifest.version);
});

test("all of the pages have less than 200 KiB", () => {
  /** @param {string} folder @returns {number} */
  const sizeOf = (folder) =>
    readdirSync(folder, { withFileTypes: true }).reduce(
      (sum, entry) =>
        sum + (entry.isDirectory() ? sizeOf(join(folder, entry.name)) : statSync(join(folder, entry.name)).size),
      0,
    );
  assert.ok(sizeOf(html) < 200 * 1024, `${sizeOf(html)} bytes`);
});
