/** Sizes of pictures and streams. */

/** @import { Settings } from "./settings.js" */
/** @typedef {{width: number, height: number}} Size */

/** As the camera writes it. @param {Size} size */
export const sizeText = ({ width, height }) => `${width}x${height}`;

/** @param {string} csv @returns {Size[]} */
export function parseSizes(csv) {
  return csv
    .split(",")
    .map((text) => /^(\d+)x(\d+)$/.exec(text))
    .filter((match) => match !== null)
    .map((match) => ({ width: Number(match[1]), height: Number(match[2]) }));
}

/** @param {Size} size @param {boolean} isTurned by a quarter @returns {Size} */
const turned = ({ width, height }, isTurned) => (isTurned ? { width: height, height: width } : { width, height });

/**
 * The size of the picture that is analysed: the smallest around 16:9 that the network's 960x540 fits into, turned when
 * the camera's picture is.
 * @param {Size[]} sizes @param {boolean} isPortrait @returns {Size}
 */
export function analysedSize(sizes, isPortrait) {
  const fitting = sizes.filter(
    ({ width, height }) => width >= 960 && height >= 540 && width / height > 1.677777 && width / height < 1.877777,
  );
  const smallest = fitting.reduce(
    (best, size) => (size.width * size.height < best.width * best.height ? size : best),
    fitting[0] ?? { width: 1280, height: 720 },
  );
  return turned(smallest, isPortrait);
}

/** Always has boxes, whatever the user has chosen. */
export const ALWAYS_WITH_BOXES = "800x450";

/**
 * A stream that has boxes: the user's choice, else the one that always has them, else the analysed one. One of another
 * shape shows another part of the picture, and corners set on it would lie elsewhere.
 * @param {{saved: Settings | null, sizes: Size[], analysed: Size}} camera
 */
export function streamSize({ saved, sizes, analysed }) {
  const chosen = saved?.flags.DetectionOverlaysOn ? saved.texts.SelectedDetectionOverlay : "";
  const lying = turned(analysed, analysed.height > analysed.width);
  const ratio = lying.width / lying.height;
  const offered = sizes.filter(({ width, height }) => Math.abs(width / height / ratio - 1) < 0.02).map(sizeText);
  return [chosen, ALWAYS_WITH_BOXES].find((size) => offered.includes(size)) ?? sizeText(lying);
}
