/** The application's document as the browser reads it. */

/**
 * The elements' texts by name. The application writes texts as stored, with nothing escaped: what some other program
 * stored can make the document one that no parser takes, and it has to be readable all the same to be put right.
 * @param {string} text @returns {Record<string, string>}
 */
export function elementsOf(text) {
  const parsed = new DOMParser().parseFromString(text, "text/xml");
  const elements =
    parsed.querySelector("parsererror") === null
      ? [...parsed.documentElement.children].map(({ nodeName, textContent }) => [nodeName, textContent ?? ""])
      : [...text.matchAll(/<(\w+)>([^<]*)<\/\1>/g)].map(([, name, value]) => [name, value]);
  if (!/^<app>.*<\/app>$/s.test(text) || elements.length === 0)
    throw new Error(
      "The application sent settings that cannot be read. Load this page again; if it stays, look at the log.",
    );
  return Object.fromEntries(elements);
}
