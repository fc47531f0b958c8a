/** What this page has of the camera: its settings, read and saved. */

import { serialise, settingsOf } from "./core/document.js";
import { postDocument, readDocument, readIsPortrait } from "./core/endpoint.js";
import { Saving } from "./core/saving.js";
import { store } from "./core/store.js";
import { readWhetherStartedAnew, readWhetherStored } from "./core/stored.js";
import { elementsOf } from "./elements.js";

async function readSettings() {
  const isPortrait = await readIsPortrait();
  return settingsOf(elementsOf(await readDocument()), isPortrait);
}

export const saving = new Saving(store, {
  readSettings,
  writeSettings: (settings) => postDocument(serialise(settings)),
  readWhetherStored,
  readWhetherStartedAnew,
});
