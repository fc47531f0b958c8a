import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";
import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/endpoint.js")} */
const endpoint = await load("core/endpoint.js");

/** By action a status and a body; all else is 200 and empty. @type {Record<string, [number, string]>} */
let answers = {};
/** What the net does instead of answering. @type {Error | null} */
let broken = null;
/** @type {{action: string | null, init: RequestInit | undefined}[]} */
let asked = [];

globalThis.fetch = async (/** @type {URL | RequestInfo} */ address, /** @type {RequestInit | undefined} */ init) => {
  const action = new URL(String(address), "http://camera/").searchParams.get("action");
  asked.push({ action, init });
  if (broken !== null) throw broken;
  const [status, body] = answers[action ?? ""] ?? [200, ""];
  return new Response(body, { status });
};

beforeEach(() => {
  [answers, broken, asked] = [{}, null, []];
});

/** @param {string} name */
const named = (name) => Object.assign(new Error(), { name });
const save = () => endpoint.postDocument("<app></app>");
const read = () => endpoint.readDocument();

for (const [
  act,
  what,
  status,
  message,
  isUncertain,
] of /** @type {[() => Promise<unknown>, string, number, RegExp, boolean][]} */ ([
  [read, "reading", 404, /answered with an error \(404\)/, false],
  [read, "reading", 500, /does not answer/, true],
  [read, "reading", 503, /does not answer/, false],
  [read, "reading", 401, /log in/, false],
  [save, "saving", 400, /could not read the settings \(400\)/, false],
  [save, "saving", 401, /log in/, false],
  [save, "saving", 403, /log in/, false],
  [save, "saving", 413, /larger than the camera takes \(413\)/, false],
  [save, "saving", 500, /stopped in the middle/, true],
  [save, "saving", 502, /does not answer/, true],
  [save, "saving", 503, /does not answer/, false],
  [save, "saving", 504, /does not answer/, true],
]))
  test(`${what} that is answered by ${status} says what to do, and ${isUncertain ? "not" : "surely"} that nothing was done`, async () => {
    answers = { get_all_parameters: [status, ""], set_post_parameters: [status, ""] };
    await assert.rejects(act, (/** @type {Error & {isUncertain: boolean}} */ refusal) => {
      assert.match(refusal.message, message);
      assert.equal(refusal.isUncertain, isUncertain);
      return true;
    });
  });

for (const [name, message] of /** @type {[string, RegExp][]} */ ([
  ["TimeoutError", /^No answer from the camera within 65 seconds/],
  ["TypeError", /^No connection to the camera/],
]))
  test(`a save that ends with a ${name} may be done`, async () => {
    broken = named(name);
    await assert.rejects(save, { message, isUncertain: true });
  });

test("a save is posted as a document, and nothing of it is kept", async () => {
  await save();
  assert.equal(asked[0].action, "set_post_parameters");
  const { method, body, cache, headers } = asked[0].init ?? {};
  assert.deepEqual([method, body, cache], ["POST", "<app></app>", "no-store"]);
  assert.deepEqual(headers, { "Content-Type": "text/xml" });
});

test("the status is asked for in two requests, one after the other, and none for its words", async () => {
  answers = {
    get_status_code: [200, "502"],
    get_execution_time: [200, "77"],
  };
  assert.deepEqual(await endpoint.readStatus(), { code: 502, time: 77 });
  assert.deepEqual(
    asked.map(({ action }) => action),
    ["get_status_code", "get_execution_time"],
  );
  answers.get_execution_time = [200, ""];
  await assert.rejects(endpoint.readStatus(), /gave no status/);
});

for (const [body, isPortrait] of /** @type {[string, boolean][]} */ ([
  ["1", true],
  ["0", false],
  ["", false],
]))
  test(`a camera that answers "${body}" is ${isPortrait ? "turned" : "as it lies"}`, async () => {
    answers.get_is_portrait = [200, body];
    assert.equal(await endpoint.readIsPortrait(), isPortrait);
  });
