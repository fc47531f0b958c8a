/**
 * The live picture. On a host the streams stand under this path, beside the application's own. It is open only while
 * somebody can see it: each open stream costs the camera an encoder.
 *
 * The pictures are taken out of the stream here and not by the browser, which says nothing when a stream has ended or
 * stands still, and goes on showing its last picture as if it were live.
 */

import { streamSize } from "./core/sizes.js";
import { store } from "./core/store.js";
import { Parts } from "./core/stream.js";
import { videoTroubles } from "./core/troubles.js";
import { byId } from "./dom.js";
import { tellVideoTroubles } from "./trouble_banner.js";

const RETRY_MS = 3000;
const STILL_MS = 8000; // a stream that brings nothing for so long is opened anew

const picture = byId("picture", HTMLImageElement);

/** @param {boolean} isThere */
function tell(isThere) {
  if (byId("no-picture").hidden === isThere && picture.hidden !== isThere) return;
  picture.hidden = !isThere;
  byId("no-picture").hidden = isThere;
}

/** @param {Uint8Array<ArrayBuffer>} bytes */
async function showJpeg(bytes) {
  const source = URL.createObjectURL(new Blob([bytes], { type: "image/jpeg" }));
  picture.src = source;
  tell(true);
  await picture.decode().catch(() => {});
  URL.revokeObjectURL(source);
}

/**
 * Shows pictures until the stream ends, stands still or is not wanted any more.
 * @param {string} url @param {AbortController} control
 */
async function play(url, control) {
  let timer = setTimeout(() => control.abort(), STILL_MS);
  try {
    const response = await fetch(url, { cache: "no-store", signal: control.signal });
    tellVideoTroubles(videoTroubles(response.headers.get("Korvex-Video")));
    if (!response.ok || response.body === null) return;
    const reader = response.body.getReader();
    const parts = new Parts();
    for (;;) {
      const { done, value } = await reader.read();
      if (done || control.signal.aborted) return;
      const newest = parts.add(value).pop();
      if (newest === undefined) continue;
      clearTimeout(timer);
      timer = setTimeout(() => control.abort(), STILL_MS);
      // One after the other: what comes while a picture is made ready waits, and only the newest of it is shown.
      await showJpeg(newest);
    }
  } catch {
    // No stream, or none any more: told by who has asked for it.
  } finally {
    clearTimeout(timer);
    control.abort();
  }
}

let shown = "";
let playing = new AbortController();

/** Opens the stream, anew when `again`: after an outage. @param {boolean} again */
export async function showPicture(again) {
  const isSeen = store.saved !== null && !document.hidden && !byId("panel-live").hidden;
  const url = isSeen ? `/stream/${streamSize(store)}.mjpg${store.isPortrait ? "?rotation=90" : ""}` : "";
  if (url === shown && !again) return;
  shown = url;
  playing.abort();
  const mine = new AbortController();
  playing = mine;
  if (url === "") return;
  await play(url, mine);
  if (playing !== mine) return;
  tell(false);
  setTimeout(() => {
    if (playing === mine) showPicture(true);
  }, RETRY_MS);
}

export function startPicture() {
  document.addEventListener("visibilitychange", () => showPicture(false));
  store.addEventListener("change", () => showPicture(false));
}
