// A password, plain http, https.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { Camera, freePort } from "../support/camera.mjs";
import { ask, digestHeader, STATUS, until } from "../support/http.mjs";
import { Visitor } from "../support/visitor.mjs";
import { file, folder, POST, state } from "./setting.mjs";

test("a password is asked before everything, by digest", async () => {
  const locked = new Camera([
    "--state",
    state,
    "--listen",
    `127.0.0.1:${await freePort()}`,
    "--password-file",
    file("users", "anna:opens: it\r\nbert:b:\n"),
  ]);
  await locked.start();
  try {
    for (const path of [
      "/",
      "/local/korvex_orvel/",
      "/local/korvex_orvel/eula.txt",
      STATUS,
      "/stream/1280x720.jpg",
      "/nothing",
    ])
      assert.equal((await ask(locked.address, path)).status, 401, path);
    assert.equal((await ask(locked.address, POST, { method: "POST", body: "<app" })).status, 401);
    const challenge = String((await ask(locked.address, STATUS)).headers["www-authenticate"]);
    assert.match(challenge, /^Digest realm="Korvex Orvel"/);
    /** @param {string} path @param {string} user @param {string} password */
    const status = async (path, user, password) =>
      (await ask(locked.address, path, { headers: { Authorization: digestHeader(challenge, path, user, password) } }))
        .status;
    await until(async () => (await status(STATUS, "anna", "opens: it")) === 200, "the endpoint");
    assert.equal(await status("/stream/1280x720.jpg", "bert", "b:"), 200);
    assert.equal(await status(STATUS, "anna", "b"), 401);
    assert.equal(await status(STATUS, "nobody", ""), 401);
    assert.doesNotMatch(
      readFileSync(join(state, "html", "web_users"), "utf8"),
      /opens/,
      "the password itself is not kept",
    );

    const browser = await openBrowser();
    const context = await browser.newContext({ httpCredentials: { username: "anna", password: "opens: it" } });
    const visitor = new Visitor(await context.newPage());
    await visitor.page.goto(locked.address);
    await visitor.waitForPicture();
    await browser.close();
  } finally {
    await locked.stop();
  }
});

test("over plain http a browser is let through with our page alone, where it does not say what caused a request", async () => {
  const [mine, listen] = [await freePort(), "127.0.0.2"];
  const far = new Camera(["--state", state, "--listen", `${listen}:${mine}`]);
  try {
    await far.startAnswering();
    const browserName = { "User-Agent": "Mozilla/5.0 (X11)" },
      [ours, other] = [`http://${listen}:${mine}/local/korvex_orvel/`, "http://example.org/"];
    /** @type {[Record<string, string>, string, number][]} */
    const asked = [
      [{}, STATUS, 200],
      [{ Referer: ours }, STATUS, 200],
      [{ ...browserName, Referer: ours }, STATUS, 200],
      [browserName, STATUS, 403],
      [{ ...browserName, Referer: other }, STATUS, 403],
      [{ Referer: other }, STATUS, 403],
      [{ ...browserName, Referer: `http://${listen}:${mine}.example.org/` }, STATUS, 403],
      [{ ...browserName, Referer: `${other}?${ours}` }, STATUS, 403],
      [browserName, "/local/korvex_orvel/", 200],
      [browserName, "/stream/1280x720.jpg", 200],
      [{ ...browserName, Referer: other }, "/local/korvex_orvel/", 403],
      [{ ...browserName, Referer: other }, "/stream/1280x720.jpg", 403],
      [{ ...browserName, Referer: ours, "Sec-Fetch-Site": "cross-site" }, STATUS, 403],
    ];
    for (const [headers, path, expected] of asked)
      assert.equal((await ask(far.address, path, { headers })).status, expected, `${path} ${JSON.stringify(headers)}`);

    const browser = await openBrowser();
    const visitor = new Visitor(await browser.newPage());
    await visitor.page.goto(far.address);
    await visitor.waitForText("status-code", /^\d+$/);
    await browser.close();
  } finally {
    await far.stop();
  }
});

test("with a certificate it is https, and the password basic", async () => {
  const [key, certificate] = [join(folder, "key.pem"), join(folder, "certificate.pem")];
  execFileSync(
    "openssl",
    [
      "req",
      "-x509",
      "-newkey",
      "ec",
      "-pkeyopt",
      "ec_paramgen_curve:prime256v1",
      "-nodes",
      "-days",
      "2",
      "-subj",
      "/CN=localhost",
      "-keyout",
      key,
      "-out",
      certificate,
    ],
    { stdio: "ignore" },
  );
  const pem = file("both.pem", readFileSync(key, "utf8") + readFileSync(certificate, "utf8"));
  const hash = execFileSync("openssl", ["passwd", "-apr1", "secret"], { encoding: "utf8" }).trim();
  const locked = new Camera([
    "--state",
    state,
    "--listen",
    `127.0.0.1:${await freePort()}`,
    "--certificate",
    pem,
    "--password-file",
    file("hashes", `anna:${hash}\n`),
  ]);
  const Authorization = `Basic ${Buffer.from("anna:secret").toString("base64")}`;
  try {
    await locked.startAnswering({ Authorization });
    assert.match(locked.address, /^https:/);
    assert.equal((await ask(locked.address, STATUS, { headers: { Authorization } })).status, 200);
    const denied = await ask(locked.address, STATUS);
    assert.equal(denied.status, 401);
    assert.match(String(denied.headers["www-authenticate"]), /^Basic realm="Korvex Orvel"/);
    const wrong = { Authorization: `Basic ${Buffer.from("anna:wrong").toString("base64")}` };
    assert.equal((await ask(locked.address, STATUS, { headers: wrong })).status, 401);
  } finally {
    await locked.stop();
  }
});
