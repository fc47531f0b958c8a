// @ts-check
/** The area and the zones over the live picture: dragged, moved by keys, typed as numbers. */

import { byId, make } from "./dom.js";
import { areaOf, crossesItself, leavesPicture, middleOf, snapped, withCorners } from "./core/geometry.js";
import { settled } from "./core/coordinates.js";
import { copyOf } from "./core/settings.js";
import { store } from "./core/store.js";

/** @typedef {import("./core/settings.js").Settings} Settings */
/** @typedef {import("./core/settings.js").Point} Point */
/**
 * @typedef {Object} Shape
 * @property {string} key @property {string} name @property {string} kind @property {string} sign on its round handle
 * @property {number} most corners
 * @property {(settings: Settings) => Point[]} points
 * @property {(settings: Settings) => boolean} on
 */

/** @type {Shape[]} */
const SHAPES = [
  { key: "area", name: "Area", kind: "area", sign: "✥", most: 8, points: (settings) => settings.area.slice(0, settings.corners), on: () => true },
  ...[0, 1, 2].map((i) => ({
    key: `zone${i + 1}`, name: `Exclusion zone ${i + 1}`, kind: "zone", sign: `Z${i + 1}`, most: 4,
    points: (/** @type {Settings} */ settings) => settings.zones[i],
    on: (/** @type {Settings} */ settings) => settings.flags[`Exclusion${i + 1}_Active`],
  })),
];
const ENDS = ["pointerup", "pointercancel", "keydown"];
const KEYS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

/** @param {Point[]} points moves all of them, as one, within the picture @param {number} dx @param {number} dy */
function moveAll(points, dx, dy) {
  const xs = points.map(({ x }) => x), ys = points.map(({ y }) => y);
  const right = Math.max(Math.min(dx, 100 - Math.max(...xs)), -Math.min(...xs));
  const down = Math.max(Math.min(dy, 100 - Math.max(...ys)), -Math.min(...ys));
  for (const point of points) {
    point.x += Math.round(right);
    point.y += Math.round(down);
  }
}

/** One corner, where the application can tell it from its neighbours. @param {Point} point @param {number} x @param {number} y */
function put(point, x, y) {
  point.x = settled(x, store.analysed.width);
  point.y = settled(y, store.analysed.height);
}

/** @param {Shape} shape @param {number} corner -1 for the whole shape @param {number} dx @param {number} dy @param {string} topic */
function moveByKey(shape, corner, dx, dy, topic) {
  store.edit((settings) => {
    const points = shape.points(settings);
    if (corner < 0) return moveAll(points, dx, dy);
    const { x, y } = points[corner];
    put(points[corner], snapped(x + dx, true), snapped(y + dy, true));
    // A step that leads back to where it began is made twice as long.
    if (points[corner].x === x && points[corner].y === y) put(points[corner], snapped(x + 2 * dx, true), snapped(y + 2 * dy, true));
  }, topic);
}

let isDragging = false;

/** @param {PointerEvent} event @param {Shape} shape @param {number} corner -1 for the whole shape */
function startDrag(event, shape, corner) {
  if (store.edited === null || event.button !== 0 || isDragging) return; // a second finger drags nothing
  event.preventDefault();
  isDragging = true;
  const target = /** @type {HTMLElement} */ (event.currentTarget);
  if (target instanceof HTMLElement) target.focus();
  const box = byId("stage").getBoundingClientRect();
  const before = copyOf(store.edited);
  const start = { x: event.clientX, y: event.clientY };

  /** @param {PointerEvent} move */
  const drag = (move) => {
    if (move.pointerId === event.pointerId) store.preview((settings) => {
      const dx = ((move.clientX - start.x) / box.width) * 100, dy = ((move.clientY - start.y) / box.height) * 100;
      const points = shape.points(settings), origin = shape.points(before);
      if (points.length !== origin.length) return; // loaded anew meanwhile
      points.forEach((point, i) => Object.assign(point, origin[i]));
      if (corner < 0) return moveAll(points, dx, dy);
      put(points[corner], snapped(origin[corner].x + dx, move.altKey), snapped(origin[corner].y + dy, move.altKey));
    });
  };
  /** @param {Event} reason */
  const end = (reason) => {
    if (reason instanceof KeyboardEvent ? reason.key !== "Escape" : /** @type {PointerEvent} */ (reason).pointerId !== event.pointerId) return;
    isDragging = false;
    window.removeEventListener("pointermove", drag);
    for (const type of ENDS) window.removeEventListener(type, end);
    // What the browser or Escape breaks off was not meant.
    if (reason.type !== "pointerup") store.preview((settings) => { Object.assign(settings, copyOf(before)); });
    store.commit(before);
  };
  window.addEventListener("pointermove", drag);
  for (const type of ENDS) window.addEventListener(type, end);
}

