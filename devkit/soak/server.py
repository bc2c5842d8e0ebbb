"""A stand-in server that can be killed: its folders, its process, its page, and what comes back."""

import collections
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import urllib.error
import urllib.request
import uuid

import processes
from stand_ins import (
    Services, detecting_pipeline, device_id, motion_model, start_host, write_video)

RUNTIME_CHOICE = "libraryChoiceGeneric CPU"
MODELS = {
    "door.bin": "6f1d2b8e-3a55-4c1f-9d1e-0b5a7c9e1f01",
    "yard.bin": "6f1d2b8e-3a55-4c1f-9d1e-0b5a7c9e1f02",
}
PIPELINES = ["a1c7e7d4-52a0-4f0c-8a5e-6b1d8e3f2a01", "a1c7e7d4-52a0-4f0c-8a5e-6b1d8e3f2a02"]
MARKER = b"plain bytes of a model that nobody else is to see: "
_EVENT = re.compile(rb'\{"kind":"events","camera":(\d+),.*?"receivedUs":(\d+)')
_REQUEST_SECONDS = 10


def write_model(path, size, seed):
    """Random bytes with the marker every 4 KiB, so that a part of a copy is known as well."""
    numbers = random.Random(seed)
    with open(path, "wb") as model:
        for _ in range(size // 4096):
            model.write(MARKER + numbers.randbytes(4096 - len(MARKER)))


def plain_copies(folders):
    """The files that hold bytes of a plain model."""
    found = []
    for folder in folders:
        for path, _, names in os.walk(folder):
            for name in names:
                file = os.path.join(path, name)
                try:
                    if os.path.isfile(file) and _holds_marker(file):
                        found.append(file)
                except OSError:
                    continue  # it has gone meanwhile
    return found


def _holds_marker(file):
    kept = b""
    with open(file, "rb") as content:
        while block := content.read(1 << 20):
            if MARKER in kept + block:
                return True
            kept = block[-len(MARKER):]
    return False


class Refused(Exception):
    """The library did not take it, and told the host so."""


class Results:
    """When results of each camera came, on the wall clock in seconds. Any thread."""

    def __init__(self, cameras):
        self._lock = threading.Lock()
        self._times = [collections.deque(maxlen=2000) for _ in range(cameras)]
        self.counts = [0] * cameras

    def read(self, stream):
        for line in stream:
            if event := _EVENT.match(line):
                camera, at = int(event.group(1)), int(event.group(2)) / 1e6
                with self._lock:
                    self._times[camera].append(at)
                    self.counts[camera] += 1

    def first_since(self, camera, since):
        with self._lock:
            first = None
            for at in reversed(self._times[camera]):
                if at < since:
                    break
                first = at
            return first

    def last(self, camera):
        with self._lock:
            return self._times[camera][-1] if self._times[camera] else 0


class Server:
    """`scratch` is where the logs and the host's own files go; `home` and `temporary` may be small
    file systems. Everything below is that of one caller's thread."""

    def __init__(self, build, scratch, home, temporary, cameras, model_bytes, seed):
        self.build = build
        self.scratch = scratch
        self.home = home
        self.temporary = temporary
        self.cameras = cameras
        self.mark = uuid.uuid4().hex
        self.results = Results(cameras)
        self.process = None
        self.starts = 0
        self.page = ""
        self.slowest_answer = 0.0
        self.video = os.path.join(scratch, "video.y4m")
        write_video(self.video, 320, 240)
        files = os.path.join(scratch, "models")
        os.makedirs(files)
        for index, name in enumerate(MODELS):
            write_model(os.path.join(files, name), model_bytes, "%s %d" % (seed, index))
        names = list(MODELS)
        self.services = Services(
            build, scratch, files,
            [motion_model(MODELS[name], "motion " + name, name, encrypted=True) for name in names],
            [detecting_pipeline(PIPELINES[i], names[i], MODELS[names[i]]) for i in (0, 1)], cameras)

    def start(self, arguments=()):
        self.starts += 1
        self.log = os.path.join(self.scratch, "host_%03d.log" % self.starts)
        environment = {
            processes.MARK: self.mark,
            "ASAN_OPTIONS":
                "detect_leaks=1:detect_stack_use_after_return=1:quarantine_size_mb=8:"
                "thread_local_quarantine_size_kb=16",
            "UBSAN_OPTIONS": "print_stacktrace=1:halt_on_error=1",
        }
        with open(self.log, "w") as log:
            self.process = start_host(
                self.build, self.services, self.home, self.temporary, self.video,
                ["--metadata", "-", "--page", "0", "--page-keeps", "10", *arguments], environment,
                stdout=subprocess.PIPE, stderr=log, cwd=self.scratch)
        self.page = ""
        self.started = time.time()
        self.reader = threading.Thread(target=self.results.read, args=(self.process.stdout,))
        self.reader.start()

    def host(self):
        return self.process.pid if self.process else 0

    def is_running(self):
        return self.process is not None and self.process.poll() is None

    def family(self):
        return processes.kinds(processes.marked(self.mark), self.host())

    def kill(self):
        self.process.kill()
        self._ended()

    def stop(self, seconds=60):
        """A graceful end. Gives the exit code; None where it had to be killed."""
        self.process.terminate()
        try:
            code = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = None
        self._ended()
        return code

    def _ended(self):
        self.process.wait()
        self.reader.join(10)
        self.process.stdout.close()
        self.process = None

    def close(self):
        """Ends everything, and waits for it."""
        if self.process:
            self.process.send_signal(signal.SIGCONT)
            self.stop()
        for process in processes.marked(self.mark).values():
            os.kill(process.pid, signal.SIGKILL)
        self.services.stop()

    def find_page(self, seconds=20):
        end = time.time() + seconds
        while not self.page and time.time() < end and self.is_running():
            with open(self.log, errors="replace") as log:
                if found := re.search(r"^page: (http://\S+?)/$", log.read(), re.MULTILINE):
                    self.page = found.group(1)
                    return True
            time.sleep(0.05)
        return bool(self.page)

    def ask(self, path, body=None):
        """An answer of the host's page, which asks the library for it."""
        request = urllib.request.Request(
            self.page + path, data=None if body is None else json.dumps(body).encode())
        before = time.time()
        try:
            with urllib.request.urlopen(request, timeout=_REQUEST_SECONDS) as answer:
                text = answer.read()
        except urllib.error.HTTPError as error:
            raise Refused(error.read().decode(errors="replace")) from error
        finally:
            self.slowest_answer = max(self.slowest_answer, time.time() - before)
        return json.loads(text)

    def dialog(self, camera=0):
        """The values, the names of the visible buttons, and the banners' texts."""
        answer = self.ask("/api/cameras/%s/settings" % device_id(camera))
        buttons, banners = [], []

        def look(items):
            for item in items:
                if item.get("visible") is False:
                    continue
                if item.get("type") == "Button":
                    buttons.append(item["name"])
                elif item.get("type") == "Banner":
                    banners.append(item.get("text", "").replace("\n", " "))
                look(item.get("items", []))

        look((answer.get("model") or {}).get("items", []))
        return answer["values"], buttons, banners

    def enter(self, camera, values):
        answer = self.ask("/api/cameras/%s/settings" % device_id(camera), values)
        if answer["failure"]:
            raise Refused(answer["failure"])
        return answer

    def press(self, camera, button):
        values = self.ask("/api/cameras/%s/settings" % device_id(camera))["values"]
        path = "/api/cameras/%s/active" % device_id(camera)
        answer = self.ask(path, {"name": button, "values": values})
        if answer["values"] != values:
            self.enter(camera, answer["values"])
        return answer


def is_sanitized(build):
    with open(os.path.join(build, "devkit/host/tavo_host"), "rb") as program:
        content = program.read()
    return b"__asan_init" in content or b"__tsan_init" in content


def end_by_signal():
    """Whoever is told to end has processes to take along."""
    signal.signal(signal.SIGTERM, lambda number, _: sys.exit(128 + number))


def use_private_shared_memory():
    """An own /dev/shm, where this run has mounts of its own: what lies there is then of this run."""
    if not may_mount():
        return False
    subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=1777", "tmpfs", "/dev/shm"], check=True)
    return True


def may_mount():
    return os.environ.get("TAVO_SOAK_OWN_MOUNTS") == "1"


def small_folder(path, megabytes):
    """A folder; a small file system of its own where mounting is possible."""
    os.makedirs(path, exist_ok=True)
    if may_mount():
        subprocess.run(
            ["mount", "-t", "tmpfs", "-o", "size=%dm,mode=0700" % megabytes, "tmpfs", path],
            check=True)
    return path


def remove_folder(path):
    if may_mount() and os.path.isdir(path):
        for folder in (os.path.join(path, name) for name in os.listdir(path)):
            if os.path.ismount(folder):
                subprocess.run(["umount", "-l", folder], check=False)
    shutil.rmtree(path, ignore_errors=True)


def new_scratch():
    return tempfile.mkdtemp(prefix="soak.", dir="/tmp")  # short, as the names of sockets must be
