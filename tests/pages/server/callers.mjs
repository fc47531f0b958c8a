// Who is let through, and who is not.

import assert from "node:assert/strict";
import { readdirSync, readFileSync, readlinkSync } from "node:fs";
import { createServer as createPageServer } from "node:http";
import { test } from "node:test";
import { openBrowser } from "../support/browser.mjs";
import { ask, ENDPOINT, STATUS } from "../support/http.mjs";
import { camera, port, POST, state } from "./setting.mjs";

test("the address leads to the pages", async () => {
  const { status, headers } = await ask(camera.address, "/");
  assert.equal(status, 302);
  assert.equal(headers.location, "/local/korvex_orvel/");
});

for (const path of [
  "/local/korvex_orvel/",
  "/local/korvex_orvel/js/main.js",
  STATUS,
  "/stream/1280x720.jpg",
  "/nothing",
])
  test(`${path} says who may use it`, async () => {
    const { headers } = await ask(camera.address, path);
    const policy = String(headers["content-security-policy"]);
    for (const rule of ["default-src 'none'", "script-src 'self'", "frame-ancestors 'none'", "base-uri 'none'"])
      assert.ok(policy.includes(rule), policy);
    assert.doesNotMatch(policy, /unsafe|\*/);
    assert.equal(headers["x-content-type-options"], "nosniff");
    assert.equal(headers["x-frame-options"], "DENY");
    assert.equal(headers["cross-origin-resource-policy"], "same-origin");
    assert.equal(headers["referrer-policy"], "same-origin");
    assert.match(
      String(headers["cache-control"]),
      path.startsWith("/stream") || path === STATUS ? /^no-store$/ : /^no-cache$/,
    );
    assert.equal(headers.server, undefined);
  });

test("only the pages are files: no folder above them, no list, no state", async () => {
  for (const path of [
    "/local/korvex_orvel/../run",
    "/local/korvex_orvel/%2e%2e/run",
    "/local/korvex_orvel/js/",
    "/run",
    "/web_server.log",
    "/parameters.sqlite",
  ])
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
  const target = (path) => {
    try {
      return readlinkSync(path);
    } catch {
      return "";
    }
  };
  /** @param {string} path */
  const list = (path) => {
    try {
      return readdirSync(path);
    } catch {
      return [];
    }
  };
  const ours = list("/proc").filter((pid) => /^\d+$/.test(pid) && target(`/proc/${pid}/cwd`).startsWith(state));
  const sockets = new Set(ours.flatMap((pid) => list(`/proc/${pid}/fd`).map((fd) => target(`/proc/${pid}/fd/${fd}`))));
  const listening = readFileSync("/proc/net/tcp", "utf8")
    .trim()
    .split("\n")
    .map((line) => line.trim().split(/\s+/))
    .filter((fields) => fields[3] === "0A" && sockets.has(`socket:[${fields[9]}]`));
  return listening.map((fields) => parseInt(fields[1].split(":")[1], 16));
}

test("another site's page sees nothing in a browser, whatever it tries, nor does a name that was made to point here", async () => {
  const site = createPageServer((_, answer) =>
    answer.setHeader("Content-Type", "text/html").end("<!DOCTYPE html><title>Elsewhere</title>"),
  );
  await new Promise((resolve) => {
    site.listen(0, "127.0.0.1", () => resolve(undefined));
  });
  const { port: sitePort } = /** @type {import("node:net").AddressInfo} */ (site.address());
  const browser = await openBrowser(["--host-resolver-rules=MAP elsewhere.test 127.0.0.1"]);
  try {
    const ports = openPorts();
    assert.ok(ports.includes(port));
    for (const [host, open] of ["elsewhere.test", "127.0.0.1"].flatMap((host) =>
      ports.map((open) => /** @type {[string, number]} */ ([host, open])),
    )) {
      const page = await browser.newPage();
      await page.goto(`http://${host}:${sitePort}/`);
      const seen = await page.evaluate(
        async ([address, status, clear]) => {
          /** @param {string} tag @param {string} path */
          const loads = (tag, path) =>
            new Promise((resolve) => {
              const element = /** @type {HTMLImageElement} */ (document.createElement(tag));
              element.onload = () => resolve(true);
              element.onerror = () => resolve(false);
              element.src = address + path;
              document.body.append(element);
            });
          /** @param {string} path @param {RequestInit} [init] */
          const fetches = (path, init) =>
            fetch(address + path, init).then(
              () => true,
              () => false,
            );
          return {
            picture: await loads("img", "stream/640x360.jpg"),
            stream: await loads("img", "stream/640x360.mjpg"),
            script: await loads("script", "local/korvex_orvel/js/main.js"),
            status: await fetches(status),
            blind: await fetches(clear, { mode: "no-cors" }),
            post: await fetches(status, { mode: "no-cors", method: "POST", body: "<app" }),
          };
        },
        [`http://127.0.0.1:${open}/`, STATUS.slice(1), `${ENDPOINT.slice(1)}?action=clear_logfile`],
      );
      for (const [what, isSeen] of Object.entries(seen))
        assert.equal(isSeen, false, `${what} of port ${open} from ${host}`);
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
