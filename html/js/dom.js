/** Small helpers around the document. */

/**
 * @template {Element} [T=HTMLElement]
 * @param {string} id
 * @param {new () => T} [kind] such as HTMLInputElement, where more is wanted of it than of any element
 * @returns {T} the element, which the page always has
 */
export function byId(id, kind) {
  const wanted = /** @type {new () => Element} */ (kind ?? HTMLElement);
  /** @type {unknown} */
  const element = document.getElementById(id);
  if (!(element instanceof wanted)) throw new Error(`The page has no ${wanted.name} #${id}.`);
  return /** @type {T} */ (element);
}

/** @param {string} id */
export const inputOf = (id) => byId(id, HTMLInputElement);
/** @param {string} id */
export const buttonOf = (id) => byId(id, HTMLButtonElement);
/** @param {string} id */
export const selectOf = (id) => byId(id, HTMLSelectElement);

/**
 * Nothing happens where nothing is new: readers would speak it again, and selections be lost.
 * @param {Element} element @param {string} text
 */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Told while there is something to tell, and hidden otherwise. @param {string} id @param {string} text */
export function showNotice(id, text) {
  setText(byId(id), text);
  byId(id).hidden = text === "";
}

/**
 * @template {keyof HTMLElementTagNameMap} K
 * @param {K} tag @param {Record<string, unknown>} [properties] @param {...(Node | string)} children
 * @returns {HTMLElementTagNameMap[K]}
 */
export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties))
    if (name in element) Object.assign(element, { [name]: value });
    else element.setAttribute(name, String(value));
  element.append(...children);
  return element;
}

/** Asks before something is lost. @param {string} question @param {string} yes @returns {Promise<boolean>} */
export function confirm(question, yes) {
  const dialog = byId("confirm", HTMLDialogElement);
  byId("confirm-text").textContent = question;
  byId("confirm-yes").textContent = yes;
  dialog.returnValue = "no";
  dialog.showModal();
  return new Promise((resolve) =>
    dialog.addEventListener("close", () => resolve(dialog.returnValue === "yes"), { once: true }),
  );
}
