// Much at once, slow ones, and the end.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { connect } from "node:net";
import { join } from "node:path";
import { test } from "node:test";
import { ask, STATUS } from "../support/http.mjs";
import { camera, port, POST, state } from "./setting.mjs";

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
