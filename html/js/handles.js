/** The shapes over the live picture: their outlines, and the handles that are dragged or moved by keys. */

import { crossesItself, holdOf, middleOf } from "./core/geometry.js";
import { placesFor } from "./core/handle_places.js";
import { addCorner, AREA, removeCorner, SHAPES, step, WHOLE } from "./core/shapes.js";
import { store } from "./core/store.js";
import { byId, make, setText } from "./dom.js";
import { isDragging, startDrag } from "./drag.js";

/** @import { Point, Settings } from "./core/settings.js" */
/** @import { Shape } from "./core/shapes.js" */

/** @type {Record<string, [number, number]>} */
const KEYS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

/**
 * The handles stay the same elements while they move, so that focus and drags survive.
 * @type {Map<string, HTMLButtonElement>}
 */
const handles = new Map();
/** @type {Map<string, SVGElement>} */
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

const ADDED = "A corner was added, and one in the middle of the longest edge: an area has 4, 6 or 8.";
const REMOVED = "The corner was removed, and the one whose loss changes the area least: an area has 4, 6 or 8.";

/**
 * Changes the number of corners, and tells why it is not by one.
 * @param {(settings: Settings) => boolean} act @param {string} done
 */
function changeCount(act, done) {
  let isDone = false;
  store.edit((settings) => {
    isDone = act(settings);
  });
  setText(byId("shape-note"), isDone ? done : "An area has 4, 6 or 8 corners.");
}

/** @param {number} edge the corner at which it begins @param {Point} at per cent of the picture */
const addAt = (edge, at) => changeCount((settings) => addCorner(settings, edge, at, store.analysed), ADDED);

/** @param {KeyboardEvent} event @param {Shape} shape @param {number} corner or WHOLE */
function changeByKey({ key }, shape, corner) {
  if (shape !== AREA || corner === WHOLE || isDragging || store.edited === null) return;
  const points = AREA.points(store.edited);
  if (key === "Insert") addAt(corner, middleOf([points[corner], points[(corner + 1) % points.length]]));
  if (key !== "Delete") return;
  changeCount((settings) => removeCorner(settings, corner), REMOVED);
  handleOf(AREA, Math.min(corner, AREA.points(store.edited).length - 1)).focus();
}

/** @param {Shape} shape @param {number} corner or WHOLE */
function makeHandle(shape, corner) {
  const className = `handle ${shape.kind}${corner === WHOLE ? " middle" : ""}`;
  const sign = corner === WHOLE ? shape.sign : String(corner + 1);
  const handle = make("button", { hidden: true, className }, sign);
  handle.dataset.handle = keyOf(shape, corner);
  handle.addEventListener("pointerdown", (event) => startDrag(event, shape, corner));
  handle.addEventListener("keydown", (event) => {
    moveByKey(event, shape, corner);
    changeByKey(event, shape, corner);
  });
  handles.set(keyOf(shape, corner), handle);
  byId("handles").append(handle);
}

/** @param {string} name @param {string} className */
function drawn(name, className) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  element.setAttribute("class", className);
  byId("shapes", SVGElement).append(element);
  return element;
}

/** The lines from handles to their corners, and what of the area's edges takes a click. @type {SVGElement[]} */
const leads = [];
/** @type {SVGElement[]} */
const edges = [];

/** @param {number} edge */
function makeEdge(edge) {
  const line = drawn("line", "edge");
  /** @type {Point | null} */
  let pressed = null;
  line.addEventListener("pointerdown", (event) => {
    pressed = { x: event.clientX, y: event.clientY };
    if (event.pointerType !== "touch") startDrag(event, AREA, WHOLE);
  });
  line.addEventListener("click", (event) => {
    // A drag that ends on the edge with which it began is no click on it.
    if (pressed === null || Math.hypot(event.clientX - pressed.x, event.clientY - pressed.y) > 4) return;
    const box = byId("stage").getBoundingClientRect();
    const at = { x: (event.clientX - box.left) / box.width, y: (event.clientY - box.top) / box.height };
    addAt(edge, { x: Math.round(100 * at.x), y: Math.round(100 * at.y) });
  });
  edges.push(line);
}

/** In the order in which Tab goes from one to the next. */
export function makeHandles() {
  for (const shape of SHAPES) {
    outlineOf(shape);
    for (const corner of [...Array(shape.most).keys(), WHOLE]) {
      makeHandle(shape, corner);
      leads.push(drawn("line", "lead-line"));
    }
  }
  for (const edge of Array(AREA.most).keys()) makeEdge(edge);
  new ResizeObserver(() => {
    if (store.edited !== null) drawShapes(store.edited);
  }).observe(byId("stage"));
}

/** @param {Shape} shape */
function outlineOf(shape) {
  let outline = outlines.get(shape.key);
  if (outline === undefined) {
    outline = drawn("polygon", "");
    // A finger on the picture scrolls the page; it moves shapes by their handles.
    outline.addEventListener("pointerdown", (event) => {
      if (event.pointerType !== "touch") startDrag(event, shape, WHOLE);
    });
    outlines.set(shape.key, outline);
  }
  return outline;
}

