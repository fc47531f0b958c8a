// @ts-check
/**
 * The live picture. On a host the streams stand under this path, beside the application's own. It is open only while
 * somebody can see it: each open stream costs the camera an encoder.
 */

import { byId } from "./dom.js";
import { store } from "./store.js";

const RETRY_MS = 3000;
const ALWAYS_WITH_BOXES = "800x450";

/** A stream that has boxes: the user's choice, else the one that always has them, else the analysed one. */
function streamSize() {
  const offered = store.sizes.map(({ width, height }) => `${width}x${height}`);
  const chosen = store.saved?.flags.DetectionOverlaysOn ? store.saved.texts.SelectedDetectionOverlay : "";
  const [long, short] = [Math.max(store.analysed.width, store.analysed.height), Math.min(store.analysed.width, store.analysed.height)];
  return [chosen, ALWAYS_WITH_BOXES].find((size) => offered.includes(size)) ?? `${long}x${short}`;
}

let shown = "";

/** Opens the stream, anew when `again`: after an outage. @param {boolean} again */
export function showPicture(again) {
  const isSeen = store.saved !== null && !document.hidden && !byId("panel-live").hidden;
  const url = isSeen ? `/stream/${streamSize()}.mjpg${store.isPortrait ? "?rotation=90" : ""}` : "";
  if (url === shown && !again) return;
  shown = url;
  byId("picture").removeAttribute("src");
  if (url !== "") byId("picture").src = url;
}

/** @param {boolean} isThere */
function tell(isThere) {
  byId("picture").hidden = !isThere;
  byId("no-picture").hidden = isThere;
}

export function startPicture() {
  byId("picture").addEventListener("error", () => {
    if (shown === "") return;
    tell(false);
    setTimeout(() => { if (!byId("no-picture").hidden) showPicture(true); }, RETRY_MS);
  });
  byId("picture").addEventListener("load", () => tell(true));
  document.addEventListener("visibilitychange", () => showPicture(false));
  store.addEventListener("change", () => showPicture(false));
}
