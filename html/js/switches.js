/** Checkboxes that stand for a flag of the settings. */

import { store } from "./core/store.js";
import { inputOf, make } from "./dom.js";

/** @param {string} flag @param {string} label */
export const makeSwitch = (flag, label) =>
  make("label", { className: "check" }, make("input", { type: "checkbox", id: flag }), label);

/** @param {string} flag */
export function bindSwitch(flag) {
  const box = inputOf(flag);
  box.addEventListener("change", () =>
    store.edit((settings) => {
      settings.flags[flag] = box.checked;
    }),
  );
}

/** @param {string[]} names @param {Record<string, boolean>} flags */
export function showSwitches(names, flags) {
  for (const flag of names) inputOf(flag).checked = flags[flag];
}
