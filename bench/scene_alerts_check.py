#!/usr/bin/env python3
"""Checks what bench/scene_alerts has gathered in a folder.

Each alert must start when a vehicle of the scene has been in the area for 5, 10 or 15 s, within one period plus one
second, and stop when the last one has left: a vehicle that is no longer detected is remembered for 15 passes. The
statuses must go 502, 503, 504, 200 with the vehicle that stays longest, and the console, the journal and the MQTT client
must have the same changes in the same order. Every stay of a vehicle that was seen to its end must be remembered, with the
levels of its truth and with its seconds within one second and two passes; the journal and the client have the same stays.
"""

import json
import re
import statistics
import sys
from datetime import datetime

PERIOD = 0.2
EARLIEST, LATEST = -PERIOD - 1.0, PERIOD + 1.0
REMEMBERED_PASSES = 15
LEVELS = {"Korvex Orvel First Alert": 5, "Korvex Orvel Second Alert": 10, "Korvex Orvel Third Alert": 15}


def read_console(folder):
    """Alert changes as (name, started, seconds of video), the statuses without repetitions, the slow passes, and the
    Unix time at which the video began."""
    changes, waiting, statuses, slow, begins = [], [], [], 0, []
    for line in open(f"{folder}/console.txt"):
        event = re.match(r"(\S+) (Korvex Orvel \w+ Alert): (started|stopped)$", line)
        if event:
            waiting.append((event[2], event[3] == "started", datetime.fromisoformat(event[1]).timestamp()))
            continue
        status = re.match(r"status (\d+) .*source [\d.]+ fps at ([\d.]+) s", line)
        if not status:
            continue
        slow += status[1] == "600"
        changes += [(name, started, float(status[2])) for name, started, _ in waiting]
        begins += [moment - float(status[2]) for _, _, moment in waiting]
        waiting = []
        if status[1] != "600" and (not statuses or statuses[-1] != status[1]):
            statuses.append(status[1])
    return changes, statuses, slow, statistics.median(begins)


def states(lines, nice_name, active):
    """The changes among JSON lines; the broker also hears of each alert's first state, which is no change."""
    changes = []
    known = dict.fromkeys(LEVELS, False)
    for line in lines:
        record = json.loads(line)
        if record.get("what", "event") != "event" or record.get(nice_name) not in LEVELS:
            continue
        if known[record[nice_name]] != active(record):
            known[record[nice_name]] = active(record)
            changes.append((record[nice_name], active(record)))
    return changes


def check_stays(folder, truth, begin):
    """The sentences that are false of what is remembered; `truth` has (entered, left, class) in seconds of video."""
    failures = []
    kept = json.load(open(f"{folder}/stays.json"))["stays"]
    ended = [stay for stay in kept if stay["left"]]
    entered = {stay["id"]: datetime.fromisoformat(stay["entered"]).timestamp() - begin for stay in ended}
    last = max(datetime.fromisoformat(stay["left"]).timestamp() - begin for stay in ended)
    watched = [stay for stay in truth if min(entered.values()) - 0.5 <= stay[0] and stay[1] <= last + 0.5]
    for come, gone, _ in watched:
        near = [stay for stay in ended if abs(entered[stay["id"]] - come) <= 1 + 2 * PERIOD]
        best = min(near, key=lambda stay: abs(entered[stay["id"]] - come), default=None)
        level = sum(gone - come >= seconds for seconds in LEVELS.values())
        if best is None or best["level"] != level or abs(best["seconds"] - (gone - come)) > 1 + 2 * PERIOD:
            failures.append(f"the stay from {come:.1f} to {gone:.1f} s is remembered as {best}")
        elif any(not alert["still"] for alert in best["alerts"]):
            failures.append(f"the stay from {come:.1f} to {gone:.1f} s has an alert without a picture")
    worst = max((min(abs(stay["seconds"] - (t[1] - t[0])) for t in watched if abs(entered[stay["id"]] - t[0]) < 2)
                 for stay in ended if any(abs(entered[stay["id"]] - t[0]) < 2 for t in watched)), default=0.0)
    if len(ended) != len(watched):
        failures.append(f"{len(watched)} stays became {len(ended)}")
    journal = [json.loads(line) for line in open(f"{folder}/state/events.jsonl")]
    told = {record["stay"]["id"] for record in journal if record["what"] == "stay"}
    heard = {json.loads(line.split(" ", 1)[1])["id"] for line in open(f"{folder}/broker/heard")
             if line.split(" ", 1)[0].endswith("/stays")}
    if told != heard or not told.issuperset(entered):
        failures.append("database, journal and client differ about the stays")
    print(f"{len(ended)} stays remembered of {len(watched)}, {sum(stay['level'] > 0 for stay in ended)} with alerts; "
          f"the worst is {worst:.2f} s off")
    return failures


def main(folder):
    changes, statuses, slow, begin = read_console(folder)
    stays = [tuple(map(float, line.split())) for line in open(f"{folder}/truth.txt")]
    failures = check_stays(folder, stays, begin)
    for name, started, at in changes:
        if started:
            stay = max((s for s in stays if s[0] + LEVELS[name] + EARLIEST <= at), key=lambda s: s[0] if s[1] - s[0] > LEVELS[name] else -1)
            off = at - stay[0] - LEVELS[name]
            fine = EARLIEST <= off <= LATEST
            print(f"{at:7.1f} s  {name} started, {off:+.1f} s from {LEVELS[name]} s of the stay that began at {stay[0]:.1f} s")
        else:
            gone = max((s[1] for s in stays if s[1] <= at + PERIOD), default=0.0)
            off = at - gone
            fine = off <= (REMEMBERED_PASSES + 1) * PERIOD + LATEST
            print(f"{at:7.1f} s  {name} stopped, {off:+.1f} s after a vehicle left")
        if not fine:
            failures.append(f"{name} at {at} s is off by {off:.1f} s")
    on_console = [change[:2] for change in changes]
    in_journal = states(open(f"{folder}/state/events.jsonl"), "nice_name", lambda r: r["active"])
    heard = [line.split(" ", 1) for line in open(f"{folder}/broker/heard")]
    at_client = states((text for topic, text in heard if topic.endswith("/state")), "name", lambda r: r["state"] == "ON")
    print(f"{len(on_console)} changes on the console, {len(in_journal)} in the journal, {len(at_client)} at the client")
    if not on_console == in_journal == at_client:
        failures.append("console, journal and client differ")
    for end in range(len(statuses) + 1):
        if statuses[max(end - 4, 0):end] == ["502", "503", "504", "200"]:
            break
    else:
        failures.append("the statuses never go 502, 503, 504, 200")
    print(f"statuses: {' '.join(statuses)}; lines with the slow status 600: {slow}")
    for failure in failures:
        print(f"FAILED: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
