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
 * One axis of a shape's points. A shape too small for its handles is opened around its middle, and kept in the picture.
 * @param {number[]} values @param {number} extent @param {number} size @param {number} margin
 */
function opened(values, extent, size, margin) {
  const [least, most] = [Math.min(...values), Math.max(...values)];
  const scale = (2 * size + 1) / (most - least);
  if (scale <= 1 || least === most) return values;
  const middle = Math.min(extent + margin - size, Math.max(size - margin, (least + most) / 2));
  return values.map((value) => middle + scale * (value - (least + most) / 2));
}

/**
 * @param {Point[][]} shapes their points in pixels of the stage @param {Size} stage @param {number} size of a handle
 * @param {number} margin @returns {Point[]} the middles of the handles, in the same order
 */
export function placesFor(shapes, stage, size, margin) {
  const places = shapes.flatMap((points) => {
    const xs = opened(
      points.map(({ x }) => x),
      stage.width,
      size,
      margin,
    );
    const ys = opened(
      points.map(({ y }) => y),
      stage.height,
      size,
      margin,
    );
    return xs.map((x, i) => ({ x, y: ys[i] }));
  });
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
