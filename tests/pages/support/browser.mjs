// Debian's browsers, kept from everything but the page under test.

import { existsSync } from "node:fs";
import { chromium, firefox } from "playwright-core";
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

/** Firefox as it is sold, by its own protocol. */
export function openFirefox() {
  const executablePath = process.env.KORVEX_FIREFOX ?? "/usr/bin/firefox-esr";
  if (!existsSync(executablePath))
    throw new Error(`There is no Firefox at ${executablePath}; install Debian's firefox-esr package.`);
  return firefox.launch({ channel: "moz-firefox", executablePath, timeout: LIMIT_S * 1000 });
}
