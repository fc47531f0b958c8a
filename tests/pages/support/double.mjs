// A double of the camera or host that answers the pages at once: the endpoint's actions, and what stands under /stream/.
// What it answers is the test's to say; a real web server's rules for what a page may load are the ones in force.

import { readFileSync } from "node:fs";
import { createServer } from "node:http";
import { extname, join } from "node:path";
import { html, load } from "../unit/modules.mjs";
import { root } from "./camera.mjs";

/** @type {typeof import("../../../html/js/core/document.js")} */
const { serialise } = await load("core/document.js");
/** @type {typeof import("../../../html/js/core/settings.js")} */
const { FLAGS } = await load("core/settings.js");

const PAGES = "/local/korvex_orvel/";
/** @type {Record<string, string>} */
const TYPES = {
  ".html": "text/html",
  ".js": "text/javascript",
  ".css": "text/css",
  ".svg": "image/svg+xml",
  ".txt": "text/plain",
};
const POLICY =
  /"Content-Security-Policy" => "([^"]*)"/.exec(
    readFileSync(join(root, "web/lighttpd/korvex_orvel.conf"), "utf8"),
  )?.[1] ?? "default-src 'none'";
const OFF = new Set(["AnonOverlaysOn", "Exclusion1_Active", "Exclusion2_Active", "Exclusion3_Active"]);

/** As a camera begins, with the agreement accepted. @returns {import("../../../html/js/core/settings.js").Settings} */
export const fresh = () => ({
  flags: Object.fromEntries(FLAGS.map((name) => [name, !OFF.has(name)])),
  texts: {
    MinNumberOfPeopleForTrigger: "1",
    Sensitivity: "0.35",
    MaxDisappear: "3",
    Alert1ThreshSeconds: "5",
    Alert2ThreshSeconds: "10",
    Alert3ThreshSeconds: "15",
    SelectedDetectionOverlay: "1280x720",
    SelectedAnonOverlay: "640x360",
  },
  corners: 4,
  area: [
    [43, 40],
    [58, 40],
    [59, 79],
    [40, 79],
    [40, 71],
    [41, 63],
    [41, 55],
    [42, 48],
  ].map(([x, y]) => ({ x, y })),
  zones: [
    [2, 3, 8, 14],
    [93, 3, 99, 14],
    [2, 86, 8, 97],
  ].map(([left, top, right, bottom]) => [
    { x: left, y: top },
    { x: right, y: top },
    { x: right, y: bottom },
    { x: left, y: bottom },
  ]),
});

/** @param {string} document @returns {Map<string, string>} */
const elementsOf = (document) =>
  new Map([...document.matchAll(/<(\w+)>([^<]*)<\/\1>/g)].map(([, name, value]) => [name, value]));

/** One followed object, as a host tells it. @param {number} id @param {object} [more] */
export const finding = (id, more = {}) => ({
  id,
  class: 2,
  label: "Car",
  box: [320, 180, 256, 144],
  score: 0.71,
  footing: 1,
  state: "briefly",
  seconds: 3,
  reason: "counts",
  unseen: 0,
  unseen_seconds: 0,
  ...more,
});

/** A picture of one colour. */
const PICTURE = Buffer.from(
  "/9j/4AAQSkZJRgABAgAAAQABAAD//gAQTGF2YzU5LjM3LjEwMAD/2wBDAAgKCgsKCw0NDQ0NDRAPEBAQEBAQEBAQEBASEhIVFRUSEhIQEBISFBQVFRcXFxUVFRUXFxkZGR4eHBwjIyQrKzP/xABLAAEBAAAAAAAAAAAAAAAAAAAABgEBAAAAAAAAAAAAAAAAAAAABBABAAAAAAAAAAAAAAAAAAAAABEBAAAAAAAAAAAAAAAAAAAAAP/AABEIAAgAEAMBIgACEQADEQD/2gAMAwEAAhEDEQA/AJEAsV//2Q==",
  "base64",
);

export class Double {
  settings = fresh();
  /** Elements that stand in place of the settings', such as no page would have saved. @type {Record<string, string>} */
  stored = {};
  sizes = "640x360,800x450,1280x720,1920x1080,";
  code = 200;
  time = 40;
  log = "2026-11-22 08:00:00|korvex_orvel|warning|STARTING korvex_orvel\n";
  /** What a host keeps; null: a camera keeps nothing. @type {object[] | null} */
  stays = null;
  hasObjects = false;
  /** The head of the pictures' answers; null: a camera says nothing of its video. @type {string | null} */
  video = null;
  picture = PICTURE;
  /** @type {string[]} */
  posts = [];
  /** @type {string[]} */
  asked = [];
  /** @type {Set<import("node:http").ServerResponse>} */
  listeners = new Set();
  #server = createServer((request, answer) => this.#answer(request, answer));

