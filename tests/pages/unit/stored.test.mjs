import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { load } from "./modules.mjs";

const STARTED = "2026-01-31 09:00:00|korvex_orvel|warning|STARTING korvex_orvel\n";
const RESTARTED = STARTED.replace("09:", "10:");
const FAILED = [
  "set_guint_parameter: Failed to save HStream",
  "set_string_parameter: Failed to save SelectedAnonOverlay with 0x0",
]
  .map((message) => `2026-01-31 09:30:00|korvex_orvel|error|${message}\n`)
  .join("");
const ASKED = "2026-01-31 09:30:00|korvex_orvel|info|processGET: get_logfile_as_plain_text\n";

/** What the application's log is, and whether it can write it. */
let log = "",
  isFull = false,
  asked = 0;
globalThis.fetch = async () => {
  asked += 1;
  if (!isFull) log += ASKED;
  return new Response(log);
};

/** @type {typeof import("../../../html/js/core/stored.js")} */
let stored;
beforeEach(async () => {
  [log, isFull, asked] = [STARTED, false, 0];
  stored = await load("core/stored.js");
});

test("a save of which the log says nothing bad is stored, and the log is asked once for each but the first", async () => {
  assert.equal(await stored.readWhetherStored(), "stored");
  const before = asked;
  assert.equal(await stored.readWhetherStored(), "stored");
  assert.equal(asked - before, 1);
});

test("one that failed is lost, and so are those after it, however long the log", async () => {
  log += FAILED + "2026-01-31 09:30:00|korvex_orvel|info|line\n".repeat(40000);
  assert.equal(await stored.readWhetherStored(), "lost");
  log += FAILED;
  assert.equal(await stored.readWhetherStored(), "lost");
});

test("what failed before the application's last start does not count", async () => {
  log += FAILED + RESTARTED;
  assert.equal(await stored.readWhetherStored(), "stored");
  log += FAILED;
  assert.equal(await stored.readWhetherStored(), "lost");
});

test("in a log that was cleared or cut everything counts", async () => {
  log = FAILED;
  assert.equal(await stored.readWhetherStored(), "lost");
  log = "";
  assert.equal(await stored.readWhetherStored(), "stored");
});

for (const [what, before] of [
  ["that tells of a start", STARTED],
  ["that was cleared", ""],
  ["that ends in the middle of a line", `${STARTED}2026-01-31 09:30:00|korv`],
])
  test(`a log ${what} and cannot be written says nothing of a save`, async () => {
    log = before;
    isFull = true;
    assert.equal(await stored.readWhetherStored(), "unknown");
    isFull = false;
    assert.equal(await stored.readWhetherStored(), "stored");
    isFull = true;
    assert.equal(await stored.readWhetherStored(), "unknown");
  });

test("a new start is known by its line, and a cleared log is none", async () => {
  log += FAILED;
  assert.equal(await stored.readWhetherStored(), "lost");
  assert.equal(await stored.readWhetherStartedAnew(), false);
  log = "";
  assert.equal(await stored.readWhetherStartedAnew(), false);
  log = RESTARTED;
  assert.equal(await stored.readWhetherStartedAnew(), true);
});

test("other lines with such words are no failures of a save", async () => {
  log +=
    "t|korvex_orvel|info|set_guint_parameter: Failed to save x\nt|korvex_orvel|error|get_gint_parameter: Failed to get HStream\n";
  assert.equal(await stored.readWhetherStored(), "stored");
});
