// What ./run refuses.

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { existsSync } from "node:fs";
import { createServer } from "node:net";
import { join } from "node:path";
import { test } from "node:test";
import { root } from "../support/camera.mjs";
import { LIMIT_S } from "../support/limit.mjs";
import { file, folder } from "./setting.mjs";

/** @param {...string} options @returns {string} what a refused ./run says */
function refused(...options) {
  const { status, stderr } = spawnSync(join(root, "run"), ["--state", join(folder, "refused"), ...options], {
    encoding: "utf8",
    timeout: LIMIT_S * 1000,
  });
  assert.notEqual(status, 0, "it is refused");
  assert.equal(stderr.trim().split("\n").length, 1, stderr);
  return stderr;
}

test("what cannot be is refused in a sentence", async () => {
  const taken = createServer();
  await new Promise((resolve) => {
    taken.listen(0, "127.0.0.1", () => resolve(undefined));
  });
  const { port: takenPort } = /** @type {import("node:net").AddressInfo} */ (taken.address());
  const said = spawnSync(
    join(root, "run"),
    [
      "--state",
      join(folder, "refused"),
      "--listen",
      `127.0.0.1:${takenPort}`,
      "--password-file",
      file("some", "anna:b\n"),
    ],
    { encoding: "utf8" },
  );
  taken.close();
  assert.match(said.stderr, new RegExp(`port ${takenPort} of 127.0.0.1 is taken by another program`));
  assert.equal(said.status, 1);
  assert.ok(!existsSync(join(folder, "refused", "html", "web_users")), "nobody's password stays behind");

  for (const everybody of ["0.0.0.0:8080", "192.0.2.1:8080", "[::]:8080"])
    assert.match(refused("--listen", everybody), /give a --password-file/);
  for (const address of ["8080", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:65536", "example.org:80"])
    assert.match(refused("--listen", address), /takes ADDR:PORT/);
  assert.match(refused("--password-file", "/no/such"), /no file that can be read/);
  assert.match(refused("--password-file", file("empty", "# nobody\n")), /names no user/);
  assert.match(refused("--password-file", file("bare", "anna\n")), /are to be all user:password/);
  assert.match(
    refused("--password-file", file("hashed", "anna:$apr1$abcdefgh$abcdefghijklmnopqrstuv\n")),
    /need a --certificate/,
  );
  assert.match(refused("--certificate", file("no.pem", "nothing")), /a private key and a certificate/);
});
