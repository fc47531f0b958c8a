"""What the faults share: a folder of their own, ./run in it, sentences to check, and an end that leaves nothing behind.

A fault is a script whose main ends in `fault.prove(body)`. `body(work)` states its sentences with `check`, or raises
`Skip` where rights or tools are missing. The exit status is 0, 1 when a sentence was false, 77 when it was skipped.
The programs are those of the build that KORVEX_BUILD_DIR names, by default build/release.
"""

import glob
import hashlib
import http.client
import json
import os
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import traceback
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("KORVEX_BUILD_DIR", ROOT / "build/release")).resolve()
MODELS = ROOT / "build/model"
ENDPOINT = "/local/korvex_orvel/korvex_orvel_fcgi.cgi"
LIMIT = 120  # seconds for what takes one on an idle machine
ANALYSES = (200, 502, 503, 504, 600)
SKIPPED = 77
MARK = "KORVEX_FAULT"  # in the environment of everything that a fault starts: its folder


class Skip(Exception):
    """Why this fault cannot be made here."""


failures = []


def check(sentence, holds, shown=""):
    """The sentence counts as failed when it does not hold; `shown` then tells what was seen."""
    print(f"ok: {sentence}" if holds else f"FAILED: {sentence}" + (f" -- {shown}" if shown != "" else ""), flush=True)
    if not holds:
        failures.append(sentence)
    return holds


def within(seconds, condition):
    """What the condition gives, as soon as that is true in any sense; else what it gives after so many seconds."""
    until = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < until:
        time.sleep(0.02)
    return value


def sanitized():
    """Whether the build has sanitizers: it is slower then, and its memory tells nothing."""
    return re.search(r"^KORVEX_SANITIZE:\w+=.+", (BUILD / "CMakeCache.txt").read_text(), re.M) is not None


def patience(seconds):
    """So many seconds of the release build, in this build."""
    return seconds * 10 if sanitized() else seconds


def need(*commands):
    for command in commands:
        if shutil.which(command, path=search_path()) is None:
            raise Skip(f"there is no {command} here")


def search_path():
    return os.environ.get("PATH", "") + ":/usr/sbin:/sbin"  # Debian keeps servers out of an ordinary user's path


# --- Processes ---


def environment(work, **more):
    return {**os.environ, "PATH": search_path(), "KORVEX_BUILD_DIR": str(BUILD), MARK: str(work), **more}


def start(work, arguments, name, more=None, terminal=None):
    """A process whose words are in the files NAME.out, or on this terminal, and NAME.err of the folder."""
    with open(work / f"{name}.out", "w") as out, open(work / f"{name}.err", "w") as err:
        return subprocess.Popen(
            [str(argument) for argument in arguments], stdin=subprocess.DEVNULL, stdout=terminal or out, stderr=err,
            env=environment(work, **(more or {})), start_new_session=True)


def processes():
    return [int(entry) for entry in os.listdir("/proc") if entry.isdigit()]


def of_process(pid, what):
    """A file of /proc/PID as bytes; nothing of a process that is gone, or not ours."""
    try:
        return Path(f"/proc/{pid}/{what}").read_bytes()
    except OSError:
        return b""


def alive(pid):
    return re.search(rb"^State:\s+[^ZX]", of_process(pid, "status"), re.M) is not None


def started_in(work):
    """Everything alive that was started for this folder, by whomever."""
    mark = f"{MARK}={work}".encode()
    return [pid for pid in processes() if mark in of_process(pid, "environ").split(b"\0") and alive(pid)]


def name_of(pid):
    """The beginning of its command line."""
    return of_process(pid, "cmdline").replace(b"\0", b" ").decode(errors="replace").strip()[:80]


def minds(pid, number):
    """Whether the process has a handler for the signal."""
    found = re.search(rb"^SigCgt:\s+([0-9a-f]+)", of_process(pid, "status"), re.M)
    return found is not None and int(found[1], 16) >> (number - 1) & 1 == 1


def kill(pid, number=signal.SIGKILL):
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        pass


def memory(pid, field="VmRSS"):
    """In kB; VmHWM is the most so far."""
    found = re.search(rf"^{field}:\s+(\d+)".encode(), of_process(pid, "status"), re.M)
    return int(found[1]) if found else 0


