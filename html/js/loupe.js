/** What is under the finger, larger, and beside it. */

import { store } from "./core/store.js";
import { byId } from "./dom.js";

/** @import { Shape } from "./core/shapes.js" */

const ZOOM = 3;
const SIZE_PX = 120; // as css/stage.css has it
const AWAY_PX = 95; // of its middle from the corner

const canvas = byId("loupe", HTMLCanvasElement);

/** @param {CanvasRenderingContext2D} context @param {Path2D} path @param {string} colour @param {number} width */
function stroke(context, path, colour, width) {
  context.strokeStyle = colour;
  context.lineWidth = width;
  context.stroke(path);
}

/** @param {Shape} shape @param {number} corner that is dragged */
export function showLoupe(shape, corner) {
  const context = canvas.getContext("2d");
  if (context === null || store.edited === null) return;
  const { clientWidth: width, clientHeight: height } = byId("stage");
  const points = shape.points(store.edited).map(({ x, y }) => ({ x: (x * width) / 100, y: (y * height) / 100 }));
  const { x, y } = points[corner];
  canvas.hidden = false;
  // Above the finger, or below where there is no room.
  canvas.style.left = `${Math.min(width - SIZE_PX / 2, Math.max(SIZE_PX / 2, x)) - SIZE_PX / 2}px`;
  canvas.style.top = `${(y > AWAY_PX + SIZE_PX / 3 ? y - AWAY_PX : y + AWAY_PX) - SIZE_PX / 2}px`;

  const scale = (ZOOM * canvas.width) / SIZE_PX;
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.fillStyle = "#0b1114";
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.setTransform(scale, 0, 0, scale, canvas.width / 2 - x * scale, canvas.height / 2 - y * scale);
  const picture = byId("picture", HTMLImageElement);
  if (!picture.hidden && picture.naturalWidth > 0) context.drawImage(picture, 0, 0, width, height);
  const outline = new Path2D();
  points.forEach((point, i) => (i === 0 ? outline.moveTo(point.x, point.y) : outline.lineTo(point.x, point.y)));
  outline.closePath();
  const cross = new Path2D(`M${x - 7},${y}h14M${x},${y - 7}v14`);
  stroke(context, outline, shape.kind === "zone" ? "#ff7be0" : "#37c8ff", 1);
  stroke(context, cross, "#000", 1.4);
  stroke(context, cross, "#fff", 0.6);
}

export function hideLoupe() {
  canvas.hidden = true;
}
