// @ts-check
/** The shapes over the live picture: their outlines, and the handles that are dragged or moved by keys. */

import { crossesItself, middleOf } from "./core/geometry.js";
import { AREA, SHAPES, step, WHOLE } from "./core/shapes.js";
import { store } from "./core/store.js";
import { byId, make } from "./dom.js";
import { isDragging, startDrag } from "./drag.js";

/** @typedef {import("./core/settings.js").Point} Point */
/** @typedef {import("./core/settings.js").Settings} Settings */
/** @typedef {import("./core/shapes.js").Shape} Shape */

/** @type {Record<string, [number, number]>} */
const KEYS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

/**
 * The handles stay the same elements while they move, so that focus and drags survive.
 * @type {Map<string, HTMLButtonElement>}
 */
const handles = new Map();
/** @type {Map<string, SVGPolygonElement>} */
const outlines = new Map();

/** @param {Shape} shape @param {number} corner or WHOLE */
const keyOf = (shape, corner) => `${shape.key}.${corner}`;

/** @param {Shape} shape @param {number} corner or WHOLE */
const handleOf = (shape, corner) => /** @type {HTMLButtonElement} */ (handles.get(keyOf(shape, corner)));

/** @param {KeyboardEvent} event @param {Shape} shape @param {number} corner or WHOLE */
function moveByKey(event, shape, corner) {
  const direction = KEYS[event.key];
  if (direction === undefined || isDragging || event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  const [dx, dy] = direction.map((part) => part * (event.shiftKey ? 5 : 1));
  // A key that is held down makes one step of undo.
  const topic = event.repeat ? `${keyOf(shape, corner)} ${event.key}` : "";
  store.edit((settings) => step(shape.points(settings), corner, dx, dy, store.analysed), topic);
}

/** @param {Shape} shape @param {number} corner or WHOLE */
function makeHandle(shape, corner) {
  const className = `handle ${shape.kind}${corner === WHOLE ? " middle" : ""}`;
  const sign = corner === WHOLE ? shape.sign : String(corner + 1);
  const handle = make("button", { type: "button", hidden: true, className }, sign);
  handle.dataset.handle = keyOf(shape, corner);
  handle.addEventListener("pointerdown", (event) => startDrag(event, shape, corner));
  handle.addEventListener("keydown", (event) => moveByKey(event, shape, corner));
  handles.set(keyOf(shape, corner), handle);
  byId("handles").append(handle);
}

/** In the order in which Tab goes from one to the next. */
export function makeHandles() {
  for (const shape of SHAPES) for (const corner of [...Array(shape.most).keys(), WHOLE]) makeHandle(shape, corner);
}

/** @param {Shape} shape */
function outlineOf(shape) {
  let outline = outlines.get(shape.key);
  if (outline === undefined) {
    outline = document.createElementNS("http://www.w3.org/2000/svg", "polygon");
    // A finger on the picture scrolls the page; it moves shapes by their handles.
    outline.addEventListener("pointerdown", (event) => {
      if (event.pointerType !== "touch") startDrag(event, shape, WHOLE);
    });
    outlines.set(shape.key, outline);
    byId("shapes", SVGElement).append(outline);
  }
  return outline;
}

/**
 * Which way a handle may give way to its neighbours: outwards, but not out of the picture.
 * @param {number} at @param {number} middle
 */
const outwards = (at, middle) => (at < 8 || at > 92 ? 0 : Math.sign(at - middle));

/** What lies outside the picture is held at its edge, where it can be taken hold of. @param {number} at */
const heldAt = (at) => `${Math.min(100, Math.max(0, at))}%`;

/** @param {HTMLElement} handle @param {Point} at @param {Point} middle of its shape @param {string} label */
function place(handle, at, middle, label) {
  handle.hidden = false;
  handle.style.left = heldAt(at.x);
  handle.style.top = heldAt(at.y);
  handle.style.setProperty("--right", String(outwards(at.x, middle.x)));
  handle.style.setProperty("--down", String(outwards(at.y, middle.y)));
  // Beside the handle while it is held, away from the picture's edges.
  handle.dataset.at = `${at.x} %, ${at.y} %`;
  handle.dataset.side = `${at.x < 15 ? "right" : at.x > 85 ? "left" : ""} ${at.y < 20 ? "below" : ""}`;
  handle.setAttribute("aria-label", label);
  handle.title = label.split(":")[0];
}

/** @param {Point[]} points */
const listed = (points) => points.map(({ x, y }) => `${x},${y}`).join(" ");

/** @param {Shape} shape @param {Settings} settings @returns {HTMLElement[]} the handles that are in use */
function drawShape(shape, settings) {
  const points = shape.points(settings);
  const outline = outlineOf(shape);
  outline.setAttribute("class", `shape ${shape.kind}${crossesItself(points) ? " wrong" : ""}`);
  outline.setAttribute("points", listed(points));
  outline.toggleAttribute("hidden", !shape.on(settings));
  if (!shape.on(settings)) return [];
  const middle = middleOf(points);
  points.forEach((point, i) => {
    const label = `${shape.name}, corner ${i + 1}: ${point.x} % from the left, ${point.y} % from the top`;
    place(handleOf(shape, i), point, middle, label);
  });
  const label = `${shape.name}, all of it${shape.kind === "zone" ? `: ${shape.sign}` : ""}`;
  place(handleOf(shape, WHOLE), middle, middle, label);
  return [...points.keys(), WHOLE].map((corner) => handleOf(shape, corner));
}

/** @param {Settings} settings */
export function drawShapes(settings) {
  byId("outside", SVGElement).setAttribute("d", `M0,0H100V100H0Z M${listed(AREA.points(settings))}Z`);
  const used = new Set(SHAPES.flatMap((shape) => drawShape(shape, settings)));
  for (const handle of handles.values()) if (!used.has(handle)) handle.hidden = true;
}
