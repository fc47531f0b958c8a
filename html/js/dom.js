// @ts-check
/** Small helpers around the document. */

/** @param {string} id @returns {any} the element, which the page always has */
export function byId(id) {
  const element = document.getElementById(id);
  if (element === null) throw new Error(`The page has no #${id}.`);
  return element;
}

/** Nothing happens where nothing is new: readers would speak it again, and selections be lost. @param {Element} element @param {string} text */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Told while there is something to tell, and hidden otherwise. @param {string} id @param {string} text */
export function showNotice(id, text) {
  setText(byId(id), text);
  byId(id).hidden = text === "";
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

/** Asks before something is lost. @param {string} question @param {string} yes @returns {Promise<boolean>} */
export function confirm(question, yes) {
  const dialog = byId("confirm");
  byId("confirm-text").textContent = question;
  byId("confirm-yes").textContent = yes;
  dialog.returnValue = "no";
  dialog.showModal();
  return new Promise((resolve) =>
    dialog.addEventListener("close", () => resolve(dialog.returnValue === "yes"), { once: true }),
  );
}
