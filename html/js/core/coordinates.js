/**
 * The application stores pixels; its document carries whole per cents, truncated both ways. So a pixel that was made
 * from 33 % of 1280 is read back as 32 %, and a page that sent back what it read would move every corner a bit on each
 * save. These pages hold the per cent that they *send*: `sendable` finds it for what was read, and `settle` keeps to
 * those that it finds, so that saving again stores the same pixel.
 */

import { copyOf } from "./settings.js";

/** @import { Point, Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */

/**
 * The per cent that the application reports for a pixel made from `percent`.
 * @param {number} percent @param {number} extent
 */
const reported = (percent, extent) => Math.trunc((Math.trunc((percent * extent) / 100) * 100) / extent);

/**
 * The per cent to send so that `read` is read again, or the nearest there is: truncation loses less than one.
 * @param {number} read @param {number} extent
 */
export function sendable(read, extent) {
  return [read, read + 1, read - 1].find((percent) => reported(percent, extent) === read) ?? read;
}

/**
 * The per cent that stands for `percent`: of 1280, 65 % and 66 % are both read back as 65 %, and were 66 % sent, the
 * next save would move it to 65 %.
 * @param {number} percent @param {number} extent
 */
export const settled = (percent, extent) => sendable(reported(percent, extent), extent);

/** @param {Point} point @param {Size} analysed @returns {Point} as it can be read back */
export const settledPoint = ({ x, y }, { width, height }) => ({ x: settled(x, width), y: settled(y, height) });

/** Every corner as it can be read back. @param {Settings} settings @param {Size} analysed @returns {Settings} */
export function settle(settings, analysed) {
  /** @param {Point[]} points */
  const settledAll = (points) => points.map((point) => settledPoint(point, analysed));
  return { ...copyOf(settings), area: settledAll(settings.area), zones: settings.zones.map(settledAll) };
}
