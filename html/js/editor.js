/** The area and the zones: what is above and below the live picture, and undo. */

import { showCoordinates } from "./coordinate_table.js";
import { ZONE_FLAGS } from "./core/settings.js";
import { advice } from "./core/advice.js";
import { haveSameShapes, resetShapes, setCorners, setDefaultArea, shapeProblems, zoneWarnings } from "./core/shapes.js";
import { store } from "./core/store.js";
import { buttonOf, byId, inputOf, make, selectOf, setText } from "./dom.js";
import { isDragging } from "./drag.js";
import { startFrame } from "./frame.js";
import { drawShapes, makeHandles } from "./handles.js";
import { remembered } from "./remembered.js";
import { bindSwitch, makeSwitch, showSwitches } from "./switches.js";

/** @param {string[]} told */
function tellProblems(told) {
  const list = byId("shape-problems");
  const shown = [...list.children].map((item) => item.textContent);
  if (shown.join() !== told.join()) list.replaceChildren(...told.map((text) => make("li", {}, text)));
}

function show() {
  buttonOf("undo").disabled = !store.canUndo;
  buttonOf("redo").disabled = !store.canRedo;
  buttonOf("reset").disabled = haveSameShapes(store.saved, store.edited);
  if (store.edited === null) return;
  const { width, height } = store.analysed;
  byId("stage").style.setProperty("--ratio", String(width / height));
  selectOf("corners").value = String(store.edited.corners);
  showSwitches(ZONE_FLAGS, store.edited.flags);
  drawShapes(store.edited);
  tellProblems([...shapeProblems(store.edited), ...zoneWarnings(store.edited), ...advice(store.edited)]);
  showCoordinates(store.edited);
}

/**
 * Where text is typed, and while something is dragged or asked, the keys are not the shapes'.
 * @param {KeyboardEvent} event
 */
function undoByKey(event) {
  const isTyped = event.target instanceof HTMLInputElement && event.target.type !== "checkbox";
  if (!(event.ctrlKey || event.metaKey) || isTyped) return;
  if (isDragging || document.querySelector("dialog[open]") !== null) return;
  const key = event.key.toLowerCase();
  if (key === "z" && !event.shiftKey) store.undo();
  else if (key === "y" || key === "z") store.redo();
  else return;
  event.preventDefault();
}

export function startEditor() {
  makeHandles();
  byId("zones").append(...ZONE_FLAGS.map((flag, i) => makeSwitch(flag, `Zone ${i + 1}`)));
  ZONE_FLAGS.forEach(bindSwitch);
  byId("undo").addEventListener("click", () => store.undo());
  byId("redo").addEventListener("click", () => store.redo());
  byId("reset").addEventListener("click", () =>
    store.edit((settings) => {
      if (store.saved !== null) resetShapes(settings, store.saved);
    }),
  );
  const corners = selectOf("corners");
  corners.addEventListener("change", () => store.edit((settings) => setCorners(settings, Number(corners.value))));
  byId("default-area").addEventListener("click", () =>
    store.edit((settings) => setDefaultArea(settings, store.analysed)),
  );
  document.addEventListener("keydown", undoByKey);
  // What a note is about is past with the next change.
  for (const type of ["pointerdown", "keydown"])
    byId("stage").addEventListener(type, () => setText(byId("shape-note"), ""), { capture: true });
  remembered(inputOf("hide-shapes"), (isHidden) => byId("stage").classList.toggle("bare", isHidden));
  startFrame();
  store.addEventListener("change", show);
  show();
}
