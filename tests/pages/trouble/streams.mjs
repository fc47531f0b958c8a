// Streams that end, and one that nobody looks at.

import assert from "node:assert/strict";
import { test } from "node:test";
import { ask, until } from "../support/http.mjs";
import { camera, leave, visit } from "./setting.mjs";

test("a stream that ends or never comes is not shown as live, and comes back", async () => {
  const visitor = await visit(),
    { page } = visitor;
  visitor.expectsFailures = true;
  const { body } = await ask(camera.address, "/stream/640x360.jpg");
  const picture = Buffer.from(body, "latin1");
  await page.route("**/stream/*.mjpg*", (route) =>
    route.fulfill({
      contentType: "multipart/x-mixed-replace; boundary=picture",
      body: Buffer.concat([
        Buffer.from(`--picture\r\nContent-Type: image/jpeg\r\nContent-Length: ${picture.length}\r\n\r\n`),
        picture,
        Buffer.from("\r\n"),
      ]),
    }),
  );
  await page.reload();
  await visitor.waitForPicture(640);
  await page.waitForSelector("#no-picture", { state: "visible" });
  await page.route("**/stream/*.mjpg*", (route) => route.fulfill({ status: 404, body: "none" }));
  await page.reload();
  await page.waitForSelector("#no-picture", { state: "visible" });
  assert.ok(await page.isHidden("#picture"));
  await page.unroute("**/stream/*.mjpg*");
  await page.waitForSelector("#no-picture", { state: "hidden" });
  assert.ok(await page.isVisible("#picture"));
  await leave(visitor);
});

test("the stream is open only while its page is looked at", async () => {
  const visitor = await visit(),
    { page } = visitor;
  /** @type {Set<import("playwright-core").Request>} */
  const open = new Set();
  page.on("request", (request) => {
    if (request.url().includes(".mjpg")) open.add(request);
  });
  page.on("requestfailed", (request) => open.delete(request));
  page.on("requestfinished", (request) => open.delete(request));
  await page.reload();
  await until(() => open.size === 1, "the stream");
  await visitor.tab("alerts");
  await until(() => open.size === 0, "the end of the stream");
  await page.waitForTimeout(200);
  await page.evaluate(() => document.getElementById("tab-live")?.click());
  assert.ok(await page.isHidden("#no-picture"), "it has not been given up meanwhile");
  await until(() => open.size === 1, "the stream");
  await leave(visitor);
});
