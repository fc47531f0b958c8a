import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/troubles.js")} */
const { clock, StatusTroubles, toldTroubles, videoTroubles } = await load("core/troubles.js");

for (const [header, text] of /** @type {[string | null, string | undefined][]} */ ([
  ["lost since 2026-11-22T08:35:00+01:00", "No video since 08:35"],
  ["ok", undefined],
  [null, undefined],
  ["lost since yesterday", undefined],
]))
  test(`the pictures' head "${header}" tells ${text}`, () => assert.equal(videoTroubles(header)[0]?.text, text));

test("the status tells since when, and a slow pass now and then is nothing", () => {
  const start = new Date(2026, 10, 22, 8, 35).getTime();
  const troubles = new StatusTroubles();
  /** @param {number} code @param {number} seconds */
  const texts = (code, seconds) => troubles.take(code, new Date(start + 1000 * seconds)).map(({ text }) => text);
  assert.deepEqual(texts(200, 0), []);
  assert.deepEqual(texts(400, 1), ["No inference since 08:35"]);
  assert.deepEqual(texts(400, 90), ["No inference since 08:35"]);
  assert.deepEqual(texts(600, 91), []);
  assert.deepEqual(texts(200, 95), []);
  assert.deepEqual(texts(600, 96), []);
  assert.deepEqual(texts(600, 107), ["The analysis is late since 08:36"]);
});

test("a time of another day has its day", () => {
  const now = new Date(2026, 10, 22, 9, 0);
  assert.equal(clock(new Date(2026, 10, 22, 8, 5), now), "08:05");
  assert.equal(clock(new Date(2026, 10, 21, 8, 5), now), "2026-11-21 08:05");
});

test("who knows best tells: the objects' stream, else the pictures and the status; the agreement has its own bar", () => {
  /** @param {string} kind */
  const trouble = (kind) => ({ kind, text: kind });
  const rest = { video: [trouble("video")], status: [trouble("inference")] };
  /** @param {any} objects */
  const kinds = (objects) => toldTroubles({ objects, ...rest }).map(({ kind }) => kind);
  assert.deepEqual(kinds(null), ["video", "inference"]);
  assert.deepEqual(kinds([]), []);
  assert.deepEqual(kinds([trouble("late"), trouble("agreement"), trouble("store")]), ["late", "store"]);
});