  /** @returns {Promise<void>} */
  start() {
    return new Promise((resolve) => {
      this.#server.listen(0, "127.0.0.1", () => resolve());
    });
  }

  get address() {
    const { port } = /** @type {import("node:net").AddressInfo} */ (this.#server.address());
    return `http://127.0.0.1:${port}${PAGES}`;
  }

  stop() {
    this.#server.closeAllConnections();
    this.#server.close();
  }

  /** As a new one. */
  reset() {
    for (const listener of this.listeners) listener.destroy();
    const { settings, stored, code, log, stays, hasObjects, video, posts, asked } = new Double();
    Object.assign(this, { settings, stored, code, log, stays, hasObjects, video, posts, asked });
  }

  /** Tells every listener of a pass. @param {object} pass */
  tell(pass) {
    for (const listener of this.listeners) listener.write(`data: ${JSON.stringify(pass)}\n\n`);
  }

  get document() {
    const values = elementsOf(serialise(this.settings));
    // The application keeps whole pixels, and tells whole per cents of them.
    for (const [name, value] of values) {
      const index = Number(/^(?:Detection1|Exclusion[123])_(\d+)$/.exec(name)?.[1] ?? NaN);
      const extent = index % 2 === 0 ? 1280 : 720;
      if (index >= 0) values.set(name, String(Math.trunc((Math.trunc((Number(value) * extent) / 100) * 100) / extent)));
    }
    for (const [name, value] of Object.entries({ CamsResAsCsv: this.sizes, ...this.stored })) values.set(name, value);
    return `<app>${[...values].map(([name, value]) => `<${name}>${value}</${name}>`).join("")}</app>`;
  }

  /** @param {import("node:http").IncomingMessage} request @param {import("node:http").ServerResponse} answer */
  async #answer(request, answer) {
    const url = new URL(request.url ?? "/", "http://localhost");
    this.asked.push(url.pathname + url.search);
    answer.setHeader("Content-Security-Policy", POLICY);
    if (url.pathname.endsWith("_fcgi.cgi")) return this.#act(url.searchParams.get("action") ?? "", request, answer);
    if (url.pathname.startsWith("/stream/")) return this.#stream(url, answer);
    const file = url.pathname === PAGES ? "index.html" : url.pathname.replace(PAGES, "");
    try {
      const content = readFileSync(join(html, file));
      answer.setHeader("Content-Type", TYPES[extname(file)] ?? "application/octet-stream").end(content);
    } catch {
      answer.writeHead(404).end();
    }
  }

  /** @param {string} action @param {import("node:http").IncomingMessage} request @param {import("node:http").ServerResponse} answer */
  async #act(action, request, answer) {
    if (action === "set_post_parameters") {
      let body = "";
      for await (const chunk of request) body += chunk;
      this.posts.push(body);
      this.stored = Object.fromEntries(elementsOf(body));
      answer.end();
      return;
    }
    if (action.startsWith("get_logfile"))
      this.log += "2026-11-22 12:00:00|korvex_orvel|info|processGET: get_logfile_as_plain_text\n";
    /** @type {Record<string, string>} */
    const answers = {
      get_status_code: String(this.code),
      get_execution_time: String(this.time),
      get_is_portrait: "0",
      get_all_parameters: this.document,
      get_logfile_as_serialized_text: this.log,
    };
    answer.setHeader("Content-Type", "text/plain").end(answers[action] ?? "");
  }

  /** @param {URL} url @param {import("node:http").ServerResponse} answer */
  #stream({ pathname }, answer) {
    if (pathname === "/stream/objects" && this.hasObjects) {
      answer.writeHead(200, { "Content-Type": "text/event-stream" }).write(": here\n\n");
      this.listeners.add(answer);
      answer.on("close", () => this.listeners.delete(answer));
    } else if (pathname === "/stream/stays.json" && this.stays !== null)
      answer.setHeader("Content-Type", "application/json").end(JSON.stringify({ stays: this.stays }));
    else if (pathname.startsWith("/stream/stills/")) answer.setHeader("Content-Type", "image/jpeg").end(this.picture);
    else if (pathname.endsWith(".mjpg")) this.#play(answer);
    else answer.writeHead(404).end();
  }

  /** @param {import("node:http").ServerResponse} answer */
  #play(answer) {
    if (this.video !== null) answer.setHeader("Korvex-Video", this.video);
    answer.setHeader("Content-Type", "multipart/x-mixed-replace; boundary=picture");
    const send = () => {
      answer.write(`--picture\r\nContent-Type: image/jpeg\r\nContent-Length: ${this.picture.length}\r\n\r\n`);
      answer.write(this.picture);
      answer.write("\r\n");
    };
    send();
    const timer = setInterval(send, 1000);
    answer.on("close", () => clearInterval(timer));
  }
}
