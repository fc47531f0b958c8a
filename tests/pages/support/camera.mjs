// The application as a visitor meets it: ./run with a state folder of its own, on a port of its own.

import { execFileSync, spawn } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { ask, STATUS, until } from "./http.mjs";
import { LIMIT_S } from "./limit.mjs";

export const root = fileURLToPath(new URL("../../..", import.meta.url));
if (process.env.KORVEX_BUILD_DIR === undefined)
  throw new Error("KORVEX_BUILD_DIR is to name the build whose programs are tested.");

/** A port that is free now. @returns {Promise<number>} */
export function freePort() {
  return new Promise((resolve, reject) => {
    const server = createServer();
    server.once("error", reject);
    server.listen(0, "127.0.0.1", () => {
      const { port } = /** @type {import("node:net").AddressInfo} */ (server.address());
      server.close(() => resolve(port));
    });
  });
}

/** @param {string} name */
export function scratchFolder(name) {
  const folder = mkdtempSync(join(tmpdir(), `korvex_${name}_`));
  process.on("exit", () => rmSync(folder, { recursive: true, force: true }));
  return folder;
}

/**
 * A video of two pictures a second: whoever asks nothing of the picture leaves the processors to the other suites.
 * @param {string} folder
 */
export function slowVideo(folder) {
  const path = join(folder, "slow.mp4");
  execFileSync("ffmpeg", [
    "-v",
    "error",
    "-f",
    "lavfi",
    "-i",
    "testsrc2=size=1280x720:rate=2",
    "-t",
    "10",
    "-pix_fmt",
    "yuv420p",
    path,
  ]);
  return path;
}

export class Camera {
  said = "";
  address = "";
  /** @type {import("node:child_process").ChildProcess | undefined} */
  #process;

  /**
   * @param {string[]} options of ./run; the settings of a state folder outlive a restart
   * @param {string[]} around a program and its arguments that run ./run
   */
  constructor(options, around = []) {
    this.options = options;
    this.around = around;
  }

  /** The process that the program around ./run has started. */
  get inner() {
    const pid = this.#process?.pid;
    return Number(readFileSync(`/proc/${pid}/task/${pid}/children`, "utf8").trim().split(" ")[0]);
  }

  /** Until ./run has told its address. */
  start() {
    this.said = "";
    // Nicer than usual: the browser is on this machine as well, and is not to wait for the analysis.
    const [program, ...words] = [...this.around, join(root, "run"), "--niceness", "0", ...this.options];
    const child = spawn(program, words, { stdio: ["ignore", "ignore", "pipe"] });
    this.#process = child;
    return new Promise((resolve, reject) => {
      const limit = setTimeout(() => reject(new Error(`./run did not start: ${this.said}`)), LIMIT_S * 1000);
      child.stderr?.on("data", (chunk) => {
        this.said += chunk;
        const told = /Its pages are at (\S+)\n/.exec(this.said);
        if (told === null) return;
        clearTimeout(limit);
        this.address = told[1];
        resolve(undefined);
      });
      child.once("exit", () => {
        clearTimeout(limit);
        reject(new Error(`./run ended: ${this.said}`));
      });
    });
  }

  /**
   * Until its pages can be used: a visitor who is quicker than the application meets a failed request or two.
   * @param {Record<string, string>} [headers]
   */
  async startAnswering(headers) {
    await this.start();
    await until(async () => (await ask(this.address, STATUS, { headers })).status === 200, "the endpoint");
  }

  /** @returns {Promise<number | null>} the exit status of ./run */
  stop() {
    const child = this.#process;
    this.#process = undefined;
    if (child === undefined || child.exitCode !== null) return Promise.resolve(child?.exitCode ?? null);
    return new Promise((resolve) => {
      child.once("exit", resolve);
      child.kill("SIGTERM");
    });
  }
}
