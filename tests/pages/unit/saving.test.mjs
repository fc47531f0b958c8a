import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { failure, FakeCamera } from "./fake_camera.mjs";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/store.js")} */
const { Store } = await load("core/store.js");
/** @type {typeof import("../../../html/js/core/saving.js")} */
const { Saving } = await load("core/saving.js");

let camera = new FakeCamera();
let store = new Store();
let saving = new Saving(store, camera);
/** The phases that were told of, each once. @type {string[]} */
let phases = [];

/** @param {string} seconds */
const edit = (seconds) => store.edit((settings) => Object.assign(settings.texts, { MaxDisappear: seconds }));
const seconds = () => camera.settings.texts.MaxDisappear;

beforeEach(async () => {
  camera = new FakeCamera();
  store = new Store();
  saving = new Saving(store, camera);
  await saving.load();
  phases = [];
  saving.addEventListener("change", () => {
    if (phases.at(-1) !== saving.phase) phases.push(saving.phase);
  });
  edit("7");
  phases = [];
});

test("what is loaded is shown, and told of when all of it is taken over", async () => {
  const fresh = new Store();
  const loading = new Saving(fresh, camera);
  let loads = 0;
  loading.addEventListener("load", () => {
    loads += 1;
    assert.equal(fresh.saved?.texts.MaxDisappear, "3");
    assert.equal(fresh.sizes.length, 3);
  });
  assert.equal(await loading.save(), false, "before that there is nothing to save");
  await loading.load();
  assert.equal(loads, 1);
  assert.equal(fresh.isChanged, false);
});

test("a save asks, posts, and rests", async () => {
  assert.equal(await saving.save(), true);
  assert.deepEqual(phases, ["asking", "posting", "resting"]);
  assert.deepEqual(saving.result, { text: "Saved.", kind: "good" });
  assert.equal(seconds(), "7");
  assert.equal(store.isChanged, false);
});

test("where nobody answers nothing is sent", async () => {
  camera.isGone = true;
  assert.equal(await saving.save(), false);
  assert.deepEqual(phases, ["asking", "resting"]);
  assert.deepEqual(saving.result, { text: "Not saved. No connection.", kind: "bad" });
  assert.deepEqual(camera.posts, []);
  assert.ok(store.isChanged);
});

for (const [what, isUncertain, isDone, text] of /** @type {[string, boolean, boolean, string][]} */ ([
  ["that is refused is not saved", false, false, "Not saved. Broken."],
  ["that is refused is not taken for saved, though another page has saved the same", false, true, "Not saved. Broken."],
  ["whose answer is lost is not saved, where the application does not have it", true, false, "Not saved. Broken."],
  ["whose answer is lost is saved, where the application has it", true, true, "Saved."],
]))
  test(`a save ${what}`, async () => {
    Object.assign(camera, { failure: failure("Broken.", isUncertain), isDone });
    assert.equal(await saving.save(), text === "Saved.");
    assert.deepEqual(phases, ["asking", "posting", "examining", "resting"]);
    assert.equal(saving.result.text, text);
    assert.equal(store.isChanged, !isDone);
  });

/** A save of which nothing is heard, neither at once nor when it is looked after. @param {boolean} isDone @param {boolean} [isUncertain] */
async function saveUnheard(isDone, isUncertain = true) {
  Object.assign(camera, { failure: failure("Broken.", isUncertain), isDone });
  const { writeSettings } = camera;
  camera.writeSettings = (sent) => {
    camera.isGone = true;
    return writeSettings.call(camera, sent);
  };
  assert.equal(await saving.save(), false);
  camera.writeSettings = writeSettings;
  camera.failure = null;
}

test("a save of which nothing was heard is uncertain, until it is known to be done", async () => {
  await saveUnheard(true);
  assert.deepEqual(phases, ["asking", "posting", "examining", "uncertain"]);
  assert.equal(saving.result.text, "Not saved, as far as is known. Broken.");
  await assert.rejects(saving.load());
  assert.equal(saving.phase, "uncertain");
  camera.isGone = false;
  await saving.load();
  assert.equal(saving.phase, "resting");
  assert.deepEqual(saving.result, { text: "Saved.", kind: "good" });
  assert.equal(store.isChanged, false);
});

test("or not to be done", async () => {
  await saveUnheard(false);
  camera.isGone = false;
  await saving.load();
  assert.equal(saving.phase, "resting");
  assert.match(saving.result.text, /^The last save did not get through\./);
  assert.equal(store.edited?.texts.MaxDisappear, "7");
});

test("or to be done by another page that has changed more", async () => {
  await saveUnheard(true);
  camera.isGone = false;
  camera.saveElsewhere({ MinNumberOfPeopleForTrigger: "9" });
  await saving.load();
  assert.deepEqual(saving.result, { text: "Saved.", kind: "good" });
  assert.equal(store.edited?.texts.MinNumberOfPeopleForTrigger, "9");
});

test("a save that was refused is not uncertain, though nothing is heard any more", async () => {
  await saveUnheard(false, false);
  assert.equal(saving.phase, "resting");
  assert.equal(saving.result.text, "Not saved. Broken.");
});

test("what is edited while a save is uncertain stays", async () => {
  await saveUnheard(true);
  store.edit((settings) => Object.assign(settings.texts, { Sensitivity: "0.5" }));
  camera.isGone = false;
  await saving.load();
  assert.equal(store.saved?.texts.MaxDisappear, "7");
  assert.equal(store.edited?.texts.Sensitivity, "0.5");
  assert.equal(saving.result.text, "");
});

