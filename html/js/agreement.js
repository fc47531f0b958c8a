/** The agreement that comes before anything else. */

import { saving } from "./camera.js";
import { store } from "./core/store.js";
import { buttonOf, byId } from "./dom.js";

const dialog = byId("agreement", HTMLDialogElement);
let isReadable = false;

function show() {
  buttonOf("agreement-accept").disabled = saving.isSaving || store.saved === null || !isReadable;
  byId("agreement-notice").hidden = store.saved === null || store.isAccepted;
}

async function loadText() {
  if (isReadable) return;
  try {
    const response = await fetch("eula.txt");
    if (!response.ok) throw new Error();
    byId("agreement-text").textContent = await response.text();
    isReadable = true;
  } catch {
    byId("agreement-text").textContent = "The agreement could not be loaded. Close this and open it again.";
  }
  show();
}

function open() {
  byId("agreement-note").textContent = "";
  byId("agreement-accept").hidden = store.isAccepted;
  byId("agreement-close").textContent = store.isAccepted ? "Close" : "Not now";
  if (!dialog.open) dialog.showModal();
  loadText();
}

async function accept() {
  byId("agreement-note").textContent = "";
  if (await saving.acceptAgreement()) dialog.close();
  else byId("agreement-note").textContent = saving.result.text;
}

export function startAgreement() {
  byId("agreement-accept").addEventListener("click", accept);
  byId("agreement-close").addEventListener("click", () => dialog.close());
  for (const id of ["show-agreement", "agreement-open"]) byId(id).addEventListener("click", open);
  saving.addEventListener("change", show);
  saving.addEventListener("load", () => {
    // It may have been accepted on another page. One that is open to be read once more stays.
    if (store.isAccepted && dialog.open && !byId("agreement-accept").hidden) dialog.close();
    if (!store.isAccepted) open();
  });
  loadText();
}
