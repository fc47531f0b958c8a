/** Dragging a shape or one of its corners over the picture. */

import { copyOf } from "./core/settings.js";
import { dragFrom, WHOLE } from "./core/shapes.js";
import { store } from "./core/store.js";
import { byId } from "./dom.js";
import { hideLoupe, showLoupe } from "./loupe.js";

/** @import { Shape } from "./core/shapes.js" */

const ENDS = ["pointerup", "pointercancel", "keydown"];

export let isDragging = false;

/** @param {PointerEvent} event @param {Shape} shape @param {number} corner or WHOLE */
export function startDrag(event, shape, corner) {
  if (store.edited === null || event.button !== 0 || isDragging) return; // a second finger drags nothing
  event.preventDefault();
  isDragging = true;
  if (event.currentTarget instanceof HTMLElement) event.currentTarget.focus();
  const box = byId("stage").getBoundingClientRect();
  const before = copyOf(store.edited);

  /** @param {PointerEvent} move */
  const drag = (move) => {
    if (move.pointerId !== event.pointerId) return;
    const by = {
      x: ((move.clientX - event.clientX) / box.width) * 100,
      y: ((move.clientY - event.clientY) / box.height) * 100,
    };
    store.preview((settings) =>
      dragFrom(shape.points(settings), shape.points(before), corner, by, move.altKey, store.analysed),
    );
    if (move.pointerType === "touch" && corner !== WHOLE) showLoupe(shape, corner);
  };
  /** @param {Event} reason */
  const end = (reason) => {
    if (reason instanceof KeyboardEvent && reason.key !== "Escape") return;
    if (reason instanceof PointerEvent && reason.pointerId !== event.pointerId) return;
    isDragging = false;
    hideLoupe();
    window.removeEventListener("pointermove", drag);
    for (const type of ENDS) window.removeEventListener(type, end);
    // What the browser or Escape breaks off was not meant.
    if (reason.type !== "pointerup") store.preview((settings) => Object.assign(settings, copyOf(before)));
    store.commit(before);
  };
  window.addEventListener("pointermove", drag);
  for (const type of ENDS) window.addEventListener(type, end);
}
