/** What leaves the page: as a file, or through the clipboard. */

import { make } from "./dom.js";

/** @param {string} text @param {string} name @param {string} type */
export function download(text, name, type) {
  const link = make("a", { href: URL.createObjectURL(new Blob([text], { type })), download: name });
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/** @param {string} text @returns {Promise<boolean>} */
export async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    // Without a secure context there is no clipboard: the old way through a selection still works.
    const area = make("textarea", { value: text, className: "offscreen" });
    const focused = /** @type {HTMLElement | null} */ (document.activeElement);
    document.body.append(area);
    area.select();
    const done = document.execCommand("copy");
    area.remove();
    focused?.focus();
    return done;
  }
}

/** A stamp for file names: 20260131-0930. */
export function stamp() {
  return new Date().toISOString().slice(0, 16).replace(/[-:]/g, "").replace("T", "-");
}
