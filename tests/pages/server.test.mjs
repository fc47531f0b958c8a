// What the web server lets through, and what not. Each case goes through ./run's own lighttpd.

import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { createServer as createPageServer } from "node:http";
import { createServer, connect } from "node:net";
import { existsSync, readdirSync, readFileSync, readlinkSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { openBrowser } from "./support/browser.mjs";
import { Camera, freePort, root, scratchFolder } from "./support/camera.mjs";
import { ask, digestHeader, ENDPOINT, until } from "./support/http.mjs";
import { LIMIT_S } from "./support/limit.mjs";
import { Visitor } from "./support/visitor.mjs";

const folder = scratchFolder("server");
const state = join(folder, "state");
const port = await freePort();
const camera = new Camera(["--state", state, "--listen", `127.0.0.1:${port}`, "--accept-eula", "--set", "MainLoopTime=1000"]);
const STATUS = `${ENDPOINT}?action=get_status_code`;
const POST = `${ENDPOINT}?action=set_post_parameters`;

/** @param {Camera} started @param {Record<string, string>} [headers] */
const answers = (started, headers) => until(async () => (await ask(started.address, STATUS, { headers })).status === 200, "the endpoint");

before(async () => {
  await camera.start();
  await answers(camera);
});
after(() => camera.stop());

test("the address leads to the pages", async () => {
  const { status, headers } = await ask(camera.address, "/");
  assert.equal(status, 302);
  assert.equal(headers.location, "/local/korvex_orvel/");
});

for (const path of ["/local/korvex_orvel/", "/local/korvex_orvel/js/main.js", STATUS, "/stream/1280x720.jpg", "/nothing"])
  test(`${path} says who may use it`, async () => {
    const { headers } = await ask(camera.address, path);
    const policy = String(headers["content-security-policy"]);
    for (const rule of ["default-src 'none'", "script-src 'self'", "frame-ancestors 'none'", "base-uri 'none'"]) assert.ok(policy.includes(rule), policy);
    assert.doesNotMatch(policy, /unsafe|\*/);
    assert.equal(headers["x-content-type-options"], "nosniff");
    assert.equal(headers["x-frame-options"], "DENY");
    assert.equal(headers["cross-origin-resource-policy"], "same-origin");
    assert.equal(headers["referrer-policy"], "same-origin");
    assert.match(String(headers["cache-control"]), path.startsWith("/stream") || path === STATUS ? /^no-store$/ : /^no-cache$/);
    assert.equal(headers.server, undefined);
  });

test("only the pages are files: no folder above them, no list, no state", async () => {
  for (const path of ["/local/korvex_orvel/../run", "/local/korvex_orvel/%2e%2e/run", "/local/korvex_orvel/js/", "/run", "/web_server.log", "/parameters.sqlite"])
    assert.ok([400, 403, 404].includes((await ask(camera.address, path)).status), path);
});

/** @type {[string, Record<string, string>, number][]} */
const CALLERS = [
  ["no browser", {}, 200],
  ["typed by hand", { "Sec-Fetch-Site": "none" }, 200],
  ["our page", { "Sec-Fetch-Site": "same-origin", Origin: `http://127.0.0.1:${port}` }, 200],
  ["our page by name", { Host: `localhost:${port}`, Origin: `http://localhost:${port}` }, 200],
  ["another site's page", { "Sec-Fetch-Site": "cross-site" }, 403],
  ["a neighbour's page", { "Sec-Fetch-Site": "same-site" }, 403],
  ["a word that is none", { "Sec-Fetch-Site": "same-origin, cross-site" }, 403],
  ["another origin", { Origin: "http://example.org" }, 403],
  ["another port's origin", { Origin: "http://127.0.0.1:1" }, 403],
  ["https in front of our name", { Origin: `https://127.0.0.1:${port}` }, 403],
  ["our name as a beginning", { Origin: `http://127.0.0.1:${port}.example.org` }, 403],
  ["a page in a sandbox", { Origin: "null" }, 403],
  ["a name made to point here", { Host: `example.org:${port}` }, 403],
  ["a name without its port", { Host: "127.0.0.1" }, 403],
  ["dots that are any letter", { Host: `127x0x0x1:${port}` }, 403],
];
for (const [who, headers, expected] of CALLERS)
  test(`${who} gets ${expected}, for everything`, async () => {
    for (const path of [STATUS, "/local/korvex_orvel/", "/stream/1280x720.jpg"])
      assert.equal((await ask(camera.address, path, { headers })).status, expected, path);
    const posted = await ask(camera.address, POST, { method: "POST", headers, body: "<app" });
    assert.equal(posted.status, expected === 200 ? 400 : 403);
  });

test("a foreign page's request does not clear the log", async () => {
  await ask(camera.address, `${ENDPOINT}?action=clear_logfile`, { headers: { "Sec-Fetch-Site": "cross-site" } });
  assert.match((await ask(camera.address, `${ENDPOINT}?action=get_logfile_as_plain_text`)).body, /STARTING/);
});

/** The ports of this machine on which something listens that runs in the state folder. */
function openPorts() {
  /** @param {string} path */
  const target = (path) => { try { return readlinkSync(path); } catch { return ""; } };
  /** @param {string} path */
  const list = (path) => { try { return readdirSync(path); } catch { return []; } };
  const ours = list("/proc").filter((pid) => /^\d+$/.test(pid) && target(`/proc/${pid}/cwd`).startsWith(state));
  const sockets = new Set(ours.flatMap((pid) => list(`/proc/${pid}/fd`).map((fd) => target(`/proc/${pid}/fd/${fd}`))));
  const listening = readFileSync("/proc/net/tcp", "utf8").trim().split("\n").map((line) => line.trim().split(/\s+/))
    .filter((fields) => fields[3] === "0A" && sockets.has(`socket:[${fields[9]}]`));
  return listening.map((fields) => parseInt(fields[1].split(":")[1], 16));
}

test("another site's page sees nothing in a browser, whatever it tries, nor does a name that was made to point here", async () => {
  const site = createPageServer((_, answer) => answer.setHeader("Content-Type", "text/html").end("<!DOCTYPE html><title>Elsewhere</title>"));
  await new Promise((resolve) => { site.listen(0, "127.0.0.1", () => resolve(undefined)); });
  const { port: sitePort } = /** @type {import("node:net").AddressInfo} */ (site.address());
  const browser = await openBrowser(["--host-resolver-rules=MAP elsewhere.test 127.0.0.1"]);
  try {
    const ports = openPorts();
    assert.ok(ports.includes(port));
    for (const [host, open] of ["elsewhere.test", "127.0.0.1"].flatMap((host) => ports.map((open) => /** @type {[string, number]} */ ([host, open])))) {
      const page = await browser.newPage();
      await page.goto(`http://${host}:${sitePort}/`);
      const seen = await page.evaluate(async ([address, status, clear]) => {
        /** @param {string} tag @param {string} path */
        const loads = (tag, path) => new Promise((resolve) => {
          const element = /** @type {HTMLImageElement} */ (document.createElement(tag));
          element.onload = () => resolve(true);
          element.onerror = () => resolve(false);
          element.src = address + path;
          document.body.append(element);
        });
        /** @param {string} path @param {RequestInit} [init] */
        const fetches = (path, init) => fetch(address + path, init).then(() => true, () => false);
        return {
          picture: await loads("img", "stream/640x360.jpg"), stream: await loads("img", "stream/640x360.mjpg"),
          script: await loads("script", "local/korvex_orvel/js/main.js"),
          status: await fetches(status), blind: await fetches(clear, { mode: "no-cors" }),
          post: await fetches(status, { mode: "no-cors", method: "POST", body: "<app" }),
        };
      }, [`http://127.0.0.1:${open}/`, STATUS.slice(1), `${ENDPOINT.slice(1)}?action=clear_logfile`]);
      for (const [what, isSeen] of Object.entries(seen)) assert.equal(isSeen, false, `${what} of port ${open} from ${host}`);
      await page.close();
    }
    const page = await browser.newPage();
    assert.equal((await page.goto(`http://elsewhere.test:${port}/local/korvex_orvel/`))?.status(), 403);
    for (const path of ["/stream/640x360.jpg", STATUS])
      assert.equal(await page.evaluate(async (asked) => (await fetch(asked)).status, path), 403, path);
    assert.match((await ask(camera.address, `${ENDPOINT}?action=get_logfile_as_plain_text`)).body, /STARTING/);
  } finally {
    await browser.close();
    site.close();
  }
});

test("64 KiB may be sent, and no more", async () => {
  assert.equal((await ask(camera.address, POST, { method: "POST", body: "x".repeat(65536) })).status, 400);
  assert.equal((await ask(camera.address, POST, { method: "POST", body: "x".repeat(65537) })).status, 413);
  const chunked = { method: "POST", headers: { "Transfer-Encoding": "chunked" }, body: "x".repeat(70000) };
  assert.equal((await ask(camera.address, POST, chunked)).status, 413);
});

test("a client that sends its body slowly keeps nobody waiting", async () => {
  const slow = connect(port, "127.0.0.1");
  slow.write(`POST ${POST} HTTP/1.1\r\nHost: 127.0.0.1:${port}\r\nContent-Length: 1000\r\n\r\n<app>`);
  await new Promise((resolve) => setTimeout(resolve, 300));
  assert.equal((await ask(camera.address, STATUS)).status, 200);
  slow.destroy();
  assert.equal((await ask(camera.address, STATUS)).status, 200);
});

test("the stream comes as it is made", async () => {
  const { headers, body } = await ask(camera.address, "/stream/640x360.mjpg", { enough: 100000 });
  assert.match(String(headers["content-type"]), /^multipart\/x-mixed-replace/);
  assert.ok((body.match(/Content-Type: image\/jpeg/gi) ?? []).length >= 2);
});

test("viewers that take nothing fill no memory", async () => {
  const pid = readFileSync(join(state, "web_server.pid"), "utf8").trim();
  const resident = () => Number(/VmRSS:\s+(\d+)/.exec(readFileSync(`/proc/${pid}/status`, "utf8"))?.[1]);
  const before = resident();
  const viewers = Array.from({ length: 6 }, () => {
    const viewer = connect(port, "127.0.0.1");
    viewer.write(`GET /stream/1280x720.mjpg HTTP/1.1\r\nHost: 127.0.0.1:${port}\r\n\r\n`);
    return viewer.pause();
  });
  await new Promise((resolve) => setTimeout(resolve, 4000));
  const grown = resident() - before;
  for (const viewer of viewers) viewer.destroy();
  assert.ok(grown < 8192, `the server grew by ${grown} kB`);
});

test("all of it ends with ./run, within a second beyond the running pass", async () => {
  const pid = readFileSync(join(state, "web_server.pid"), "utf8").trim();
  assert.equal(await camera.stop(), 0);
  assert.throws(() => process.kill(Number(pid), 0), "the web server is gone");
  await assert.rejects(ask(camera.address, "/"));
});

/** @param {...string} options @returns {string} what a refused ./run says */
function refused(...options) {
  const { status, stderr } = spawnSync(join(root, "run"), ["--state", join(folder, "refused"), ...options], { encoding: "utf8", timeout: LIMIT_S * 1000 });
  assert.notEqual(status, 0, "it is refused");
  assert.equal(stderr.trim().split("\n").length, 1, stderr);
  return stderr;
}

/** @param {string} name @param {string} text */
function file(name, text) {
  writeFileSync(join(folder, name), text);
  return join(folder, name);
}

test("what cannot be is refused in a sentence", async () => {
  const taken = createServer();
  await new Promise((resolve) => { taken.listen(0, "127.0.0.1", () => resolve(undefined)); });
  const { port: takenPort } = /** @type {import("node:net").AddressInfo} */ (taken.address());
  const said = spawnSync(join(root, "run"), ["--state", join(folder, "refused"), "--listen", `127.0.0.1:${takenPort}`, "--password-file", file("some", "anna:b\n")], { encoding: "utf8" });
  taken.close();
  assert.match(said.stderr, new RegExp(`port ${takenPort} of 127.0.0.1 is taken by another program`));
  assert.equal(said.status, 1);
  assert.ok(!existsSync(join(folder, "refused", "html", "web_users")), "nobody's password stays behind");

  for (const everybody of ["0.0.0.0:8080", "192.0.2.1:8080", "[::]:8080"]) assert.match(refused("--listen", everybody), /give a --password-file/);
  for (const address of ["8080", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:65536", "example.org:80"]) assert.match(refused("--listen", address), /takes ADDR:PORT/);
  assert.match(refused("--password-file", "/no/such"), /no file that can be read/);
  assert.match(refused("--password-file", file("empty", "# nobody\n")), /names no user/);
  assert.match(refused("--password-file", file("bare", "anna\n")), /are to be all user:password/);
  assert.match(refused("--password-file", file("hashed", "anna:$apr1$abcdefgh$abcdefghijklmnopqrstuv\n")), /need a --certificate/);
  assert.match(refused("--certificate", file("no.pem", "nothing")), /a private key and a certificate/);
});

test("a password is asked before everything, by digest", async () => {
  const locked = new Camera(["--state", state, "--listen", `127.0.0.1:${await freePort()}`, "--password-file", file("users", "anna:opens: it\r\nbert:b:\n")]);
  await locked.start();
  try {
    for (const path of ["/", "/local/korvex_orvel/", "/local/korvex_orvel/eula.txt", STATUS, "/stream/1280x720.jpg", "/nothing"])
      assert.equal((await ask(locked.address, path)).status, 401, path);
    assert.equal((await ask(locked.address, POST, { method: "POST", body: "<app" })).status, 401);
    const challenge = String((await ask(locked.address, STATUS)).headers["www-authenticate"]);
    assert.match(challenge, /^Digest realm="Korvex Orvel"/);
    /** @param {string} path @param {string} user @param {string} password */
    const status = async (path, user, password) =>
      (await ask(locked.address, path, { headers: { Authorization: digestHeader(challenge, path, user, password) } })).status;
    await until(async () => await status(STATUS, "anna", "opens: it") === 200, "the endpoint");
    assert.equal(await status("/stream/1280x720.jpg", "bert", "b:"), 200);
    assert.equal(await status(STATUS, "anna", "b"), 401);
    assert.equal(await status(STATUS, "nobody", ""), 401);
    assert.doesNotMatch(readFileSync(join(state, "html", "web_users"), "utf8"), /opens/, "the password itself is not kept");

    const browser = await openBrowser();
    const context = await browser.newContext({ httpCredentials: { username: "anna", password: "opens: it" } });
    const { page } = new Visitor(await context.newPage());
    await page.goto(locked.address);
    await page.waitForFunction(() => /** @type {HTMLImageElement} */ (document.getElementById("picture"))?.naturalWidth > 0);
    await browser.close();
  } finally {
    await locked.stop();
  }
});

test("over plain http a browser is let through with our page alone, where it does not say what caused a request", async () => {
  const [mine, listen] = [await freePort(), "127.0.0.2"];
  const far = new Camera(["--state", state, "--listen", `${listen}:${mine}`]);
  await far.start();
  try {
    await answers(far);
    const browserName = { "User-Agent": "Mozilla/5.0 (X11)" }, [ours, other] = [`http://${listen}:${mine}/local/korvex_orvel/`, "http://example.org/"];
    /** @type {[Record<string, string>, string, number][]} */
    const asked = [
      [{}, STATUS, 200], [{ Referer: ours }, STATUS, 200], [{ ...browserName, Referer: ours }, STATUS, 200],
      [browserName, STATUS, 403], [{ ...browserName, Referer: other }, STATUS, 403], [{ Referer: other }, STATUS, 403],
      [{ ...browserName, Referer: `http://${listen}:${mine}.example.org/` }, STATUS, 403], [{ ...browserName, Referer: `${other}?${ours}` }, STATUS, 403],
      [browserName, "/local/korvex_orvel/", 200], [browserName, "/stream/1280x720.jpg", 200],
      [{ ...browserName, Referer: other }, "/local/korvex_orvel/", 403], [{ ...browserName, Referer: other }, "/stream/1280x720.jpg", 403],
      [{ ...browserName, Referer: ours, "Sec-Fetch-Site": "cross-site" }, STATUS, 403],
    ];
    for (const [headers, path, expected] of asked) assert.equal((await ask(far.address, path, { headers })).status, expected, `${path} ${JSON.stringify(headers)}`);

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
  execFileSync("openssl", ["req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=localhost",
    "-keyout", key, "-out", certificate], { stdio: "ignore" });
  const pem = file("both.pem", readFileSync(key, "utf8") + readFileSync(certificate, "utf8"));
  const hash = execFileSync("openssl", ["passwd", "-apr1", "secret"], { encoding: "utf8" }).trim();
  const locked = new Camera(["--state", state, "--listen", `127.0.0.1:${await freePort()}`, "--certificate", pem, "--password-file", file("hashes", `anna:${hash}\n`)]);
  await locked.start();
  try {
    assert.match(locked.address, /^https:/);
    const Authorization = `Basic ${Buffer.from("anna:secret").toString("base64")}`;
    await answers(locked, { Authorization });
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
