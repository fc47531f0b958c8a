#!/usr/bin/python3 -B
"""Counts the includes that run upwards between the folders; a few are known, and one more fails.

The floors, the lowest first; a folder may use what stands below it."""

import re
import sys
from pathlib import Path

FLOORS = ["base", "platform", "vision", "detection", "scene", "output", "config", "web", "app", "host"]
KNOWN = 3  # the live settings, which all that analyses reads, and the alerts, which the scene raises
INCLUDE = re.compile(r'^\s*#\s*include "(\w+)/[^"]+"', re.MULTILINE)


def upward_includes(root):
    for floor, folder in enumerate(FLOORS):
        for source in sorted((root / folder).rglob("*.[hc]*")):
            for match in INCLUDE.finditer(source.read_text()):
                if match[1] in FLOORS[floor + 1:]:
                    yield f"{source.relative_to(root)}: {match[0].strip()}"


found = list(upward_includes(Path(__file__).resolve().parents[1]))
print("\n".join(found))
if len(found) > KNOWN:
    sys.exit(f"{len(found)} includes run upwards; {KNOWN} are known.")
