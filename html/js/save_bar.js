/** The bar at the bottom, and what else shows whether everything is saved and may be. */

import { saving } from "./camera.js";
import { problems } from "./core/problems.js";
import { saveNote } from "./core/save_note.js";
import { store } from "./core/store.js";
import { buttonOf, byId, setText, showNotice } from "./dom.js";
import { markWrong } from "./tabs.js";

function show() {
  const { text, kind } = saveNote(store, saving);
  setText(byId("save-note"), text);
  byId("save-note").dataset.kind = kind;
  showNotice("store-notice", saving.warning);
  byId("save-progress").hidden = !saving.isSaving;
  const wrong = store.edited === null ? [] : Object.keys(problems(store.edited, store.sizes));
  buttonOf("save").disabled = saving.isSaving || !store.isChanged || !store.isAccepted || wrong.length > 0;
  buttonOf("discard").disabled = saving.isSaving || !store.isChanged;
  byId("savebar").dataset.changed = String(store.isChanged);
  for (const panel of document.querySelectorAll("[role=tabpanel]:not(#panel-advanced)"))
    panel.toggleAttribute("inert", store.edited === null);
  markWrong(wrong);
}

export function startSaveBar() {
  byId("save").addEventListener("click", () => saving.save());
  byId("discard").addEventListener("click", () => store.discard());
  window.addEventListener("beforeunload", (event) => {
    if (store.isChanged) event.preventDefault();
  });
  saving.addEventListener("change", show);
  show();
}
