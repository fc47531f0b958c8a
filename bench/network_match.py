#!/usr/bin/env python3
"""Matches what two networks see, from two outputs of network_rows.

    network_match.py FIRST SECOND

Rows of the same second and class are matched one to one, the best overlap first, when they overlap by at least 0.5. Prints
how many of the first's rows the second has, by the size of the box, and how far scores are apart.
"""

import sys
from collections import defaultdict

LEAST_OVERLAP = 0.5
MARGIN = 0.05  # a row just above the least score of one may be just below that of the other
SIZES = [("below 0.25 %", 0.0025), ("0.25 to 1 %", 0.01), ("1 to 4 %", 0.04), ("above 4 %", 2.0)]
PICTURE = 960 * 540


def read(path):
    rows = defaultdict(list)
    with open(path, encoding="ascii") as file:
        for line in file:
            second, kind, score, *box = line.split()
            rows[second, kind].append((float(score), [float(side) for side in box]))
    return rows


def area(box):
    return max(0.0, box[2] - box[0]) * max(0.0, box[3] - box[1])


def overlap(a, b):
    both = area([max(a[0], b[0]), max(a[1], b[1]), min(a[2], b[2]), min(a[3], b[3])])
    return both / (area(a) + area(b) - both) if both > 0 else 0.0


def matched(first, second):
    """Pairs of positions, the best overlap first."""
    pairs = sorted(
        ((overlap(a, b), i, j) for i, (_, a) in enumerate(first) for j, (_, b) in enumerate(second)), reverse=True
    )
    used_first, used_second = set(), set()
    for common, i, j in pairs:
        if common >= LEAST_OVERLAP and i not in used_first and j not in used_second:
            used_first.add(i)
            used_second.add(j)
            yield i, j


def main(first_path, second_path):
    first, second = read(first_path), read(second_path)
    total, found = [0] * len(SIZES), [0] * len(SIZES)
    differences, lonely = [], 0
    for key, rows in first.items():
        others = second.get(key, [])
        pairs = dict(matched(rows, others))
        for i, (score, box) in enumerate(rows):
            size = next(k for k, (_, limit) in enumerate(SIZES) if area(box) / PICTURE < limit)
            total[size] += 1
            if i in pairs:
                found[size] += 1
                differences.append(abs(score - others[pairs[i]][0]))
            elif score >= 0.25 + MARGIN:
                lonely += 1
    rows_of_second = sum(len(rows) for rows in second.values())
    print(f"rows: {sum(total)} and {rows_of_second}; matched {sum(found)}, of the first alone and not near its limit {lonely}")
    if differences:
        differences.sort()
        print(
            f"scores apart: median {differences[len(differences) // 2]:.4f}, most {differences[-1]:.4f}, "
            f"beyond 0.01: {sum(d > 0.01 for d in differences)}"
        )
    for (name, _), have, of in zip(SIZES, found, total):
        print(f"boxes {name} of the picture: {have} of {of}" + (f" ({100 * have / of:.0f} %)" if of else ""))


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
