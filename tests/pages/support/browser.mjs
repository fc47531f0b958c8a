// Debian's Chromium, kept from everything but the page under test.

import { existsSync } from "node:fs";
import { chromium } from "playwright-core";
import { LIMIT_S } from "./limit.mjs";

const ARGUMENTS = [
  "--no-sandbox",
  "--disable-gpu",
  "--disable-quic",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
];

/** @param {string[]} more of Chromium's own arguments */
export function openBrowser(more = []) {
  const executablePath = process.env.KORVEX_CHROMIUM ?? "/usr/bin/chromium";
  if (!existsSync(executablePath))
    throw new Error(`There is no Chromium at ${executablePath}; install Debian's chromium package.`);
  return chromium.launch({ executablePath, args: [...ARGUMENTS, ...more], timeout: LIMIT_S * 1000 });
}