test("an uncertain save is followed by another, and stays uncertain where that gets no answer", async () => {
  await saveUnheard(false);
  phases = [];
  assert.equal(await saving.save(), false);
  assert.deepEqual(phases, ["asking", "uncertain"]);
  camera.isGone = false;
  assert.equal(await saving.save(), true);
  assert.equal(saving.phase, "resting");
  assert.equal(seconds(), "7");
});

test("what another page has saved is not overwritten unseen", async () => {
  camera.saveElsewhere({ MaxDisappear: "20", Sensitivity: "0.50" });
  assert.equal(await saving.save(), false);
  assert.deepEqual(phases, ["asking", "resting"]);
  assert.match(saving.result.text, /^Not saved: the settings have been changed elsewhere meanwhile/);
  assert.deepEqual([store.edited?.texts.MaxDisappear, store.edited?.texts.Sensitivity], ["7", "0.50"]);
  assert.equal(await saving.save(), true);
  assert.deepEqual([seconds(), camera.settings.texts.Sensitivity], ["7", "0.50"]);
});

test("the same change by another page is no reason to save", async () => {
  camera.saveElsewhere({ MaxDisappear: "7" });
  assert.equal(await saving.save(), false);
  assert.deepEqual(saving.result, { text: "Saved already, by another page.", kind: "good" });
  assert.deepEqual(camera.posts, []);
});

test("what is edited while a save runs is neither sent nor lost, and nothing else is begun", async () => {
  const release = camera.hold();
  const saved = saving.save();
  assert.ok(saving.isSaving);
  edit("x");
  assert.equal(await saving.save(), false);
  await saving.load();
  assert.ok(saving.isSaving);
  release();
  assert.equal(await saved, true);
  assert.equal(camera.posts.length, 1);
  assert.equal(seconds(), "7");
  assert.equal(store.edited?.texts.MaxDisappear, "x");
  assert.equal(saving.result.text, "", "what is edited now is not saved");
});

test("what was read before a save is not shown after it", async () => {
  const release = camera.hold();
  const loaded = saving.load();
  camera.held = Promise.resolve();
  assert.equal(await saving.save(), true);
  release();
  await loaded;
  assert.equal(store.saved?.texts.MaxDisappear, "7");
  assert.equal(saving.result.text, "Saved.");
});

test("what the application keeps differently is shown, and told of", async () => {
  camera.keep = (sent) => ({ ...sent, texts: { ...sent.texts, MaxDisappear: "6" } });
  assert.equal(await saving.save(), true);
  assert.match(saving.result.text, /^Saved\. The application keeps some values a little differently/);
  assert.equal(store.edited?.texts.MaxDisappear, "6");
});

test("saved is saved, though it cannot be read back", async () => {
  camera.keep = (sent) => {
    camera.isGone = true;
    return sent;
  };
  assert.equal(await saving.save(), true);
  assert.equal(saving.result.text, "Saved.");
  assert.equal(store.isChanged, false);
});

for (const storing of /** @type {("lost" | "unknown")[]} */ (["lost", "unknown"]))
  test(`a save that is ${storing} to the storage is warned of until another one is stored`, async () => {
    camera.storing = storing;
    assert.equal(await saving.save(), true);
    assert.match(saving.warning, storing === "lost" ? /could not store them/ : /may not have stored them/);
    assert.match(saving.result.text, /^In use, but not stored/);
    await saving.load();
    edit("8");
    assert.notEqual(saving.warning, "");
    assert.equal(saving.result.text, "");
    camera.storing = null;
    await saving.save();
    assert.notEqual(saving.warning, "", "of this one it is not known");
    camera.storing = "stored";
    edit("9");
    await saving.save();
    assert.equal(saving.warning, "");
    assert.equal(saving.result.text, "Saved.");
  });

test("where it cannot be asked whether a save is stored, that is told", async () => {
  camera.storing = null;
  assert.equal(await saving.save(), true);
  assert.deepEqual(saving.result, {
    text: "Saved. Whether it is stored as well could not be asked.",
    kind: "good",
  });
  assert.equal(saving.warning, "");
});

test("a warning ends with the application's next start", async () => {
  camera.storing = "lost";
  await saving.save();
  camera.isStartedAnew = true;
  await saving.load();
  assert.equal(saving.warning, "");
  assert.match(saving.result.text, /^The application has started anew, without what it could not store/);
});

test("what is saved is told while nothing else is edited", async () => {
  await saving.save();
  await saving.load();
  assert.equal(saving.result.text, "Saved.");
});

test("a result is over with the next edit, and with a load unless it is to be kept", async () => {
  camera.failure = failure("Broken.", false);
  await saving.save();
  await saving.load(true);
  assert.equal(saving.result.text, "Not saved. Broken.");
  await saving.load();
  assert.equal(saving.result.text, "");
  await saving.save();
  edit("8");
  assert.equal(saving.result.text, "");
});

test("the agreement is saved alone, and undo does not take it back", async () => {
  camera.settings.flags.Eula = false;
  await saving.load();
  assert.equal(store.isAccepted, false);
  assert.equal(await saving.acceptAgreement(), true);
  assert.ok(store.isAccepted);
  assert.equal(seconds(), "3");
  assert.equal(store.edited?.texts.MaxDisappear, "7");
  store.undo();
  assert.ok(store.edited?.flags.Eula);
  assert.equal(store.isChanged, false);
});
