// @ts-check
/** Brings the page up: its tabs, and what each of them shows. */

import { showFacts, startAdvanced } from "./advanced.js";
import { byId } from "./dom.js";
import { startEditor } from "./editor.js";
import { startForms } from "./forms.js";
import { startLog } from "./log.js";
import { showPicture, startPicture } from "./picture.js";
import { isSaving, isUncertain, loadSettings, startSaving } from "./saving.js";
import { startStatus } from "./status_bar.js";
import { store } from "./core/store.js";

/** @type {HTMLElement[]} */
const tabs = [...document.querySelectorAll("[role=tab]")].map((tab) => /** @type {HTMLElement} */ (tab));

/** @param {HTMLElement} chosen */
function select(chosen) {
  for (const tab of tabs) {
    tab.setAttribute("aria-selected", String(tab === chosen));
    tab.tabIndex = tab === chosen ? 0 : -1;
    byId(tab.getAttribute("aria-controls") ?? "").hidden = tab !== chosen;
  }
  history.replaceState(null, "", `#${chosen.id.replace("tab-", "")}`);
  showPicture(false);
  showFacts();
}

function startTabs() {
  tabs.forEach((tab, i) => {
    tab.addEventListener("click", () => select(tab));
    tab.addEventListener("keydown", (event) => {
      if (event.altKey || event.ctrlKey || event.metaKey) return; // the browser's
      const target = { ArrowRight: i + 1, ArrowLeft: i - 1, Home: 0, End: tabs.length - 1 }[event.key];
      if (target === undefined) return;
      event.preventDefault();
      const next = tabs[(target + tabs.length) % tabs.length];
      select(next);
      next.focus();
    });
  });
  const selectNamed = () => {
    const named = tabs.find((tab) => tab.id === `tab-${location.hash.slice(1)}`);
    if (named !== undefined) select(named);
  };
  window.addEventListener("hashchange", selectNamed);
  selectNamed();
}

startTabs();
startEditor();
startForms();
startSaving();
startPicture();
startLog();
startAdvanced();
// Another page, or another person, may have accepted the agreement.
startStatus((code, isNew) => isUncertain() || (isNew && store.saved !== null && (code === 408) === store.isAccepted), async () => {
  await loadSettings();
  showPicture(false);
}, () => isSaving);
document.addEventListener("visibilitychange", () => {
  // A page that was left for a while may show what is no longer so. When nothing answers, the status tells of it.
  if (!document.hidden && store.saved !== null) loadSettings(true).catch(() => {});
});