/** The handles stay the same elements while they move, so that focus and drags survive. @type {Map<string, any>} */
const handles = new Map();
/** @type {Map<string, SVGPolygonElement>} */
const outlines = new Map();

/** @param {Shape} shape @param {number} corner */
const handleOf = (shape, corner) => handles.get(`${shape.key}.${corner}`);

/** @param {Shape} shape @param {number} corner */
function makeHandle(shape, corner) {
  const key = `${shape.key}.${corner}`;
  const className = `handle ${shape.kind}${corner < 0 ? " middle" : ""}`;
  const handle = make("button", { type: "button", hidden: true, className }, corner < 0 ? shape.sign : String(corner + 1));
  handle.dataset.handle = key;
  handle.addEventListener("pointerdown", (/** @type {PointerEvent} */ event) => startDrag(event, shape, corner));
  handle.addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => {
    const direction = KEYS[/** @type {keyof typeof KEYS} */ (event.key)];
    if (direction === undefined || isDragging || event.altKey || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    const step = event.shiftKey ? 5 : 1;
    // A key that is held down makes one step of undo.
    moveByKey(shape, corner, direction[0] * step, direction[1] * step, event.repeat ? `${key} ${event.key}` : "");
  });
  handles.set(key, handle);
  byId("handles").append(handle);
}

/** @param {Shape} shape */
function outlineOf(shape) {
  let outline = outlines.get(shape.key);
  if (outline === undefined) {
    outline = document.createElementNS("http://www.w3.org/2000/svg", "polygon");
    // A finger on the picture scrolls the page; it moves shapes by their handles.
    outline.addEventListener("pointerdown", (event) => { if (event.pointerType !== "touch") startDrag(event, shape, -1); });
    outlines.set(shape.key, outline);
    byId("shapes").append(outline);
  }
  return outline;
}

/** Which way a handle may give way to its neighbours: outwards, but not out of the picture. @param {number} at @param {number} middle */
const outwards = (at, middle) => (at < 8 || at > 92 ? 0 : Math.sign(at - middle));

