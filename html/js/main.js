/**
 * Brings the page up. What is in core/ runs without a document: the settings, the rules about them, saving. The files
 * beside this one show it.
 */

import { showFacts, startAdvanced } from "./advanced.js";
import { startAgreement } from "./agreement.js";
import { saving } from "./camera.js";
import { store } from "./core/store.js";
import { startEditor } from "./editor.js";
import { startFollowed } from "./followed.js";
import { startForms } from "./forms.js";
import { showHistory, startHistory } from "./history.js";
import { startLog } from "./log.js";
import { showPicture, startPicture } from "./picture.js";
import { startSaveBar } from "./save_bar.js";
import { startStatus } from "./status_bar.js";
import { startTabs } from "./tabs.js";
import { startTold } from "./told.js";
import { startTroubles } from "./trouble_banner.js";

startTabs(() => {
  showPicture(false);
  showFacts();
  showHistory();
});
startEditor();
startForms();
startSaveBar();
startAgreement();
startPicture();
startLog();
startAdvanced();
startHistory();
startTroubles();
startFollowed();
startTold();

/** @param {number} code @param {boolean} isNew */
function isStale(code, isNew) {
  if (saving.phase === "uncertain") return true;
  // Another page, or another person, may have accepted the agreement.
  return isNew && store.saved !== null && (code === 408) === store.isAccepted;
}

async function load() {
  await saving.load();
  showPicture(false);
}

startStatus(isStale, load, () => saving.isSaving);
document.addEventListener("visibilitychange", () => {
  // A page that was left for a while may show what is no longer so. When nothing answers, the status tells of it.
  if (!document.hidden && store.saved !== null) saving.load(true).catch(() => {});
});
