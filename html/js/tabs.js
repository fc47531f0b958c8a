/** The tabs, one of which is chosen: by mouse, by key, or by the address. */

import { byId } from "./dom.js";

/** @type {HTMLElement[]} */
const tabs = [...document.querySelectorAll("[role=tab]")].map((tab) => /** @type {HTMLElement} */ (tab));

/** The page that a tab is for. @param {HTMLElement} tab */
const panelOf = (tab) => byId(tab.getAttribute("aria-controls") ?? "");

/** Marks the tabs that lead to one of the fields. @param {string[]} fields */
export function markWrong(fields) {
  for (const tab of tabs) {
    const isWrong = fields.some((name) => panelOf(tab).contains(byId(name)));
    tab.classList.toggle("wrong", isWrong);
  }
}

/** @param {() => void} onSelect */
export function startTabs(onSelect) {
  /** @param {HTMLElement} chosen */
  const select = (chosen) => {
    for (const tab of tabs) {
      tab.setAttribute("aria-selected", String(tab === chosen));
      tab.tabIndex = tab === chosen ? 0 : -1;
      panelOf(tab).hidden = tab !== chosen;
    }
    history.replaceState(null, "", `#${chosen.id.replace("tab-", "")}`);
    onSelect();
  };
  const selectNamed = () => {
    const named = tabs.find((tab) => tab.id === `tab-${location.hash.slice(1)}`);
    if (named !== undefined) select(named);
  };
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
  window.addEventListener("hashchange", selectNamed);
  selectNamed();
}
