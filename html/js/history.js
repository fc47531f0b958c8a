/** What happened on a day: the stays that a host keeps, and on every camera the alerts that its log tells of. */

import { alertPeriods, ofDay, secondsOf } from "./core/alert_history.js";
import { readSerialisedLog } from "./core/endpoint.js";
import { parseLog } from "./core/log_lines.js";
import { byHour, staysOf, stillOf, summary } from "./core/stays.js";
import { alertName } from "./core/status.js";
import { clockOf, dayAfter, dayOf, durationText, startOfDay, wallTime } from "./core/wall_time.js";
import { byId, inputOf, make, setText } from "./dom.js";
import { download } from "./files.js";
import { lanes } from "./timeline.js";

/** @import { Period } from "./core/alert_history.js" */
/** @import { TimedStay } from "./core/stays.js" */

const MOST_SHOWN = 500; // rows
const RELOAD_MS = 20000;

/** All that the log tells of. @type {Period[]} */
let periods = [];
/** Those of the day. @type {TimedStay[]} */
let stays = [];
/** As the host told them. */
let answer = "";
/** The camera's own, once its log has been read. */
let today = "";
let day = "";

/** A time of another day has its day with it. @param {number} time */
const timeText = (time) => (dayOf(time) === day ? clockOf(time) : `${dayOf(time)} ${clockOf(time)}`);

/** @param {number} level */
const levelText = (level) => (level === 0 ? "No alert" : alertName(level));

/** @param {number} level */
function markOf(level) {
  const mark = make("span", { className: level === 0 ? "mark yellow" : "mark" });
  mark.dataset.level = String(level);
  return mark;
}

/** @param {...(Node | string)} cells */
const rowOf = (...cells) => make("tr", {}, ...cells.map((cell) => make("td", {}, cell)));

function showPeriods() {
  const shown = ofDay(periods, day);
  byId("alert-line").replaceChildren(...lanes([1, 2, 3], levelText, shown, day));
  byId("period-list").replaceChildren(
    ...[...shown]
      .reverse()
      .slice(0, MOST_SHOWN)
      .map((period) => {
        const alert = make("span", {}, markOf(period.level), alertName(period.level));
        const to = period.note === "still active" ? "still active" : timeText(period.to);
        const note = ["", "still active"].includes(period.note) ? "" : ` (${period.note})`;
        return rowOf(alert, timeText(period.from), to, durationText(secondsOf(period)) + note);
      }),
  );
  const told = shown.length === 0 ? "No alert on this day, as far as the log reaches back." : `${shown.length} alerts.`;
  setText(byId("periods-note"), told);
}

/** @param {TimedStay} stay */
function pictureOf(stay) {
  const cell = make("div", { className: "row" });
  const still = stillOf(stay);
  if (still !== undefined) {
    const alt = `${stay.label} ${stay.object} at the ${alertName(still.level).toLowerCase()}`;
    const image = make("img", { loading: "lazy", alt, width: 112, height: 63, src: String(still.still) });
    cell.append(make("a", { href: String(still.still), target: "_blank", rel: "noopener" }, image));
  }
  const clip = stay.alerts.filter((alert) => alert.clip !== null).pop();
  if (clip !== undefined)
    cell.append(make("a", { href: String(clip.clip), download: "" }, `Clip of ${clockOf(wallTime(clip.time))}`));
  return cell;
}

/** @param {TimedStay} stay */
const stayRow = (stay) =>
  rowOf(
    timeText(stay.from),
    stay.left === null ? "still there" : timeText(stay.to),
    durationText(stay.seconds),
    `${stay.label} ${stay.object}`,
    make("span", {}, markOf(stay.level), levelText(stay.level)),
    pictureOf(stay),
  );

/** Which rows there are: a list that is loaded again and the same is left alone. */
let listed = "";

function showStayList() {
  const wanted = inputOf("stays-with-alert").checked ? stays.filter(({ level }) => level > 0) : stays;
  const shown = [...wanted].reverse().slice(0, MOST_SHOWN);
  const kind = day + JSON.stringify(shown);
  if (kind !== listed) byId("stay-list").replaceChildren(...shown.map(stayRow));
  listed = kind;
  const rest = wanted.length > shown.length ? `; the newest ${shown.length} are listed, all are in the files` : "";
  setText(byId("stays-note"), `${wanted.length} of ${stays.length} stays${rest}.`);
}

