// @ts-check
/** The application's answers, and every way in which there is none, told in a sentence. */

const ENDPOINT = "korvex_orvel_fcgi.cgi";
const PATIENCE_MS = 15000;

/** A refusal whose message says what to do. */
export class Refusal extends Error {
  /** @param {string} message @param {boolean} noConnection */
  constructor(message, noConnection = false) {
    super(message);
    this.noConnection = noConnection;
  }
}

/**
 * @param {string} action
 * @param {RequestInit} [init]
 * @returns {Promise<Response>}
 */
async function request(action, init) {
  let response;
  try {
    response = await fetch(`${ENDPOINT}?action=${encodeURIComponent(action)}`, {
      cache: "no-store", credentials: "same-origin", signal: AbortSignal.timeout(PATIENCE_MS), ...init,
    });
  } catch {
    throw new Refusal("No connection to the camera. Check that it is on and in reach; this page keeps trying.", true);
  }
  if (response.status === 401 || response.status === 403)
    throw new Refusal("The camera refuses this page. Load it again and log in.");
  if ([502, 503, 504].includes(response.status) || (response.status === 500 && init === undefined))
    throw new Refusal("The application does not answer. It may be starting; this page keeps trying.", true);
  return response;
}

/** @param {string} action @returns {Promise<string>} */
async function get(action) {
  const response = await request(action);
  if (!response.ok) throw new Refusal(`The camera answered with an error (${response.status}). Try again; if it stays, look at the log.`);
  return response.text();
}

/** One after the other: the application answers one request at a time, and few may wait. */
export async function readStatus() {
  const code = await get("get_status_code"), text = await get("get_status_string"), time = await get("get_execution_time");
  if (!/^-?\d+$/.test(code)) throw new Refusal("The application gave no status. It may be starting; this page keeps trying.", true);
  return { code: Number(code), text, time: Number(time) };
}

export const readIsPortrait = async () => (await get("get_is_portrait")) === "1";
export const readDocument = () => get("get_all_parameters");
export const readPlainLog = () => get("get_logfile_as_plain_text");
export const readSerialisedLog = () => get("get_logfile_as_serialized_text");
export const clearLog = () => get("clear_logfile");

/** @param {string} document */
export async function postDocument(document) {
  const response = await request("set_post_parameters", { method: "POST", headers: { "Content-Type": "text/xml" }, body: document });
  if (response.status === 400)
    throw new Refusal("The application could not read the settings (400) and has changed nothing. Load this page again and repeat the change.");
  if (response.status === 413)
    throw new Refusal("The settings are larger than the camera takes (413). Nothing has been changed.");
  if (!response.ok)
    throw new Refusal("The application stopped in the middle of the settings and has not saved them. Load this page again, check every value and save once more.");
}
