// @ts-check
/** Where handles stand so that none covers another: at their points, or as near to them as there is room. */

/** @import { Point } from "./settings.js" */
/** @import { Size } from "./sizes.js" */

const ROUNDS = 200;

/**
 * Two handles that overlap part along the axis on which they do so least, or along the other one: where there is no
 * room that way.
 * @param {Point} a @param {Point} b @param {number} size @param {boolean} isOther
 */
function part(a, b, size, isOther) {
  const [dx, dy] = [b.x - a.x, b.y - a.y];
  const [right, down] = [size - Math.abs(dx), size - Math.abs(dy)];
  if (right <= 0 || down <= 0) return false;
  if (right < down !== isOther) {
    const by = ((dx < 0 ? -1 : 1) * right) / 2;
    a.x -= by;
    b.x += by;
  } else {
    const by = ((dy < 0 ? -1 : 1) * down) / 2;
    a.y -= by;
    b.y += by;
  }
  return true;
}

/** @param {Point} at @param {Size} stage @param {number} margin how far a handle may stand out of the picture */
function keepWithin(at, { width, height }, margin) {
  at.x = Math.min(width + margin, Math.max(-margin, at.x));
  at.y = Math.min(height + margin, Math.max(-margin, at.y));
}

/**
 * @param {Point[]} wanted in pixels of the stage @param {Size} stage @param {number} size of a handle
 * @param {number} margin @returns {Point[]} the middles of the handles, in the same order
 */
export function placesFor(wanted, stage, size, margin) {
  const places = wanted.map(({ x, y }) => ({ x, y }));
  for (const place of places) keepWithin(place, stage, margin);
  for (let round = 0; round < ROUNDS; round++) {
    let isMoved = false;
    for (let i = 0; i < places.length; i++)
      for (let j = i + 1; j < places.length; j++)
        isMoved = part(places[i], places[j], size + 0.5, round > 40 && (i + j + round) % 3 === 0) || isMoved;
    if (!isMoved) break;
    for (const place of places) keepWithin(place, stage, margin);
  }
  return places;
}
