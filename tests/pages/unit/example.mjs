// Settings as a camera may have them, for tests to change.

import { load } from "./modules.mjs";

/** @type {typeof import("../../../html/js/core/settings.js")} */
const { FLAGS } = await load("core/settings.js");

/** @returns {import("../../../html/js/core/settings.js").Settings} */
export const valid = () => ({
  flags: Object.fromEntries(FLAGS.map((name, i) => [name, i % 2 === 0])),
  texts: {
    MinNumberOfPeopleForTrigger: "1",
    Sensitivity: "0.35",
    MaxDisappear: "3",
    Alert1ThreshSeconds: "5",
    Alert2ThreshSeconds: "10",
    Alert3ThreshSeconds: "15",
    SelectedDetectionOverlay: "1280x720",
    SelectedAnonOverlay: "640x360",
  },
  corners: 6,
  area: Array.from({ length: 8 }, (_, i) => ({ x: 10 + i, y: 90 - i })),
  zones: [0, 1, 2].map((zone) => Array.from({ length: 4 }, (_, i) => ({ x: zone + i, y: 2 * zone + i }))),
});

export const SIZES = [
  { width: 640, height: 360 },
  { width: 1280, height: 720 },
  { width: 1920, height: 1080 },
];
