// @ts-check
/** Small helpers around the document. */

/** @param {string} id @returns {any} the element, which the page always has */
export function byId(id) {
  const element = document.getElementById(id);
  if (element === null) throw new Error(`The page has no #${id}.`);
  return element;
}

/** Nothing happens where nothing is new: readers would speak it again, and selections be lost. @param {any} element @param {string} text */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/**
 * @param {string} tag @param {Record<string, any>} [properties] @param {...(Node | string)} children
 * @returns {any}
 */
export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties))
    if (name in element) /** @type {any} */ (element)[name] = value;
    else element.setAttribute(name, value);
  element.append(...children);
  return element;
}

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

/** Asks before something is lost. @param {string} question @param {string} yes @returns {Promise<boolean>} */
export function confirm(question, yes) {
  const dialog = byId("confirm");
  byId("confirm-text").textContent = question;
  byId("confirm-yes").textContent = yes;
  dialog.returnValue = "no";
  dialog.showModal();
  return new Promise((resolve) => dialog.addEventListener("close", () => resolve(dialog.returnValue === "yes"), { once: true }));
}

/** A stamp for file names: 20260131-0930. */
export function stamp() {
  return new Date().toISOString().slice(0, 16).replace(/[-:]/g, "").replace("T", "-");
}
