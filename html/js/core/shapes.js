/** The area and the exclusion zones: which there are, how they are changed, and what is wrong with them. */

import { settledPoint } from "./coordinates.js";
import { areaOf, crossesItself, leavesPicture, snapped, withCorners, without, withPoint } from "./geometry.js";
import { CORNER_COUNTS, ZONE_FLAGS } from "./settings.js";

/** @import { Point, Settings } from "./settings.js" */
/** @import { Size } from "./sizes.js" */
/**
 * @typedef {Object} Shape
 * @property {string} key @property {string} name @property {string} kind @property {string} sign on its round handle
 * @property {number} most corners
 * @property {(settings: Settings) => Point[]} points
 * @property {(settings: Settings) => boolean} on
 */

/** @type {Shape} */
export const AREA = {
  key: "area",
  name: "Area",
  kind: "area",
  sign: "✥",
  most: 8,
  points: (settings) => settings.area.slice(0, settings.corners),
  on: () => true,
};
/** @type {Shape[]} */
const ZONES = ZONE_FLAGS.map((flag, i) => ({
  key: `zone${i + 1}`,
  name: `Exclusion zone ${i + 1}`,
  kind: "zone",
  sign: `Z${i + 1}`,
  most: 4,
  points: (settings) => settings.zones[i],
  on: (settings) => settings.flags[flag],
}));
export const SHAPES = [AREA, ...ZONES];

/** In place of a corner: all of the shape. */
export const WHOLE = -1;

/** @param {Settings} settings */
export const shapesOn = (settings) => SHAPES.filter((shape) => shape.on(settings));

/** @param {Point[]} points moves all of them, as one, within the picture @param {number} dx @param {number} dy */
function moveAll(points, dx, dy) {
  /** @param {number} by @param {number[]} values */
  const within = (by, values) => Math.round(Math.max(Math.min(by, 100 - Math.max(...values)), -Math.min(...values)));
  const right = within(
    dx,
    points.map(({ x }) => x),
  );
  const down = within(
    dy,
    points.map(({ y }) => y),
  );
  for (const point of points) {
    point.x += right;
    point.y += down;
  }
}

/**
 * One corner, where the application can tell it from its neighbours.
 * @param {Point} point @param {Point} to @param {Size} analysed
 */
export const put = (point, to, analysed) => Object.assign(point, settledPoint(to, analysed));

/**
 * A step by a key.
 * @param {Point[]} points @param {number} corner or WHOLE @param {number} dx @param {number} dy @param {Size} analysed
 */
export function step(points, corner, dx, dy, analysed) {
  if (corner === WHOLE) return moveAll(points, dx, dy);
  const { x, y } = points[corner];
  /** @param {number} times */
  const go = (times) =>
    put(points[corner], { x: snapped(x + times * dx, true), y: snapped(y + times * dy, true) }, analysed);
  go(1);
  // A step that leads back to where it began is made twice as long.
  if (points[corner].x === x && points[corner].y === y) go(2);
}

/**
 * A drag that has come so far from where it began.
 * @param {Point[]} points @param {Point[]} origin the points as they were then @param {number} corner or WHOLE
 * @param {Point} by @param {boolean} isFree of the picture's edges, to which a corner snaps otherwise
 * @param {Size} analysed
 */
export function dragFrom(points, origin, corner, by, isFree, analysed) {
  if (points.length !== origin.length) return; // loaded anew meanwhile
  points.forEach((point, i) => Object.assign(point, origin[i]));
  if (corner === WHOLE) return moveAll(points, by.x, by.y);
  const { x, y } = origin[corner];
  put(points[corner], { x: snapped(x + by.x, isFree), y: snapped(y + by.y, isFree) }, analysed);
}

/** Corners that are not in use stay behind those that are. @param {Settings} settings @param {Point[]} points */
function setArea(settings, points) {
  settings.area = [...points, ...settings.area.slice(points.length)];
  settings.corners = points.length;
}

/** @param {Settings} settings @param {number} count */
export const setCorners = (settings, count) => setArea(settings, withCorners(AREA.points(settings), count));

/**
 * One more corner of the area, and with it what the application's next number of corners takes: 4, 6 or 8 are all it
 * knows, so that another one comes in the middle of the longest edge.
 * @param {Settings} settings @param {number} edge the corner at which it begins @param {Point} at @param {Size} analysed
 * @returns {boolean} false: there are as many as can be
 */
export function addCorner(settings, edge, at, analysed) {
  const count = CORNER_COUNTS.find((each) => each > settings.corners);
  if (count === undefined) return false;
  setArea(settings, withCorners(withPoint(AREA.points(settings), edge + 1, settledPoint(at, analysed)), count));
  return true;
}

/**
 * One corner less, and with it the one whose loss changes the area least.
 * @param {Settings} settings @param {number} corner
 * @returns {boolean} false: there are as few as can be
 */
export function removeCorner(settings, corner) {
  const count = CORNER_COUNTS.filter((each) => each < settings.corners).pop();
  if (count === undefined) return false;
  setArea(settings, withCorners(without(AREA.points(settings), corner), count));
  return true;
}

/** As the package declares it, per cent of the picture: the last four are on its left edge, for who adds corners. */
const DEFAULT_AREA = [
  [43, 40],
  [58, 40],
  [59, 79],
  [40, 79],
  [40, 72],
  [42, 64],
  [42, 55],
  [43, 49],
];

/** The way back to where every camera begins. @param {Settings} settings @param {Size} analysed */
export function setDefaultArea(settings, analysed) {
  settings.area = DEFAULT_AREA.map(([x, y]) => settledPoint({ x, y }, analysed));
  settings.corners = 4;
}

/** @param {Settings} settings what "Reset" is about */
const shapesOf = ({ area, zones, corners, flags }) => ({
  shapes: structuredClone({ area, zones, corners }),
  switches: Object.fromEntries(ZONE_FLAGS.map((flag) => [flag, flags[flag]])),
});

/** @param {Settings} settings @param {Settings} saved */
export function resetShapes(settings, saved) {
  const { shapes, switches } = shapesOf(saved);
  Object.assign(settings, shapes);
  Object.assign(settings.flags, switches);
}

/** @param {Settings | null} a @param {Settings | null} b */
export function haveSameShapes(a, b) {
  const [first, second] = [a, b].map((settings) => JSON.stringify(settings && shapesOf(settings)));
  return first === second;
}

/** What is wrong with the shapes that are on; they can be saved all the same. @param {Settings} settings */
export function shapeProblems(settings) {
  const problems = [];
  for (const shape of shapesOn(settings)) {
    const points = shape.points(settings);
    if (crossesItself(points))
      problems.push(
        `${shape.name}: its edges cross. What counts inside is then hard to foresee; move the corners apart.`,
      );
    if (leavesPicture(points)) problems.push(`${shape.name}: it leaves the picture. Move its corners back into it.`);
    else if (areaOf(points) < 1) problems.push(`${shape.name}: there is nearly nothing inside.`);
  }
  return problems;
}

/** What is to be known of the zones' switches. @param {Settings} settings @returns {string[]} */
export function zoneWarnings({ flags }) {
  const [, second, third] = ZONE_FLAGS.map((flag) => flags[flag]);
  if (second === third) return [];
  return [
    "Exclusion zone 2: when the application starts again, this zone will be on or off as zone 3 is. " +
      "Switch both the same way.",
  ];
}
