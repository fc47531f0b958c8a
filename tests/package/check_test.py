#!/usr/bin/python3 -B
"""check_test.py REPOSITORY ARCHIVE: each check of package/check fails, with its sentence, when what it checks is broken.
The archive's networks are made small first, so that a package is quick to put together."""

import hashlib
import io
import json
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
from pathlib import Path

import jsonschema

REPOSITORY, ARCHIVE = Path(sys.argv[1]), Path(sys.argv[2])
HARDENED = ["-O2", "-fstack-protector-all", "-pie", "-fPIE", "-Wl,-z,relro,-z,now", "-s"]
failures = 0


def write_manifest(folder, change=lambda manifest: None):
    manifest = json.loads((folder / "manifest.json").read_text())
    manifest["contents"] = {
        str(path.relative_to(folder)): {"bytes": path.stat().st_size, "sha256": hashlib.sha256(path.read_bytes()).hexdigest()}
        for path in sorted(folder.rglob("*"))
        if path.is_file() and path.name != "manifest.json"
    }
    change(manifest)
    (folder / "manifest.json").write_text(json.dumps(manifest))


def pack(folder, archive, order=sorted, change=lambda member: member):
    with tarfile.open(archive, "w:gz", compresslevel=1) as tar:
        for path in order([folder, *folder.rglob("*")]):
            member = tar.gettarinfo(path, path.relative_to(folder.parent))
            member.uid = member.gid = 0
            member = change(member)
            tar.addfile(member, io.BytesIO(path.read_bytes()) if member.isfile() else None)


def compiled(folder, *flags, drop=()):
    options = [flag for flag in HARDENED if flag not in drop]
    source = "#include <stdio.h>\nint main(int n, char** v) { char t[64]; snprintf(t, sizeof t, v[n - 1]); return puts(t); }"
    subprocess.run(["cc", "-w", "-x", "c", "-", "-o", folder / "korvex_orvel", *options, *flags],
                   input=source, text=True, check=True)
    write_manifest(folder)


def said_of(archive, *forbidden):
    result = subprocess.run([REPOSITORY / "package/check", archive, *forbidden], capture_output=True, text=True)
    return result.returncode, result.stderr.strip()


def expect(what, pattern, break_it, name=ARCHIVE.name, forbidden=(), **packing):
    """The folder is broken by `break_it`; then the check has to say one sentence that matches."""
    global failures
    with tempfile.TemporaryDirectory() as work:
        folder = Path(work) / "korvex_orvel"
        shutil.copytree(base, folder)
        break_it(folder)
        archive = Path(work) / name
        pack(folder, archive, **packing)
        status, said = said_of(archive, *forbidden)
    good = status != 0 and re.search(pattern, said) and len(said.splitlines()) == 1 if pattern else status == 0
    failures += not good
    print(f"{'ok' if good else 'FAILED'}: {what}: {said}")


def filled(name, content):
    def fill(folder):
        (folder / name).write_bytes(content)
        write_manifest(folder)
    return fill


def changed(**members):
    return lambda folder: write_manifest(folder, lambda manifest: manifest.update(members))


def without(name):
    def remove(folder):
        (folder / name).unlink()
        write_manifest(folder)
    return remove


def longer_executable(folder):
    with open(folder / "korvex_orvel", "ab") as file:
        file.write(bytes(1_500_000))
    write_manifest(folder)


# That of the repository, too, is as the schema says.
jsonschema.validate(json.loads((REPOSITORY / "package/manifest.json").read_text()),
                    json.loads((REPOSITORY / "package/manifest.schema.json").read_text()))

