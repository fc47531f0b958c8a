/** What is wrong, and since when, above everything else. */

import { status } from "./core/status.js";
import { StatusTroubles, toldTroubles } from "./core/troubles.js";
import { byId, make } from "./dom.js";

/** @import { Trouble } from "./core/troubles.js" */

const byStatus = new StatusTroubles();
/** @type {import("./core/troubles.js").Sources} */
const sources = { objects: null, video: [], status: [] };
let shown = "";

function show() {
  const texts = toldTroubles(sources).map(({ text }) => text);
  if (texts.join("\n") === shown) return;
  shown = texts.join("\n");
  byId("troubles").replaceChildren(...texts.map((text) => make("p", {}, text)));
  byId("troubles").hidden = texts.length === 0;
}

/** @param {Trouble[] | null} troubles null: nothing is heard of the objects */
export function tellObjectTroubles(troubles) {
  sources.objects = troubles;
  show();
}

/** @param {Trouble[]} troubles */
export function tellVideoTroubles(troubles) {
  sources.video = troubles;
  show();
}

export function startTroubles() {
  status.addEventListener("change", () => {
    sources.status = status.isConnected ? byStatus.take(status.code, new Date()) : [];
    show();
  });
}
