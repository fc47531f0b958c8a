// Requests as no browser would make them.

import { createHash } from "node:crypto";
import { request as httpRequest } from "node:http";
import { request as httpsRequest } from "node:https";
import { LIMIT_S } from "./limit.mjs";

export const ENDPOINT = "/local/korvex_orvel/korvex_orvel_fcgi.cgi";
export const STATUS = `${ENDPOINT}?action=get_status_code`;

/** @typedef {{status: number, headers: import("node:http").IncomingHttpHeaders, body: string}} Answer */

/**
 * @param {string} address @param {string} path
 * @param {{method?: string, headers?: Record<string, string>, body?: string | Buffer, enough?: number}} [options]
 *   enough: the answer ends here after so many bytes, for streams
 * @returns {Promise<Answer>}
 */
export function ask(address, path, { method = "GET", headers = {}, body, enough } = {}) {
  const url = new URL(path, address);
  const request = url.protocol === "https:" ? httpsRequest : httpRequest;
  return new Promise((resolve, reject) => {
    const sent = request(url, { method, headers, agent: false, rejectUnauthorized: false }, (answer) => {
      /** @type {Buffer[]} */
      const chunks = [];
      let length = 0;
      const end = () =>
        resolve({
          status: answer.statusCode ?? 0,
          headers: answer.headers,
          body: Buffer.concat(chunks).toString("latin1"),
        });
      answer.on("data", (chunk) => {
        chunks.push(chunk);
        length += chunk.length;
        if (enough === undefined || length < enough) return;
        end();
        answer.destroy();
      });
      answer.on("end", end);
      answer.on("error", reject);
    });
    sent.on("error", reject);
    sent.setTimeout(LIMIT_S * 1000, () => sent.destroy(new Error(`no answer to ${path} within ${LIMIT_S} s`)));
    sent.end(body);
  });
}

/** @param {string} text */
const md5 = (text) => createHash("md5").update(text).digest("hex");

/**
 * The Authorization header for a digest challenge.
 * @param {string} challenge @param {string} path @param {string} user @param {string} password
 */
export function digestHeader(challenge, path, user, password) {
  /** @param {string} name */
  const part = (name) => new RegExp(`${name}="([^"]*)"`).exec(challenge)?.[1] ?? "";
  const [realm, nonce] = [part("realm"), part("nonce")];
  const [count, own] = ["00000001", "0a4f113b"];
  const response = md5([md5(`${user}:${realm}:${password}`), nonce, count, own, "auth", md5(`GET:${path}`)].join(":"));
  return `Digest username="${user}", realm="${realm}", nonce="${nonce}", uri="${path}", qop=auth, nc=${count}, cnonce="${own}", response="${response}"`;
}

/** The parameter document as a map. @param {string} address @returns {Promise<Record<string, string>>} */
export async function settingsOf(address) {
  const { body } = await ask(address, `${ENDPOINT}?action=get_all_parameters`);
  return Object.fromEntries([...body.matchAll(/<(\w+)>([^<]*)<\/\1>/g)].map(([, name, value]) => [name, value]));
}

/** @param {() => Promise<boolean> | boolean} condition @param {string} what */
export async function until(condition, what) {
  const end = Date.now() + LIMIT_S * 1000;
  while (!(await condition())) {
    if (Date.now() > end) throw new Error(`${what}: not within ${LIMIT_S} s`);
    await new Promise((resolve) => setTimeout(resolve, 100));
  }
}