def descriptors(pid):
    try:
        return len(os.listdir(f"/proc/{pid}/fd"))
    except OSError:
        return 0


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def listens(port):
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port)) == 0


def run(*arguments, **options):
    """What a command that is to succeed prints."""
    command = [str(argument) for argument in arguments]
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


# --- The camera ---


class Camera:
    """./run with a state folder and a port of its own."""

    def __init__(self, work, *options, name="state", before=(), more=None, state=None, terminal=None):
        """`before` is a command that runs ./run, `more` adds to its environment, `terminal` takes what it shows."""
        self.work, self.name = work, name
        self.state = Path(state or work / name)
        self.options, self.before, self.more, self.terminal = options, before, more or {}, terminal
        self.password = None
        self.process = None

    def launch(self, *options):
        """Starts ./run and waits for nothing."""
        self.port = free_port()
        command = [*self.before, ROOT / "run", "--state", self.state, "--listen", f"127.0.0.1:{self.port}"]
        self.process = start(self.work, [*command, *self.options, *options], self.name, self.more, self.terminal)
        return self

    def start(self, *options):
        """Until it has told its address."""
        self.launch(*options)
        within(LIMIT, lambda: self.has_ended() or "Its pages are at" in self.said())
        if self.has_ended():
            raise AssertionError(f"./run ended by itself: {self.said()}")
        return self

    def said(self):
        return (self.work / f"{self.name}.err").read_text(errors="replace")

    def shown(self):
        return (self.work / f"{self.name}.out").read_text(errors="replace")

    def has_ended(self):
        return self.process.poll() is not None

    def application(self):
        """The process id of korvex_live once it runs, else None."""
        store = f"KORVEX_AXPARAMETER_STORE={self.state}/parameters.sqlite".encode()
        for pid in started_in(self.work):
            command = of_process(pid, "cmdline").split(b"\0")[0]
            if command.endswith(b"/korvex_live") and store in of_process(pid, "environ").split(b"\0"):
                return pid
        return None

    def log(self):
        try:
            return (self.state / "localdata/OrvelLog.txt").read_text(errors="replace")
        except OSError:
            return ""

    def events(self):
        """Every change of an alert so far: time, name, whether it is active."""
        try:
            lines = (self.state / "events.jsonl").read_text().split("\n")[:-1]
        except OSError:
            return []
        told = [json.loads(line) for line in lines]
        return [(event["time"], event["nice_name"], event["active"]) for event in told if event["what"] == "event"]

    # What a visitor does.

    def request(self, path, body=None, limit=LIMIT, headers=None):
        """Status and body. Without an answer the status is 0 and the body says why."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=limit)
        try:
            connection.request("POST" if body is not None else "GET", path, body, headers or {})
            answer = connection.getresponse()
            text = answer.read().decode(errors="replace")
            if answer.status == 401 and self.password and "Authorization" not in (headers or {}):
                proof = self.digest(answer.getheader("WWW-Authenticate"), "POST" if body is not None else "GET", path)
                return self.request(path, body, limit, {**(headers or {}), "Authorization": proof})
            return answer.status, text
        except (OSError, http.client.HTTPException) as problem:
            return 0, repr(problem)
        finally:
            connection.close()

    def digest(self, challenge, method, path):
        user, password = self.password
        asked = dict(re.findall(r'(\w+)="?([^",]+)"?', challenge))
        md5 = lambda text: hashlib.md5(text.encode()).hexdigest()
        secret = md5(f"{user}:{asked['realm']}:{password}")
        proof = md5(f"{secret}:{asked['nonce']}:00000001:c:auth:{md5(f'{method}:{path}')}")
        return (f'Digest username="{user}", realm="{asked["realm"]}", nonce="{asked["nonce"]}", uri="{path}", '
                f'qop=auth, nc=00000001, cnonce="c", response="{proof}"')

    def ask(self, action, limit=LIMIT):
        return self.request(f"{ENDPOINT}?action={action}", limit=limit)[1]

    def status(self):
        answer = self.ask("get_status_code", 20)
        return int(answer) if answer.isdigit() else 0

    def reaches(self, *codes, seconds=LIMIT):
        """Whether it gets to one of these statuses."""
        return bool(within(seconds, lambda: self.has_ended() or self.status() in codes)) and not self.has_ended()

    def document(self):
        within(LIMIT, lambda: self.ask("get_all_parameters").startswith("<app>"))
        return self.ask("get_all_parameters")

    def save(self, document, **values):
        """The answer's status to the document with these values."""
        for name, value in values.items():
            document = re.sub(f"<{name}>.*?</{name}>", f"<{name}>{value}</{name}>", document)
        return self.request(f"{ENDPOINT}?action=set_post_parameters", document)[0]

    def stored(self, *names):
        """What the store holds: asked of the file, whether or not the application runs."""
        answer = run(BUILD / "platform/axparameter/korvex_parameter", *names,
                     env=environment(self.work, KORVEX_AXPARAMETER_STORE=f"{self.state}/parameters.sqlite",
                                     KORVEX_AXPARAMETER_MANIFEST=f"{ROOT}/package/manifest.json"))
        return answer.splitlines()

    def stop(self, number=signal.SIGTERM):
        """Asks ./run to end; its exit status, None when it does not end."""
        kill(self.process.pid, number)
        within(patience(LIMIT), self.has_ended)
        return self.process.poll()


