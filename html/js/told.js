/** Tells of alerts who does not look at the page: title and icon always, a sound and a notification by choice. */

import { alertName, status } from "./core/status.js";
import { Calls, iconFor, titleFor } from "./core/told.js";
import { store } from "./core/store.js";
import { byId, inputOf, setText } from "./dom.js";
import { keep, remembered } from "./remembered.js";

const calls = new Calls();
/** @type {AudioContext | null} */
let audio = null;
let icon = "";

function showTitle() {
  document.title = titleFor(store.isChanged, status.highest);
  const wanted = iconFor(status.highest);
  if (wanted === icon) return;
  icon = wanted;
  byId("icon", HTMLLinkElement).href = wanted;
}

/** A browser lets no page sound that nobody has touched yet. */
const mayPlay = () => navigator.userActivation?.hasBeenActive !== false;

/** As many notes as the alert's level. @param {number} level */
function play(level) {
  if (!mayPlay()) return note("Click on this page once: before that the browser lets it make no sound.");
  audio ??= new AudioContext();
  const { currentTime } = audio;
  for (let i = 0; i < level; i++) {
    const [tone, loudness] = [audio.createOscillator(), audio.createGain()];
    const start = currentTime + 0.05 + 0.28 * i;
    tone.frequency.value = 660 + 110 * i;
    loudness.gain.setValueAtTime(0, start);
    loudness.gain.linearRampToValueAtTime(0.25, start + 0.02);
    loudness.gain.exponentialRampToValueAtTime(0.001, start + 0.24);
    tone.connect(loudness).connect(audio.destination);
    tone.start(start);
    tone.stop(start + 0.26);
  }
}

function wake() {
  if (!inputOf("tell-sound").checked || !mayPlay()) return;
  audio ??= new AudioContext();
  if (audio.state === "suspended") audio.resume();
}

/** @param {string} text */
const note = (text) => setText(byId("tell-note"), text);

/** @param {number} level */
function notify(level) {
  try {
    new Notification(`${alertName(level)} active`, { body: "Korvex Orvel", icon: "icon.svg", tag: "korvex_orvel" });
  } catch {
    note("This browser lets a page show no notifications by itself.");
  }
}

function call() {
  showTitle();
  const level = calls.take(status.isKept ? null : status.highest);
  if (level === 0) return;
  if (inputOf("tell-sound").checked) play(level);
  if (inputOf("tell-notification").checked) notify(level);
}

/** @param {boolean} isChosen */
async function ask(isChosen) {
  note("");
  if (!isChosen) return;
  if (!("Notification" in window)) note("This browser has no notifications here; they need https.");
  else if ((await Notification.requestPermission()) === "granted") return;
  else note("The browser does not let this page show any: allow it beside the address, and choose it again.");
  inputOf("tell-notification").checked = false;
  keep("tell-notification", false);
}

export function startTold() {
  remembered(inputOf("tell-sound"), wake);
  for (const type of ["pointerdown", "keydown"]) document.addEventListener(type, wake);
  byId("try-sound").addEventListener("click", () => play(3));
  remembered(inputOf("tell-notification"), (isChosen) => {
    if (document.readyState === "complete") ask(isChosen);
  });
  status.addEventListener("change", call);
  store.addEventListener("change", showTitle);
}
