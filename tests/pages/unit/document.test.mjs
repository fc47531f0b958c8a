import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { valid } from "./example.mjs";
import { html, load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/document.js")} */
const { isSame, serialise, settingsOf } = await load("core/document.js");

/** @type {typeof import("../../../html/js/core/coordinates.js")} */
const { settle } = await load("core/coordinates.js");

test("the document is compact, complete and without empty values", () => {
  const settings = valid();
  settings.texts.SelectedAnonOverlay = "";
  settings.texts.SelectedDetectionOverlay = "a<b&c>";
  const document = serialise(settings);
  assert.doesNotMatch(document, />\s+</);
  assert.doesNotMatch(document, /<(\w+)><\/\1>/);
  assert.match(document, /^<app>.*<\/app>$/);
  assert.match(document, /<SelectedAnonOverlay>0x0</);
  assert.match(document, /<SelectedDetectionOverlay>a&lt;b&amp;c&gt;</);
  const names = [...document.matchAll(/<(\w+)>[^<]/g)].map(([, name]) => name);
  assert.equal(names.length, 67, "all that the application reads");
  assert.equal(new Set(names).size, names.length);
});

test("the pages send every element that the application takes, and no other", () => {
  const table = readFileSync(join(html, "../config/settings.h"), "utf8");
  const rows = [...table.matchAll(/\{"\w+",\s*"(\w+)",\s*&ConfigParams::(\w+)\}/g)];
  assert.ok(rows.length > 30, "the table's rows are found");
  const polygons = new Map([
    ["i_Detection1", 16],
    ["i_Exclusion1", 8],
    ["i_Exclusion2", 8],
    ["i_Exclusion3", 8],
  ]);
  const elements = rows.flatMap(([, element, field]) => {
    const coordinates = polygons.get(field);
    return coordinates === undefined ? [element] : Array.from({ length: coordinates }, (_, i) => `${element}${i}`);
  });
  const sent = [...serialise(valid()).matchAll(/<(\w+)>/g)].map(([, name]) => name);
  assert.deepEqual(sent.filter((name) => name !== "app").sort(), elements.sort());
});

test("a comma for the decimals is understood", () => {
  const settings = valid();
  settings.texts.Sensitivity = " 0,45 ";
  assert.match(serialise(settings), /<Sensitivity>0\.45</);
});

/**
 * What the application tells of a document that it was sent: it keeps pixels, and truncates on both ways.
 * @param {string} document @returns {Record<string, string>}
 */
function toldAgain(document) {
  /** @param {string} name @param {string} value */
  const kept = (name, value) => {
    const index = /^(?:Detection1|Exclusion\d)_(\d+)$/.exec(name)?.[1];
    if (index === undefined) return value;
    const extent = Number(index) % 2 === 0 ? 1280 : 720;
    return String(Math.trunc((Math.trunc((Number(value) * extent) / 100) * 100) / extent));
  };
  const elements = [...document.matchAll(/<(\w+)>([^<]*)<\/\1>/g)];
  return Object.fromEntries(elements.map(([, name, value]) => [name, kept(name, value)]));
}

test("what the application was sent by a page it tells a page again", () => {
  const sent = settle(valid(), { width: 1280, height: 720 });
  const received = settingsOf({ ...toldAgain(serialise(sent)), CamsResAsCsv: "640x360,1280x720," }, false);
  assert.deepEqual(received.settings, sent);
  assert.ok(isSame(received.settings, sent));
  assert.deepEqual(received.analysed, { width: 1280, height: 720 });
  assert.equal(received.sizes.length, 2);
});

test("of a document that lacks everything there are settings all the same", () => {
  const { settings, sizes, analysed } = settingsOf({}, true);
  assert.deepEqual(sizes, []);
  assert.deepEqual(analysed, { width: 720, height: 1280 });
  assert.equal(settings.corners, 4);
  assert.deepEqual([settings.area.length, settings.zones.map((zone) => zone.length)], [8, [4, 4, 4]]);
  assert.ok(Object.values(settings.flags).every((flag) => !flag));
});

for (const [stored, expected] of [
  ["4", 4],
  ["5", 6],
  ["6", 6],
  ["7", 6],
  ["8", 8],
  ["9", 6],
  ["-1", 4],
  ["x", 4],
])
  test(`${stored} stored corners are shown as ${expected}`, () => {
    assert.equal(settingsOf({ DetectionControlPoints: String(stored) }, false).settings.corners, expected);
  });