with tempfile.TemporaryDirectory() as scratch:
    with tarfile.open(ARCHIVE) as whole:
        whole.extractall(scratch)
    base = Path(scratch) / "korvex_orvel"
    for network in base.glob("*.tflite"):
        network.write_bytes(b"small")
    write_manifest(base)
    machine = json.loads((base / "manifest.json").read_text())["architecture"]
    other = {"x86_64": "aarch64", "aarch64": "x86_64"}[machine]

    def nothing(folder):
        pass

    noise = b"".join(hashlib.sha512(number.to_bytes(4, "big")).digest() for number in range(145_000))
    expect("a good package", "", nothing, forbidden=["/nowhere/at/all"])
    expect("an archive too large", "the archive has .* at most 9000000", filled("detect_960_540.tflite", noise))
    expect("an installed package too large", "the installed package has .* at most 18000000",
           filled("detect_960_540.tflite", bytes(18_000_000)))
    expect("an executable too large", "the executable has .* at most 1500000", longer_executable)
    expect("pages too large", "the pages has .* at most 204800", filled("html/large.txt", bytes(200_000)))
    expect("a file that is gone", "index.html is in the manifest and not", lambda folder: (folder / "html/index.html").unlink())
    expect("no start file", "start is missing", without("start"))
    expect("a network that is gone", "detect_540_960.tflite is missing", without("detect_540_960.tflite"))
    expect("a file that has changed", "index.html is not the file",
           lambda folder: (folder / "html/index.html").write_text("other"))
    expect("a file too many", "more.txt is in the package and not", lambda folder: (folder / "more.txt").write_text("x"))
    expect("no manifest", "the manifest is missing", lambda folder: (folder / "manifest.json").unlink())
    expect("a manifest without its user", "schema says: 'user'",
           lambda folder: write_manifest(folder, lambda manifest: manifest.pop("user")))
    expect("a manifest of two machines", "schema says: ", changed(architectures=["aarch64", "x86_64"]))
    expect("another name", "the archive's name is", nothing, name=f"korvex_orvel_0.0.1_{machine}.tar.gz")
    expect("another machine", f"korvex_orvel is not for {other}", changed(architecture=other),
           name=ARCHIVE.name.replace(machine, other))
    expect("a C library that the manifest does not say", "its manifest says 2.17", changed(minimumCLibrary="2.17"))
    expect("no licence", "the licence of libfcgi is missing", without("licences/libfcgi"))
    expect("a path of the builder", "index.html has /somebody/home",
           filled("html/index.html", b"<!-- /somebody/home -->"), forbidden=["/somebody/home"])
    expect("files in another order", "not in the order", nothing, order=lambda paths: sorted(paths, reverse=True))

    def link(member):
        if member.name.endswith("index.html"):
            member.type, member.linkname, member.size = tarfile.SYMTYPE, "/etc/passwd", 0
        return member

    def of_builder(member):
        member.uid = 1000
        return member

    def outside(member):
        member.name = member.name.replace("korvex_orvel/start", "korvex_orvel/../start")
        return member

    expect("a link", "index.html is neither a file nor a folder", nothing, change=link)
    expect("files of a user", "belongs to a user", nothing, change=of_builder)
    expect("a way out", "would be unpacked beside", nothing, change=outside)

    if machine == subprocess.run(["uname", "-m"], capture_output=True, text=True).stdout.strip():
        expect("a needed library", "korvex_orvel needs libxml2.so.2, which neither",
               lambda folder: compiled(folder, "-Wl,--no-as-needed", "-lxml2"))
        expect("too new a C library", "it needs version 2.3[2-9] of the C library, and 2.31", compiled)
        expect("no relro", "relro, now", lambda folder: compiled(folder, "-Wl,-z,norelro,-z,lazy", drop=HARDENED[4:5]))
        expect("a fixed address", "not position-independent", lambda folder: compiled(folder, "-no-pie", drop=HARDENED[2:4]))
        expect("no stack protector", "no stack protector",
               lambda folder: compiled(folder, "-fno-stack-protector", drop=HARDENED[1:2]))
        expect("symbols", "not stripped", lambda folder: compiled(folder, drop=["-s"]))
sys.exit(failures != 0)
