import assert from "node:assert/strict";
import { readdirSync, readFileSync, statSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { html, load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/settings.js")} */
const { analysedSize, copyOf, fromFile, isSame, parseSizes, problems, rebased, sendable, serialise, settle, settled, toFile, told, FLAGS, NUMBERS } = await load("settings.js");

/** @returns {import("../../../html/js/settings.js").Settings} */
const valid = () => ({
  flags: Object.fromEntries(FLAGS.map((name, i) => [name, i % 2 === 0])),
  texts: { MinNumberOfPeopleForTrigger: "1", Sensitivity: "0.35", MaxDisappear: "3", Alert1ThreshSeconds: "5", Alert2ThreshSeconds: "10",
    Alert3ThreshSeconds: "15", SelectedDetectionOverlay: "1280x720", SelectedAnonOverlay: "640x360" },
  corners: 6,
  area: Array.from({ length: 8 }, (_, i) => ({ x: 10 + i, y: 90 - i })),
  zones: [0, 1, 2].map((zone) => Array.from({ length: 4 }, (_, i) => ({ x: zone + i, y: 2 * zone + i }))),
});
const sizes = parseSizes("640x360,1280x720,1920x1080,");
const truncate = Math.trunc;

test("saving again stores the same pixels, for every size and every pixel", () => {
  for (const extent of [960, 1024, 1280, 1920, 720, 540, 1080, 333]) {
    /** @param {number} percent */
    const stored = (percent) => truncate((percent * extent) / 100);
    /** @param {number} pixel */
    const read = (pixel) => truncate((pixel * 100) / extent);
    const reachable = new Set(Array.from({ length: 701 }, (_, i) => read(stored(i - 300))));
    for (let pixel = -extent; pixel <= 2 * extent; pixel++) {
      const once = stored(sendable(read(pixel), extent));
      assert.equal(stored(sendable(read(once), extent)), once, `pixel ${pixel} of ${extent}`);
      // Some per cents are read of pixels that no per cent makes; all others are read again.
      if (reachable.has(read(pixel))) assert.equal(read(once), read(pixel), `pixel ${pixel} of ${extent}`);
    }
  }
});

test("a corner that was chosen stays where the first save put it, and that is no more than 1 % away", () => {
  for (const extent of [960, 1024, 1280, 1920, 720, 540, 1080])
    for (let percent = 0; percent <= 100; percent++) {
      const sent = settled(percent, extent);
      const pixel = truncate((sent * extent) / 100);
      assert.equal(sendable(truncate((pixel * 100) / extent), extent), sent, `${percent} % of ${extent}`);
      assert.ok(Math.abs(sent - percent) <= 1, `${percent} % of ${extent} became ${sent} %`);
    }
});

test("settling moves corners and nothing else", () => {
  const settings = valid();
  settings.area[0] = { x: 66, y: 66 };
  const expected = copyOf(settings);
  const result = settle(settings, { width: 1280, height: 720 });
  assert.deepEqual(result.area[0], { x: 65, y: 65 });
  result.area = expected.area;
  result.zones = expected.zones;
  assert.deepEqual(result, expected);
  assert.deepEqual(settings.area[0], { x: 66, y: 66 }, "what is shown stays as it is");
});

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

test("a comma for the decimals is understood", () => {
  const settings = valid();
  settings.texts.Sensitivity = " 0,45 ";
  assert.deepEqual(problems(settings, sizes), {});
  assert.match(serialise(settings), /<Sensitivity>0\.45</);
});

for (const [name, typed, expected] of /** @type {["Sensitivity" | "MaxDisappear", string, string][]} */ ([
  ["Sensitivity", "0,5", "0.50"], ["Sensitivity", ".5", "0.50"], ["Sensitivity", " 0.4500 ", "0.45"], ["Sensitivity", "0.455", "0.455"], ["Sensitivity", "x", "x"],
  ["MaxDisappear", "007", "7"], ["MaxDisappear", "0", "0"], ["MaxDisappear", "-1", "-1"], ["MaxDisappear", "1.0", "1.0"], ["MaxDisappear", "", ""],
]))
  test(`${name} typed as "${typed}" is sent as "${expected}"`, () => assert.equal(told(name, typed), expected));

test("edits stay on top of what another page has saved, and nothing else does", () => {
  const base = valid(), mine = valid(), theirs = valid();
  mine.flags.DetectCars = !base.flags.DetectCars;
  theirs.flags.DetectBoats = !base.flags.DetectBoats;
  mine.texts.MaxDisappear = "mine";
  theirs.texts.MaxDisappear = theirs.texts.Sensitivity = "theirs";
  mine.area[0].x = 50;
  theirs.corners = 8;
  theirs.zones[0][0].x = 60;
  mine.zones[2][3].y = 70;
  const result = rebased(mine, base, theirs);
  const expected = copyOf(theirs);
  expected.flags.DetectCars = mine.flags.DetectCars;
  expected.texts.MaxDisappear = "mine";
  Object.assign(expected, { area: mine.area, corners: mine.corners }); // a shape is taken whole
  expected.zones[2] = mine.zones[2];
  assert.deepEqual(result, expected);
  result.zones[0][0].x = 1;
  assert.equal(theirs.zones[0][0].x, 60, "it shares nothing");
});

for (const [name, text] of /** @type {[string, string][]} */ ([
  ["MinNumberOfPeopleForTrigger", "0"], ["MinNumberOfPeopleForTrigger", "13"], ["MinNumberOfPeopleForTrigger", "1.5"],
  ["Sensitivity", ""], ["Sensitivity", "x"], ["Sensitivity", "1"], ["Sensitivity", "-0.1"], ["Sensitivity", "1e-1"],
  ["MaxDisappear", "-1"], ["MaxDisappear", "3601"], ["MaxDisappear", "99999999999999999999"],
  ["Alert1ThreshSeconds", "0"], ["Alert2ThreshSeconds", "5"], ["Alert3ThreshSeconds", "9"],
  ["SelectedDetectionOverlay", "1x1"],
]))
  test(`${name} "${text}" is told at its field`, () => {
    const settings = valid();
    settings.flags.DetectionOverlaysOn = true;
    settings.texts[name] = text;
    assert.deepEqual(Object.keys(problems(settings, sizes)), [name]);
  });

test("a text that no document can carry is told at its field, in use or not", () => {
  const settings = valid();
  Object.assign(settings.flags, { DetectionOverlaysOn: false, AnonOverlaysOn: false });
  for (const text of ["", "0x0", "a&b", "ü", " \n", "\u{1F697}"]) {
    settings.texts.SelectedAnonOverlay = text;
    assert.deepEqual(problems(settings, sizes), {}, JSON.stringify(text));
  }
  for (const text of ["a\u0001b", "\u0000", "\uFFFF", "\uD800"]) {
    settings.texts.SelectedAnonOverlay = text;
    assert.deepEqual(Object.keys(problems(settings, sizes)), ["SelectedAnonOverlay"], JSON.stringify(text));
  }
});

test("every number at its limits is fine", () => {
  for (const [name, { least, most }] of Object.entries(NUMBERS).filter(([name]) => !name.startsWith("Alert")))
    for (const value of [least, most]) {
      const settings = valid();
      settings.texts[name] = String(value);
      assert.deepEqual(problems(settings, sizes), {}, `${name} ${value}`);
    }
});

test("a file brings back all but the agreement", () => {
  const settings = valid();
  const current = copyOf(settings);
  for (const name of FLAGS) current.flags[name] = !current.flags[name];
  current.corners = 4;
  current.area[0].x = 50;
  const { settings: read, wrong } = fromFile(toFile(settings, "1.0.0"), current, sizes);
  assert.deepEqual(wrong, []);
  assert.ok(read !== null);
  assert.equal(read.flags.Eula, current.flags.Eula);
  read.flags.Eula = settings.flags.Eula;
  assert.ok(isSame(read, settings));
});

test("a camera's own export is taken, whatever lies unused outside its picture", () => {
  const settings = valid();
  Object.assign(settings.flags, { Exclusion1_Active: false, Exclusion2_Active: true, AnonOverlaysOn: false });
  settings.texts.SelectedAnonOverlay = "of another program";
  settings.area[6].x = 163;
  settings.zones[0][3] = { x: -4, y: 163 };
  const { settings: read, wrong } = fromFile(toFile(settings, "1.0.0"), settings, sizes);
  assert.deepEqual(wrong, []);
  assert.ok(read !== null && isSame(read, settings));
  settings.flags.Exclusion1_Active = true;
  assert.match(fromFile(toFile(settings, "1.0.0"), settings, sizes).wrong.join(), /exclusion zones are not/);
});

/** @type {[string, (file: any) => unknown, RegExp][]} */
const BAD_FILES = [
  ["another kind", (file) => ({ ...file, kind: "x" }), /no settings file of Korvex Orvel/],
  ["null", () => null, /no settings file of Korvex Orvel/],
  ["a missing flag", (file) => { delete file.flags.DetectCars; return file; }, /DetectCars is missing/],
  ["a number that is none", (file) => { file.texts.MaxDisappear = "x"; return file; }, /Patience/],
  ["a text that is a list", (file) => { file.texts.Sensitivity = []; return file; }, /Sensitivity is missing or no text/],
  ["a size that is none, though unused", (file) => { file.flags.AnonOverlaysOn = false; file.texts.SelectedAnonOverlay = "x".repeat(9); return file; },
    /SelectedAnonOverlay is no stream size/],
  ["an unused corner far away", (file) => { file.area[7].x = 1e9; return file; }, /area is not eight corners/],
  ["five corners", (file) => ({ ...file, corners: 5 }), /4, 6 or 8/],
  ["an area outside", (file) => { file.area[3].x = 101; return file; }, /area is not eight corners/],
  ["an area of seven", (file) => { file.area.pop(); return file; }, /area is not eight corners/],
  ["a zone of null", (file) => { file.zones[1] = null; return file; }, /exclusion zones are not/],
  ["a corner of half per cents", (file) => { file.zones[0][0].y = 0.5; return file; }, /exclusion zones are not/],
];
for (const [what, spoil, expected] of BAD_FILES)
  test(`a file with ${what} is refused in a sentence`, () => {
    const file = JSON.stringify(spoil(JSON.parse(toFile(valid(), "1.0.0"))));
    const { settings, wrong } = fromFile(file, valid(), sizes);
    assert.equal(settings, null);
    assert.match(wrong.join(" "), expected);
  });

test("a file that is no JSON is refused in a sentence", () => {
  assert.match(fromFile("<app>", valid(), sizes).wrong[0], /not JSON/);
});

const tests = join(html, "../tests");
const analysed = readFileSync(join(tests, "support/analysed_sizes.txt"), "utf8").split("\n").filter((line) => line.includes(" -> "));
for (const [offered, expected] of analysed.map((line) => line.split(" -> ")))
  test(`of "${offered}" ${expected} is analysed`, () => {
    const { width, height } = analysedSize(parseSizes(`${offered},`), false);
    assert.equal(`${width}x${height}`, expected);
    assert.deepEqual(analysedSize(parseSizes(`${offered},`), true), { width: height, height: width });
  });

for (const csv of ["640x360,", ""])
  test(`of "${csv}" nothing fits, and the pages go by the usual size`, () => {
    assert.deepEqual(analysedSize(parseSizes(csv), false), { width: 1280, height: 720 });
  });

test("the pages send every element that the application takes, and no other", () => {
  const table = readFileSync(join(html, "../config/settings.h"), "utf8");
  const rows = [...table.matchAll(/\{"\w+",\s*"(\w+)",\s*&ConfigParams::(\w+)\}/g)];
  assert.ok(rows.length > 30, "the table's rows are found");
  const coordinates = { i_Detection1: 16, i_Exclusion1: 8, i_Exclusion2: 8, i_Exclusion3: 8 };
  const elements = rows.flatMap(([, element, field]) => {
    const count = coordinates[/** @type {keyof typeof coordinates} */ (field)];
    return count === undefined ? [element] : Array.from({ length: count }, (_, i) => `${element}${i}`);
  });
  const sent = [...serialise(valid()).matchAll(/<(\w+)>/g)].map(([, name]) => name).filter((name) => name !== "app");
  assert.deepEqual(sent.sort(), elements.sort());
});

test("the pages and the package are of one version", () => {
  const page = /<meta name="application-version" content="([^"]*)">/.exec(readFileSync(join(html, "index.html"), "utf8"));
  const manifest = JSON.parse(readFileSync(join(html, "../package/manifest.json"), "utf8"));
  assert.equal(page?.[1], manifest.version);
});

test("all of the pages have less than 150 KB", () => {
  /** @param {string} folder @returns {number} */
  const sizeOf = (folder) => readdirSync(folder, { withFileTypes: true }).reduce((sum, entry) =>
    sum + (entry.isDirectory() ? sizeOf(join(folder, entry.name)) : statSync(join(folder, entry.name)).size), 0);
  assert.ok(sizeOf(html) < 150000, `${sizeOf(html)} bytes`);
});
