/** The picture on all of the screen, where a phone has little of it. */

import { store } from "./core/store.js";
import { buttonOf, byId } from "./dom.js";

/** @param {boolean} isFilling */
function fill(isFilling) {
  byId("frame").classList.toggle("filling", isFilling);
  // What is behind it is neither tabbed to nor read.
  for (const element of document.querySelectorAll(
    "header, nav, footer, .toolbar, .side, .under-picture, #panel-live .hint",
  ))
    element.toggleAttribute("inert", isFilling);
  buttonOf(isFilling ? "frame-done" : "frame-open").focus();
}

async function open() {
  fill(true);
  // Where the browser lets no element have the screen, the window is filled.
  await byId("frame")
    .requestFullscreen?.()
    .catch(() => {});
}

async function close() {
  if (document.fullscreenElement !== null) await document.exitFullscreen().catch(() => {});
  if (byId("frame").classList.contains("filling")) fill(false);
}

export function startFrame() {
  byId("frame-open").addEventListener("click", open);
  byId("frame-done").addEventListener("click", close);
  byId("frame-undo").addEventListener("click", () => store.undo());
  store.addEventListener("change", () => {
    buttonOf("frame-undo").disabled = !store.canUndo;
  });
  document.addEventListener("fullscreenchange", () => {
    if (document.fullscreenElement === null) close();
  });
  byId("frame").addEventListener("keydown", (event) => {
    if (event.key === "Escape" && document.fullscreenElement === null) close();
  });
}
