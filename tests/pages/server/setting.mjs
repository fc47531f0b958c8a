// The camera whose web server is asked, and where it keeps its things.

import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, before } from "node:test";
import { Camera, freePort, scratchFolder } from "../support/camera.mjs";
import { ENDPOINT } from "../support/http.mjs";

export const folder = scratchFolder("server");
export const state = join(folder, "state");
export const port = await freePort();
export const camera = new Camera([
  "--state",
  state,
  "--listen",
  `127.0.0.1:${port}`,
  "--accept-eula",
  "--set",
  "MainLoopTime=1000",
]);
export const POST = `${ENDPOINT}?action=set_post_parameters`;

before(() => camera.startAnswering());
after(() => camera.stop());

/** @param {string} name @param {string} text */
export function file(name, text) {
  writeFileSync(join(folder, name), text);
  return join(folder, name);
}
