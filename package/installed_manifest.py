#!/usr/bin/python3 -B
"""Writes the manifest of a package that lies in a folder: that of the repository, for one machine and with its contents.

    package/installed_manifest.py FOLDER MACHINE [VERSION]
"""

import hashlib
import json
import sys
from importlib.machinery import SourceFileLoader
from pathlib import Path

HERE = Path(__file__).resolve().parent
check = SourceFileLoader("check", str(HERE / "check")).load_module()

folder, machine, version = Path(sys.argv[1]), sys.argv[2], sys.argv[3]
manifest = json.loads((HERE / "manifest.json").read_text())
if machine not in manifest["architectures"]:
    sys.exit(f"package/make: the manifest knows no {machine}.")
programs = [folder / manifest["executable"], *sorted((folder / "lib").iterdir())]
installed = {}
for name, value in manifest.items():
    if name == "architectures":
        installed["architecture"] = machine
        installed["minimumCLibrary"] = check.highest_c_library(programs)
    else:
        installed[name] = value
if version:
    installed["version"] = version
installed["contents"] = {
    str(path.relative_to(folder)): {
        "bytes": path.stat().st_size,
        "sha256": hashlib.sha256(path.read_bytes()).hexdigest(),
    }
    for path in sorted(folder.rglob("*"))
    if path.is_file()
}
(folder / "manifest.json").write_text(json.dumps(installed, indent=4) + "\n")
