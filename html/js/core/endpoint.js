/** The application's answers, and every way in which there is none, told in a sentence. */

const ENDPOINT = "korvex_orvel_fcgi.cgi";
const PATIENCE_MS = 15000;
// A save waits for the disk some seventy times; the web server gives it up after 60 seconds.
const SAVE_PATIENCE_MS = 65000;

/** A refusal whose message says what to do. */
export class Refusal extends Error {
  /**
   * @param {string} message
   * @param {boolean} isUncertain whether the application may have done all the same what it was asked
   */
  constructor(message, isUncertain = false) {
    super(message);
    this.isUncertain = isUncertain;
  }
}

/**
 * @param {string} action @param {number} patience milliseconds, until all of the answer is here
 * @param {RequestInit} [init]
 * @returns {Promise<{status: number, body: string}>}
 */
async function request(action, patience, init) {
  let response, body;
  try {
    response = await fetch(`${ENDPOINT}?action=${encodeURIComponent(action)}`, {
      cache: "no-store",
      credentials: "same-origin",
      signal: AbortSignal.timeout(patience),
      ...init,
    });
    body = await response.text();
  } catch (error) {
    throw new Refusal(
      /** @type {Error} */ (error).name === "TimeoutError"
        ? `No answer from the camera within ${patience / 1000} seconds. It may be busy; this page keeps trying.`
        : "No connection to the camera. Check that it is on and in reach; this page keeps trying.",
      true,
    );
  }
  const { status } = response;
  if (status === 401 || status === 403) throw new Refusal("The camera refuses this page. Load it again and log in.");
  if ([502, 503, 504].includes(status) || (status === 500 && init === undefined))
    throw new Refusal("The application does not answer. It may be starting; this page keeps trying.", status !== 503);
  return { status, body };
}

/** @param {string} action @returns {Promise<string>} */
async function get(action) {
  const { status, body } = await request(action, PATIENCE_MS);
  if (status !== 200)
    throw new Refusal(`The camera answered with an error (${status}). Try again; if it stays, look at the log.`);
  return body;
}

/**
 * One after the other: the application answers one request at a time, and few may wait. The words for the code are the
 * page's own: those of a second answer would be of another pass, and contradict it.
 */
export async function readStatus() {
  const code = await get("get_status_code"),
    time = await get("get_execution_time");
  if (![code, time].every((number) => /^-?\d+$/.test(number)))
    throw new Refusal("The application gave no status. It may be starting; this page keeps trying.");
  return { code: Number(code), time: Number(time) };
}

export const readIsPortrait = async () => (await get("get_is_portrait")) === "1";
export const readDocument = () => get("get_all_parameters");
export const readPlainLog = () => get("get_logfile_as_plain_text");
export const readSerialisedLog = () => get("get_logfile_as_serialized_text");
export const clearLog = () => get("clear_logfile");

/** @param {string} document */
export async function postDocument(document) {
  const init = { method: "POST", headers: { "Content-Type": "text/xml" }, body: document };
  const { status } = await request("set_post_parameters", SAVE_PATIENCE_MS, init);
  if (status === 400)
    throw new Refusal(
      "The application could not read the settings (400) and has changed nothing. " +
        "Load this page again and repeat the change.",
    );
  if (status === 413)
    throw new Refusal("The settings are larger than the camera takes (413). Nothing has been changed.");
  if (status !== 200)
    throw new Refusal(
      "The application stopped in the middle of the settings and has not saved them. " +
        "Check every value and save once more.",
      true,
    );
}
