// @ts-check
/** What can be said about a shape without drawing it. */

/** @typedef {import("./settings.js").Point} Point */

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

/**
 * The same outline with another number of corners: new ones in the middle of the longest edges, or the last ones gone.
 * @param {Point[]} points @param {number} count @returns {Point[]}
 */
export function withCorners(points, count) {
  const result = points.slice(0, count);
  while (result.length < count) {
    const lengths = result.map((p, i) =>
      Math.hypot(p.x - result[(i + 1) % result.length].x, p.y - result[(i + 1) % result.length].y),
    );
    const longest = lengths.indexOf(Math.max(...lengths));
    const [a, b] = [result[longest], result[(longest + 1) % result.length]];
    result.splice(longest + 1, 0, { x: Math.round((a.x + b.x) / 2), y: Math.round((a.y + b.y) / 2) });
  }
  return result;
}

/** @param {number} value @param {boolean} free whether it may stop next to an edge without snapping */
export function snapped(value, free) {
  const whole = Math.min(100, Math.max(0, Math.round(value)));
  if (free) return whole;
  return whole <= 2 ? 0 : whole >= 98 ? 100 : whole;
}
