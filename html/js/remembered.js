/** Choices that belong to this browser and not to the camera. */

const PREFIX = "korvex_orvel.";

/** @param {string} name */
function recall(name) {
  try {
    return localStorage.getItem(PREFIX + name) === "yes";
  } catch {
    return false; // a browser that keeps nothing
  }
}

/** @param {string} name @param {boolean} isChosen */
export function keep(name, isChosen) {
  try {
    localStorage.setItem(PREFIX + name, isChosen ? "yes" : "no");
  } catch {
    // It is chosen until the page is left.
  }
}

/** A checkbox whose choice is there again at the next visit. @param {HTMLInputElement} box @param {(isChosen: boolean) => void} act */
export function remembered(box, act) {
  box.checked = recall(box.id);
  box.addEventListener("change", () => {
    keep(box.id, box.checked);
    act(box.checked);
  });
  act(box.checked);
}