class Rtsp:
    """The RTSP camera of tests/support, which keeps its address over its deaths."""

    def __init__(self, work, film, *options, name="rtsp"):
        need("ffmpeg", "ffprobe")
        self.work, self.name, self.port = work, name, free_port()
        self.command = [ROOT / "tests/support/rtsp_server", film, self.port, *options]
        self.address = f"rtsp://127.0.0.1:{self.port}/camera"

    def start(self):
        self.process = start(self.work, self.command, self.name)
        within(LIMIT, lambda: (self.work / f"{self.name}.out").read_text())
        return self

    def die(self, number=signal.SIGKILL):
        self.process.send_signal(number)
        self.process.wait()


def to_set(settings):
    """The options of ./run that set these."""
    return [word for name, value in settings.items() for word in ("--set", f"{name}={value}")]


def check_end(camera):
    status = camera.stop()
    check("it ends as it should when it is asked to", status == 0, status)


def wrapped_programs(work, script):
    """The environment in which korvex_live is this shell script; $real is the real one, "$@" the arguments."""
    build = work / "build"
    for part in ("host", "platform"):
        shutil.copytree(BUILD / part, build / part, copy_function=os.symlink,
                        ignore=lambda folder, names: [name for name in names if name == "CMakeFiles"])
    shutil.copy(BUILD / "CMakeCache.txt", build)
    program = build / "host/korvex_live"
    program.unlink()
    program.write_text(f"#!/bin/sh\nreal={BUILD}/host/korvex_live\n{script}\n")
    program.chmod(0o755)
    return {"KORVEX_BUILD_DIR": str(build)}


def clocked_programs(work):
    """The environment in which korvex_live has a clock of its own, and what sets that so many seconds on."""
    libraries = glob.glob("/usr/lib/*/faketime/libfaketime.so.1")
    if not libraries:
        raise Skip("there is no libfaketime here")
    if sanitized():
        raise Skip("AddressSanitizer and libfaketime do not go together")

    def set_clock(seconds):
        # In one step: half a number would be a time, too.
        (work / "next_clock").write_text(f"{seconds:+d}\n")
        (work / "next_clock").rename(work / "clock")

    set_clock(0)
    return wrapped_programs(
        work, f"LD_PRELOAD={libraries[0]} FAKETIME_TIMESTAMP_FILE={work}/clock FAKETIME_NO_CACHE=1 "
              'FAKETIME_DONT_FAKE_MONOTONIC=1 exec "$real" "$@"'), set_clock


def on_disk(work):
    """A folder of the fault on a real disk, for what is large, and for videos: a path below /dev counts as a device."""
    folder = Path("/var/tmp", work.name)
    folder.mkdir(exist_ok=True)
    return folder


def test_film(work, size, rate):
    """Twenty seconds of H.264 in this size, with so many pictures a second."""
    need("ffmpeg")
    film = on_disk(work) / "film.mp4"
    picture = ["-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}", "-t", "20", "-pix_fmt", "yuv420p"]
    run("ffmpeg", "-v", "error", *picture, "-g", "20", film)
    return film