/** @param {any} handle @param {Point} at @param {Point} middle of its shape @param {string} label */
function place(handle, at, middle, label) {
  handle.hidden = false;
  // What lies outside the picture is held at its edge, where it can be taken hold of.
  handle.style.left = `${Math.min(100, Math.max(0, at.x))}%`;
  handle.style.top = `${Math.min(100, Math.max(0, at.y))}%`;
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

/** @param {Settings} settings */
function drawShapes(settings) {
  const unused = new Set(handles.values());
  byId("outside").setAttribute("d", `M0,0H100V100H0Z M${listed(SHAPES[0].points(settings))}Z`);
  for (const shape of SHAPES) {
    const points = shape.points(settings);
    const outline = outlineOf(shape);
    outline.setAttribute("class", `shape ${shape.kind}${crossesItself(points) ? " wrong" : ""}`);
    outline.setAttribute("points", listed(points));
    outline.toggleAttribute("hidden", !shape.on(settings));
    if (!shape.on(settings)) continue;
    const middle = middleOf(points);
    points.forEach((point, i) => place(handleOf(shape, i), point, middle,
      `${shape.name}, corner ${i + 1}: ${point.x} % from the left, ${point.y} % from the top`));
    place(handleOf(shape, -1), middle, middle, `${shape.name}, all of it${shape.kind === "zone" ? `: ${shape.sign}` : ""}`);
    for (const corner of [-1, ...points.keys()]) unused.delete(handleOf(shape, corner));
  }
  for (const handle of unused) handle.hidden = true;
}

/** What is wrong with the shapes that are on; they can be saved all the same. @param {Settings} settings */
export function shapeProblems(settings) {
  const problems = [];
  for (const shape of SHAPES.filter((candidate) => candidate.on(settings))) {
    const points = shape.points(settings);
    if (crossesItself(points)) problems.push(`${shape.name}: its edges cross. What counts inside is then hard to foresee; move the corners apart.`);
    if (leavesPicture(points)) problems.push(`${shape.name}: it leaves the picture. Move its corners back into it.`);
    else if (areaOf(points) < 1) problems.push(`${shape.name}: there is nearly nothing inside.`);
  }
  return problems;
}

/** @param {Settings} settings */
function tellProblems(settings) {
  const told = shapeProblems(settings);
  if (settings.flags.Exclusion2_Active !== settings.flags.Exclusion3_Active)
    told.push("Exclusion zone 2: when the application starts again, this zone will be on or off as zone 3 is. Switch both the same way.");
  const list = byId("shape-problems");
  const shown = [...list.children].map((item) => item.textContent);
  if (shown.join() !== told.join()) list.replaceChildren(...told.map((text) => make("li", {}, text)));
}

/** @type {Map<string, any>} */
const inputs = new Map();

/** @param {Shape} shape @param {number} corner @param {"x" | "y"} axis */
function inputOf(shape, corner, axis) {
  const key = `${shape.key}.${corner}.${axis}`;
  let input = inputs.get(key);
  if (input === undefined) {
    input = make("input", { type: "number", min: "0", max: "100", step: "1", "aria-label": `${shape.name}, corner ${corner + 1}, ${axis}` });
    input.dataset.coordinate = key;
    input.addEventListener("change", () => {
      const value = Number(input.value);
      const isFine = input.value !== "" && Number.isInteger(value) && value >= 0 && value <= 100;
      if (isFine) store.edit((settings) => {
        const point = shape.points(settings)[corner];
        put(point, axis === "x" ? value : point.x, axis === "y" ? value : point.y);
      });
      if (store.edited !== null) input.value = shape.points(store.edited)[corner][axis];
    });
    inputs.set(key, input);
  }
  return input;
}

let tabled = "";

/** @param {Settings} settings */
function showCoordinates(settings) {
  const shown = SHAPES.filter((shape) => shape.on(settings));
  const kind = shown.map((shape) => `${shape.key}:${shape.points(settings).length}`).join();
  if (kind !== tabled) {
    tabled = kind;
    byId("coordinates").replaceChildren(...shown.map((shape) => make("table", {}, make("caption", {}, shape.name),
      make("thead", {}, make("tr", {}, ...["Corner", "x", "y"].map((text) => make("th", { scope: "col" }, text)))),
      make("tbody", {}, ...shape.points(settings).map((_, i) => make("tr", {}, make("th", { scope: "row" }, String(i + 1)),
        make("td", {}, inputOf(shape, i, "x")), make("td", {}, inputOf(shape, i, "y"))))))));
  }
  for (const shape of shown)
    shape.points(settings).forEach((point, i) => {
      inputOf(shape, i, "x").value = point.x;
      inputOf(shape, i, "y").value = point.y;
    });
}

/** @param {Settings} settings @returns {Pick<Settings, "area" | "zones" | "corners">} */
const shapesOf = ({ area, zones, corners }) => structuredClone({ area, zones, corners });
/** @param {Settings} settings */
const switchesOf = ({ flags }) => Object.fromEntries([1, 2, 3].map((i) => [`Exclusion${i}_Active`, flags[`Exclusion${i}_Active`]]));

function areShapesChanged() {
  const [saved, edited] = [store.saved, store.edited].map((settings) => JSON.stringify(settings && [shapesOf(settings), switchesOf(settings)]));
  return saved !== edited;
}

function show() {
  byId("undo").disabled = !store.canUndo;
  byId("redo").disabled = !store.canRedo;
  byId("reset").disabled = !areShapesChanged();
  if (store.edited === null) return;
  const { width, height } = store.analysed;
  byId("stage").style.setProperty("--ratio", String(width / height));
  byId("corners").value = String(store.edited.corners);
  for (const i of [1, 2, 3]) byId(`Exclusion${i}_Active`).checked = store.edited.flags[`Exclusion${i}_Active`];
  drawShapes(store.edited);
  tellProblems(store.edited);
  showCoordinates(store.edited);
}

export function startEditor() {
  for (const shape of SHAPES) for (const corner of [...Array(shape.most).keys(), -1]) makeHandle(shape, corner);
  for (const i of [1, 2, 3]) {
    const box = make("input", { type: "checkbox", id: `Exclusion${i}_Active` });
    box.addEventListener("change", () => store.edit((settings) => { settings.flags[`Exclusion${i}_Active`] = box.checked; }));
    byId("zones").append(make("label", { className: "check" }, box, `Zone ${i}`));
  }
  byId("undo").addEventListener("click", () => store.undo());
  byId("redo").addEventListener("click", () => store.redo());
  byId("reset").addEventListener("click", () => store.edit((settings) => {
    if (store.saved === null) return;
    Object.assign(settings, shapesOf(store.saved));
    Object.assign(settings.flags, switchesOf(store.saved));
  }));
  byId("corners").addEventListener("change", () => store.edit((settings) => {
    const count = Number(byId("corners").value);
    const used = withCorners(settings.area.slice(0, settings.corners), count);
    settings.area = [...used, ...settings.area.slice(count)];
    settings.corners = count;
  }));
  document.addEventListener("keydown", (event) => {
    if (!(event.ctrlKey || event.metaKey) || (event.target instanceof HTMLInputElement && event.target.type !== "checkbox")) return;
    if (isDragging || document.querySelector("dialog[open]") !== null) return;
    const key = event.key.toLowerCase();
    if (key === "z" && !event.shiftKey) store.undo();
    else if (key === "y" || key === "z") store.redo();
    else return;
    event.preventDefault();
  });
  store.addEventListener("change", show);
  show();
}
