/** What can be said about a shape without drawing it. */

/** @import { Point } from "./settings.js" */

/** @param {Point} a @param {Point} b @param {Point} c */
const side = (a, b, c) => Math.sign((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));

/** @param {Point} a @param {Point} b @param {Point} c whether c, on the line through a and b, lies between them */
const isBetween = (a, b, c) =>
  Math.min(a.x, b.x) <= c.x && c.x <= Math.max(a.x, b.x) && Math.min(a.y, b.y) <= c.y && c.y <= Math.max(a.y, b.y);

/** Whether the edges ab and cd touch. @param {Point} a @param {Point} b @param {Point} c @param {Point} d */
function touch(a, b, c, d) {
  const [abc, abd, cda, cdb] = [side(a, b, c), side(a, b, d), side(c, d, a), side(c, d, b)];
  if (abc !== abd && cda !== cdb) return true;
  return (
    (abc === 0 && isBetween(a, b, c)) ||
    (abd === 0 && isBetween(a, b, d)) ||
    (cda === 0 && isBetween(c, d, a)) ||
    (cdb === 0 && isBetween(c, d, b))
  );
}

/** Whether edges that are no neighbours touch. @param {Point[]} points */
export function crossesItself(points) {
  const n = points.length;
  for (let i = 0; i < n; i++)
    for (let j = i + 2; j < n; j++)
      if (!(i === 0 && j === n - 1) && touch(points[i], points[(i + 1) % n], points[j], points[(j + 1) % n]))
        return true;
  return false;
}

/** @param {Point[]} points */
export const leavesPicture = (points) => points.some(({ x, y }) => x < 0 || x > 100 || y < 0 || y > 100);

/** Square per cents. @param {Point[]} points */
export function areaOf(points) {
  return (
    Math.abs(
      points.reduce((sum, p, i) => {
        const next = points[(i + 1) % points.length];
        return sum + p.x * next.y - next.x * p.y;
      }, 0),
    ) / 2
  );
}

/** @param {Point[]} points @returns {Point} */
export const middleOf = (points) => ({
  x: points.reduce((sum, { x }) => sum + x, 0) / points.length,
  y: points.reduce((sum, { y }) => sum + y, 0) / points.length,
});

/** Whether a point is in the shape: on how many edges a line from it to the right comes. @param {Point} at @param {Point[]} points */
export function isInside({ x, y }, points) {
  return points.reduce((isIn, a, i) => {
    const b = points[(i + 1) % points.length];
    const isCrossed = a.y > y !== b.y > y && x < a.x + ((y - a.y) / (b.y - a.y)) * (b.x - a.x);
    return isCrossed ? !isIn : isIn;
  }, false);
}

/** How far a point is from an edge. @param {Point} p @param {Point} a @param {Point} b */
export function distanceTo(p, a, b) {
  const [dx, dy] = [b.x - a.x, b.y - a.y];
  const length = dx * dx + dy * dy;
  const along = length === 0 ? 0 : Math.min(1, Math.max(0, ((p.x - a.x) * dx + (p.y - a.y) * dy) / length));
  return Math.hypot(p.x - a.x - along * dx, p.y - a.y - along * dy);
}

/** @param {Point} p @param {Point[]} points */
const distanceToOutline = (p, points) =>
  Math.min(...points.map((a, i) => distanceTo(p, a, points[(i + 1) % points.length])));

const GRID = 40; // lines each way that are looked at for a place inside

/**
 * A place on the shape where all of it can be taken hold of: its middle, or, where that lies outside, the place of a grid
 * that is farthest from every edge.
 * @param {Point[]} points @returns {Point}
 */
export function holdOf(points) {
  const middle = middleOf(points);
  if (isInside(middle, points) && distanceToOutline(middle, points) > 2) return middle;
  const places = [...Array(GRID * GRID).keys()]
    .map((i) => ({ x: ((i % GRID) * 100) / GRID, y: (Math.floor(i / GRID) * 100) / GRID }))
    .filter((place) => isInside(place, points));
  const distances = places.map((place) => distanceToOutline(place, points));
  return places[distances.indexOf(Math.max(...distances))] ?? middle;
}

/** @param {Point[]} points @param {number} i */
export const without = (points, i) => points.filter((_, at) => at !== i);

/** @param {Point[]} points @param {number} i where it comes @param {Point} point */
export const withPoint = (points, i, point) => [...points.slice(0, i), point, ...points.slice(i)];

/**
 * The corner whose loss changes the area least, and makes no edges cross where none did.
 * @param {Point[]} points
 */
function leastCorner(points) {
  const n = points.length;
  const losses = points.map((p, i) => areaOf([points[(i + n - 1) % n], p, points[(i + 1) % n]]));
  const order = [...points.keys()].sort((a, b) => losses[a] - losses[b]);
  const isTangled = crossesItself(points);
  return order.find((i) => isTangled || !crossesItself(without(points, i))) ?? order[0];
}

/** @param {Point[]} points with one more corner in the middle of the longest edge */
function split(points) {
  const n = points.length;
  const lengths = points.map((p, i) => Math.hypot(p.x - points[(i + 1) % n].x, p.y - points[(i + 1) % n].y));
  const longest = lengths.indexOf(Math.max(...lengths));
  const [a, b] = [points[longest], points[(longest + 1) % n]];
  return withPoint(points, longest + 1, { x: Math.round((a.x + b.x) / 2), y: Math.round((a.y + b.y) / 2) });
}

/**
 * The same outline with another number of corners, as nearly as can be: new ones in the middle of the longest edges, or
 * those gone whose loss changes the area least.
 * @param {Point[]} points @param {number} count @returns {Point[]}
 */
export function withCorners(points, count) {
  let result = points;
  while (result.length > count) result = without(result, leastCorner(result));
  while (result.length < count) result = split(result);
  return result;
}

/** @param {number} value @param {boolean} free whether it may stop next to an edge without snapping */
export function snapped(value, free) {
  const whole = Math.min(100, Math.max(0, Math.round(value)));
  if (free) return whole;
  return whole <= 2 ? 0 : whole >= 98 ? 100 : whole;
}