function showHours() {
  const hours = byHour(stays, day);
  const most = Math.max(1, ...hours.map((levels) => levels.reduce((sum, count) => sum + count, 0)));
  byId("stay-hours").replaceChildren(
    ...hours.map((levels, hour) => {
      const total = levels.reduce((sum, count) => sum + count, 0);
      const told = levels
        .map((count, level) => `${levelText(level)}: ${count}`)
        .filter((_, level) => levels[level] > 0);
      const column = make("div", {
        className: "column",
        role: "img",
        title: `${hour} h: ${told.join(", ") || "none"}`,
      });
      column.setAttribute("aria-label", column.title);
      levels.forEach((count, level) => {
        if (count === 0) return;
        const bar = make("span", { className: `level${level}` });
        bar.style.height = `${(100 * count) / most}%`;
        column.prepend(bar);
      });
      return make("div", {}, total > 0 ? String(total) : "\u00a0", column, hour % 6 === 0 ? String(hour) : "");
    }),
  );
}

function showFigures() {
  const { count, longest, mean, levels } = summary(stays);
  const figures = [
    ["Stays", String(count)],
    ["Longest", durationText(longest)],
    ["Mean", durationText(mean)],
    ...levels.map((number, level) => [levelText(level), String(number)]),
  ];
  byId("stay-figures").replaceChildren(
    ...figures.map(([name, value]) => make("div", {}, make("dt", {}, name), make("dd", {}, value))),
  );
}

function showStays() {
  showFigures();
  byId("stay-line").replaceChildren(...lanes([0, 1, 2, 3], levelText, stays, day));
  showHours();
  const query = `from=${day}&to=${dayAfter(day, 1)}`;
  byId("stays-csv", HTMLAnchorElement).href = `/stream/stays.csv?${query}`;
  byId("stays-csv", HTMLAnchorElement).download = `korvex_orvel-stays-${day}.csv`;
  showStayList();
}

/** A camera keeps no stays: then there is nothing of them on the page. */
async function loadStays() {
  const asked = day;
  const response = await fetch(`/stream/stays.json?from=${asked}&to=${dayAfter(asked, 1)}`, { cache: "no-store" });
  if (asked !== day) return; // another day was chosen meanwhile
  byId("stays").hidden = !response.ok;
  if (!response.ok) return;
  answer = await response.text();
  stays = staysOf(JSON.parse(answer));
  showStays();
}

async function loadPeriods() {
  const lines = parseLog(await readSerialisedLog());
  periods = alertPeriods(lines);
  // The log's newest line is that of its reading: the camera's own time.
  const newest = wallTime(lines[lines.length - 1]?.time ?? "");
  today = dayOf(Number.isNaN(newest) ? Date.now() : newest);
}

/** @param {() => Promise<void>} load */
async function tellRefusal(load) {
  try {
    await load();
    setText(byId("history-note"), "");
  } catch (refusal) {
    setText(byId("history-note"), `Not everything could be loaded. ${/** @type {Error} */ (refusal).message}`);
  }
}

/** @param {string} chosen */
function chooseDay(chosen) {
  if (Number.isNaN(startOfDay(chosen))) return;
  day = chosen;
  inputOf("day").value = chosen;
  showPeriods();
  return tellRefusal(loadStays);
}

const reload = () =>
  tellRefusal(async () => {
    const isAtToday = day === today;
    await loadPeriods();
    await chooseDay(isAtToday ? today : day);
  });

/** When the page is opened; a stay of today may have come meanwhile. */
export function showHistory() {
  if (!byId("panel-history").hidden) reload();
}

export function startHistory() {
  byId("day").addEventListener("change", () => chooseDay(inputOf("day").value));
  byId("day-before").addEventListener("click", () => chooseDay(dayAfter(day, -1)));
  byId("day-after").addEventListener("click", () => chooseDay(dayAfter(day, 1)));
  byId("day-today").addEventListener("click", () => {
    day = today;
    reload();
  });
  byId("stays-with-alert").addEventListener("change", showStayList);
  byId("stays-json").addEventListener("click", () =>
    download(answer, `korvex_orvel-stays-${day}.json`, "application/json"),
  );
  // Reading the log is a line of it: the stays alone are asked for again by themselves.
  setInterval(() => {
    if (!document.hidden && !byId("panel-history").hidden && !byId("stays").hidden && day === today)
      tellRefusal(loadStays);
  }, RELOAD_MS);
}
