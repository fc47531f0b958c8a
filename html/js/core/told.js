/** How a page that nobody looks at tells of an alert: by its title, its icon, a sound and a notification. */

import { alertName } from "./status.js";

/** @param {boolean} isChanged whether there is something to save @param {number | null} highest active alert */
export function titleFor(isChanged, highest) {
  const alert = highest ? `${alertName(highest)} – ` : "";
  return `${isChanged ? "• " : ""}${alert}Korvex Orvel`;
}

/** The page's own icon, or one with the level in it. @param {number | null} highest */
export function iconFor(highest) {
  if (!highest) return "icon.svg";
  const sign =
    '<circle cx="16" cy="16" r="15" fill="#d3201c"/>' +
    `<text x="16" y="23" font-family="sans-serif" font-weight="700" font-size="20" text-anchor="middle" fill="#fff">${highest}</text>`;
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 32 32">${sign}</svg>`;
  return `data:image/svg+xml,${encodeURIComponent(svg)}`;
}

/** Tells when there is something to call for: a level above all that were active. What is not known changes nothing. */
export class Calls {
  /** @type {number | null} */
  #highest = null;

  /** @param {number | null} highest @returns {number} the level to call for; 0: none */
  take(highest) {
    if (highest === null) return 0;
    const before = this.#highest;
    this.#highest = highest;
    // A page that is opened while an alert is active shows it; it does not call.
    return before !== null && highest > before ? highest : 0;
  }
}