def bare_scene(work, film, seconds):
    """So much of the built-in scene as a video, without boxes."""
    replay = ["--replay", "scene", "--seconds", str(seconds), "--json", work / "scene.jsonl"]
    bare = ["--record", film, "--stream", "1280x720", *to_set({"DetectionOverlaysOn": "false"})]
    run(ROOT / "run", "--state", work / "scene", *replay, *bare, env=environment(work))


def traffic(work):
    """A minute of the built-in scene, in which no vehicle stays in the area for half a minute."""
    film = on_disk(work) / "traffic.mp4"
    bare_scene(work, film, 60)
    return film


def standing_car(work):
    """A video in which a car stands in the area for ever: a moment of the built-in scene."""
    need("ffmpeg")
    moment, still, film = work / "moment.mp4", work / "moment.png", on_disk(work) / "standing.mp4"
    bare_scene(work, moment, 7)
    run("ffmpeg", "-v", "error", "-sseof", "-0.5", "-i", moment, "-update", "1", still)
    run("ffmpeg", "-v", "error", "-loop", "1", "-i", still, "-t", "10", "-r", "5", "-pix_fmt", "yuv420p", film)
    return film


# --- Disks ---


def fill(folder, leave=0):
    """Leaves so many bytes of the folder's file system, in whole blocks."""
    ballast = Path(folder) / "ballast"
    with open(ballast, "ab", buffering=0) as file:
        for size in (1 << 20, 1 << 12):
            try:
                while True:
                    file.write(bytes(size))
            except OSError:
                continue
        file.truncate(max(0, file.tell() - leave))
    return ballast


def small(path, size):
    """bwrap's arguments for a disk of so many bytes at the folder `path`."""
    return ["--size", size, "--tmpfs", path]


# --- The frame around a fault ---


def prove(body, view=None):
    """Runs body(work) and ends the process. With a view it runs where bwrap has mounted what view(work) asks for."""
    inside = os.environ.get("KORVEX_FAULT_INSIDE")
    if inside:
        sys.exit(attempt(lambda: body(Path(inside))))
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda *_: sys.exit(1))
    work, status = make_folder(), 1
    try:
        status = attempt(lambda: enter(work, view(work)) if view else body(work))
    finally:
        clean_up(work, status)
    sys.exit(status)


def attempt(body):
    """The exit status."""
    try:
        status = body()
    except Skip as reason:
        print(f"skipped: {reason}", flush=True)
        return SKIPPED
    except Exception as problem:
        traceback.print_exc(file=sys.stdout)
        check("it could be tried to its end", False, repr(problem))
        status = 1
    return status or (1 if failures else 0)


def make_folder():
    """In memory where there is such a folder: a save waits for the disk some seventy times."""
    within_memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    work = Path(tempfile.mkdtemp(prefix="korvex_fault_", dir=within_memory))
    work.chmod(0o755)  # what is closed to others is for the programs to close
    return work


def enter(work, arguments):
    """Runs this script once more, where its body finds the mounts; gives its exit status."""
    need("bwrap")
    view = ["bwrap", "--dev-bind", "/", "/", *(str(argument) for argument in arguments), "--die-with-parent"]
    tried = subprocess.run([*view, "true"], capture_output=True, text=True)
    if tried.returncode != 0:
        raise Skip(f"no private view of the file system can be made here ({tried.stderr.strip()})")
    status = subprocess.run([*view, sys.executable, "-B", *sys.argv],
                            env={**os.environ, "KORVEX_FAULT_INSIDE": str(work)}).returncode
    return status if status in (0, SKIPPED) else 1


def clean_up(work, status):
    if status not in (0, SKIPPED):
        for path in sorted(work.glob("*.err")):
            if said := path.read_text(errors="replace").strip():
                print(f"--- {path.name}, its end\n{said[-1000:]}", flush=True)
    within(20, lambda: not [kill(pid) for pid in started_in(work)])
    try:
        while os.waitpid(-1, os.WNOHANG) != (0, 0):
            pass
    except ChildProcessError:
        pass  # every child has been collected
    shutil.rmtree(work, ignore_errors=True)
    shutil.rmtree(Path("/var/tmp", work.name), ignore_errors=True)


def more_descriptors(number):
    """Lets this process open so many files."""
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard != resource.RLIM_INFINITY and hard < number:
        raise Skip(f"this system allows {hard} open files, {number} are needed")
    if soft < number:
        resource.setrlimit(resource.RLIMIT_NOFILE, (number, hard))
