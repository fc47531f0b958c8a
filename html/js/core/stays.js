/** The stays of a day, as a host keeps them: counted, and in the form in which they are shown. */

import { DAY_MS, startOfDay, wallTime } from "./wall_time.js";

/** @typedef {{level: number, time: string, still: string | null, clip: string | null}} StayAlert */
/**
 * @typedef {Object} Stay
 * @property {number} id @property {number} object @property {string} label
 * @property {string} entered @property {string | null} left null: it is still there
 * @property {number} seconds @property {number} level 0 to 3 @property {StayAlert[]} alerts
 */
/** @typedef {Stay & {from: number, to: number}} TimedStay in wall time */

/** Files of the host alone: an address of somewhere else is none of them. @param {unknown} address */
const ownFile = (address) =>
  typeof address === "string" && /^\/stream\/(stills|clips)\/[\w.-]+$/.test(address) ? address : null;

/** @param {any} answer @returns {TimedStay[]} */
export function staysOf(answer) {
  if (!Array.isArray(answer?.stays)) throw new Error("The host sent stays that cannot be read.");
  return answer.stays.map((/** @type {Stay} */ stay) => {
    const from = wallTime(stay.entered);
    const to = stay.left === null ? from + 1000 * stay.seconds : wallTime(stay.left);
    const alerts = (stay.alerts ?? []).map((alert) => ({
      ...alert,
      still: ownFile(alert.still),
      clip: ownFile(alert.clip),
    }));
    return { ...stay, alerts, from, to };
  });
}

/** The levels: how many reached each and none above it, from 0. @param {TimedStay[]} stays */
export function summary(stays) {
  const levels = [0, 1, 2, 3].map((level) => stays.filter((stay) => stay.level === level).length);
  const total = stays.reduce((sum, { seconds }) => sum + seconds, 0);
  const longest = stays.reduce((most, { seconds }) => Math.max(most, seconds), 0);
  return { count: stays.length, longest, mean: stays.length === 0 ? 0 : total / stays.length, levels };
}

/** How many of each level were entered in each hour. @param {TimedStay[]} stays @param {string} day */
export function byHour(stays, day) {
  const hours = Array.from({ length: 24 }, () => [0, 0, 0, 0]);
  for (const { from, level } of stays) {
    const hour = Math.floor(((from - startOfDay(day)) / DAY_MS) * 24);
    if (hour >= 0 && hour < 24) hours[hour][level] += 1;
  }
  return hours;
}

/** The still to show of a stay: of its highest alert. @param {TimedStay} stay */
export const stillOf = ({ alerts }) =>
  alerts.filter(({ still }) => still !== null).sort((a, b) => b.level - a.level)[0];
