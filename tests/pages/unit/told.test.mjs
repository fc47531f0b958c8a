import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/told.js")} */
const { Calls, iconFor, titleFor } = await load("core/told.js");

test("title and icon tell of the highest alert, and of nothing that is not known", () => {
  assert.equal(titleFor(false, 0), "Korvex Orvel");
  assert.equal(titleFor(true, null), "• Korvex Orvel");
  assert.equal(titleFor(true, 3), "• Third alert – Korvex Orvel");
  assert.equal(iconFor(0), "icon.svg");
  assert.match(decodeURIComponent(iconFor(2)), /^data:image\/svg\+xml,<svg.*>2<\/text><\/svg>$/);
});

test("a rising alert calls once; an unknown one, a falling one and the first answer do not", () => {
  const calls = new Calls();
  assert.deepEqual(
    [2, null, 2, 3, 3, 1, null, 1, 2, 0, 1].map((highest) => calls.take(highest)),
    [0, 0, 0, 3, 0, 0, 0, 0, 2, 0, 1],
  );
});
