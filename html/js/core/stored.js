/**
 * Whether what was saved is stored. The application answers a save alike when the camera could not write it, works with
 * the settings, and writes none from then on until it starts anew: only its log says so, at each save for each setting.
 */

import { readSerialisedLog } from "./endpoint.js";

/** What the log was like at the last save: one that can be written has grown since, if only by being asked for. */
let seen = "";
/** The line of the application's last start at that time. */
let start = "";

/** @param {string} log */
const endOf = (log) => `${log.length} ${log.slice(-1000)}`;

/** With its time; empty when the log was cleared since. @param {string} log */
const startIn = (log) => [...log.matchAll(/^.*\|warning\|STARTING korvex_orvel$/gm)].pop()?.[0] ?? "";

/** Whether the application has failed to store a setting since its last start. @param {string} log serialised */
function hasFailed(log) {
  const now = startIn(log);
  return /\|error\|set_\w+_parameter: Failed to save /.test(now === "" ? log : log.slice(log.lastIndexOf(now)));
}

/**
 * Of the last save.
 * @returns {Promise<"stored" | "lost" | "unknown">} unknown: not even the log can be written, and would say nothing
 */
export async function readWhetherStored() {
  if (seen === "") seen = endOf(await readSerialisedLog());
  const log = await readSerialisedLog(),
    before = seen;
  seen = endOf(log);
  start = startIn(log);
  if (hasFailed(log)) return "lost";
  return seen === before ? "unknown" : "stored";
}

/** Whether it has started anew since the last save. */
export async function readWhetherStartedAnew() {
  const now = startIn(await readSerialisedLog());
  return now !== "" && now !== start;
}
