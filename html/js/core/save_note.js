/** What the bar says about the settings: the most pressing thing alone. */

import { problems } from "./problems.js";
import { shapeProblems } from "./shapes.js";

/** @import { Saving } from "./saving.js" */

/** @param {import("./store.js").Store} store @param {Pick<Saving, "isSaving" | "result">} saving */
export function saveNote(store, saving) {
  if (saving.isSaving) return { text: "Saving…", kind: "" };
  if (store.edited === null || store.saved === null) return { text: "Loading the settings…", kind: "" };
  if (!store.isAccepted) return { text: "Nothing can be saved before the agreement is accepted.", kind: "bad" };
  const wrong = Object.values(problems(store.edited, store.sizes));
  if (store.isChanged && wrong.length > 0) return { text: wrong[0], kind: "bad" };
  if (saving.result.text !== "") return saving.result;
  if (wrong.length > 0) return { text: `Stored, but not fit to be saved again. ${wrong[0]}`, kind: "bad" };
  if (!store.isChanged) return { text: "Everything is saved.", kind: "" };
  if (shapeProblems(store.edited).length > 0)
    return { text: "Changed, not saved yet; see the warning below the picture.", kind: "bad" };
  return { text: "Changed, not saved yet.", kind: "" };
}