/** What lies outside the picture is held at its edge, where it can be taken hold of. @param {number} at */
const heldAt = (at) => Math.min(100, Math.max(0, at));

/** @param {SVGElement} line @param {Point} a @param {Point} b */
function setLine(line, a, b) {
  for (const [name, value] of Object.entries({ x1: a.x, y1: a.y, x2: b.x, y2: b.y }))
    line.setAttribute(name, String(value));
}

/** @typedef {{key: string, at: Point, held: Point, label: string, isCorner: boolean}} Placed */

/** @param {HTMLElement} handle @param {Placed} placed */
function describe(handle, { at, label, isCorner }) {
  handle.hidden = false;
  if (isCorner) handle.dataset.at = `${at.x} %, ${at.y} %`;
  // Beside the handle while it is held, away from the picture's edges.
  handle.dataset.side = `${at.x < 15 ? "right" : at.x > 85 ? "left" : ""} ${at.y < 20 ? "below" : ""}`;
  handle.setAttribute("aria-label", label);
  handle.title = label.split(":")[0];
}

/** How far each handle stands from its point, pixels: while something is dragged that stays as it was. @type {Map<string, Point>} */
const offsets = new Map();

/** @param {Placed[]} placed */
function place(placed) {
  const { clientWidth: width, clientHeight: height } = byId("stage");
  if (width === 0) return; // on another tab: drawn once it is seen
  const style = getComputedStyle(byId("stage"));
  const [size, margin] = ["--handle", "--beyond"].map((name) => parseFloat(style.getPropertyValue(name)));
  /** @param {Placed} each */
  const pixels = ({ held }) => ({ x: (held.x * width) / 100, y: (held.y * height) / 100 });
  if (!isDragging) {
    const shapes = SHAPES.map(({ key }) => placed.filter((each) => each.key.startsWith(key)).map(pixels));
    const places = placesFor(
      shapes.filter((points) => points.length > 0),
      { width, height },
      size,
      margin,
    );
    offsets.clear();
    placed.forEach((each, i) => {
      const { x, y } = pixels(each);
      offsets.set(each.key, { x: places[i].x - x, y: places[i].y - y });
    });
  }
  placed.forEach((each, i) => {
    const handle = /** @type {HTMLElement} */ (handles.get(each.key));
    const by = offsets.get(each.key) ?? { x: 0, y: 0 };
    describe(handle, each);
    handle.style.left = `calc(${each.held.x}% + ${by.x.toFixed(1)}px)`;
    handle.style.top = `calc(${each.held.y}% + ${by.y.toFixed(1)}px)`;
    const isLed = Math.hypot(by.x, by.y) > size / 4;
    leads[i].toggleAttribute("hidden", !isLed);
    if (isLed)
      setLine(leads[i], each.held, {
        x: each.held.x + (100 * by.x) / width,
        y: each.held.y + (100 * by.y) / height,
      });
  });
  for (const line of leads.slice(placed.length)) line.toggleAttribute("hidden", true);
}

/** @param {Point[]} points */
const listed = (points) => points.map(({ x, y }) => `${x},${y}`).join(" ");

/** @param {Shape} shape @param {Settings} settings @returns {Placed[]} the handles that are in use */
function drawShape(shape, settings) {
  const points = shape.points(settings);
  const outline = outlineOf(shape);
  outline.setAttribute("class", `shape ${shape.kind}${crossesItself(points) ? " wrong" : ""}`);
  outline.setAttribute("points", listed(points));
  outline.toggleAttribute("hidden", !shape.on(settings));
  if (!shape.on(settings)) return [];
  /** @param {number} corner @param {Point} at @param {string} label @returns {Placed} */
  const placed = (corner, at, label) => ({
    key: keyOf(shape, corner),
    at,
    held: { x: heldAt(at.x), y: heldAt(at.y) },
    label,
    isCorner: corner !== WHOLE,
  });
  const corners = points.map((point, i) =>
    placed(i, point, `${shape.name}, corner ${i + 1}: ${point.x} % from the left, ${point.y} % from the top`),
  );
  const label = `${shape.name}, all of it${shape.kind === "zone" ? `: ${shape.sign}` : ""}`;
  return [...corners, placed(WHOLE, holdOf(points), label)];
}

/** @param {Settings} settings */
function drawEdges(settings) {
  const points = AREA.points(settings);
  edges.forEach((line, i) => {
    line.toggleAttribute("hidden", i >= points.length);
    if (i < points.length) setLine(line, points[i], points[(i + 1) % points.length]);
  });
}

/** @param {Settings} settings */
export function drawShapes(settings) {
  byId("outside", SVGElement).setAttribute("d", `M0,0H100V100H0Z M${listed(AREA.points(settings))}Z`);
  drawEdges(settings);
  const placed = SHAPES.flatMap((shape) => drawShape(shape, settings));
  place(placed);
  const used = new Set(placed.map(({ key }) => key));
  for (const [key, handle] of handles) if (!used.has(key)) handle.hidden = true;
}
