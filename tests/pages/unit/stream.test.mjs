import assert from "node:assert/strict";
import { test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/stream.js")} */
const { Parts } = await load("core/stream.js");

const CONTENTS = ["first", "", "a\r\n\r\n--picture in it", "last"];
const STREAM = Buffer.from(
  CONTENTS.map(
    (content) => `--picture\r\nContent-Type: image/jpeg\r\nContent-Length: ${content.length}\r\n\r\n${content}\r\n`,
  ).join(""),
);

test("a stream's parts are found whole, in whatever pieces it comes", () => {
  for (let size = 1; size <= STREAM.length; size++) {
    const parts = new Parts();
    const found = [];
    for (let at = 0; at < STREAM.length; at += size) found.push(...parts.add(STREAM.subarray(at, at + size)));
    assert.deepEqual(
      found.map((part) => Buffer.from(part).toString()),
      CONTENTS,
      `pieces of ${size}`,
    );
  }
});

test("a part that does not tell its length is an error", () => {
  assert.throws(() => new Parts().add(Buffer.from("--picture\r\nContent-Type: image/jpeg\r\n\r\nx")), /length/);
});
