#!/usr/bin/env python3
"""Whole runs over the built library, host, application and services.

usage: scenarios.py many_cameras|bad_neighbours --build FOLDER --out FILE.json
           [--seconds N] [--cameras N] [--work FOLDER]

  many_cameras    100 cameras of 640x360 and 32 of 1280x720, 10 frames a second each: frames lost,
                  latency from frame to packet, processor time and memory of each camera
  bad_neighbours  16 cameras while something else is slow: an application that takes 300 ms to answer
                  an announcement, a cloud that hangs, a host that answers after 2 s, a model of 1 GiB
                  that comes at 20 MB/s. Results delivered, and how long after they were sent

Every case brings the library up first, with a user's choice of a runtime, and then measures in a
second start, from the first results on. The last lines tell which goals hold.
"""

import argparse
import collections
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../devkit/soak"))
from stand_ins import (  # noqa: E402
    Services, detecting_pipeline, motion_model, start_host, write_video)

MODEL = "6f1d2b8e-3a55-4c1f-9d1e-0b5a7c9e1f01"
PIPELINE = "a1c7e7d4-52a0-4f0c-8a5e-6b1d8e3f2a01"


def percentile(values, share):
    ordered = sorted(values)
    return ordered[int(share * (len(ordered) - 1))] if ordered else None


def spread(values_us):
    return {
        name: None if not values_us else round(percentile(values_us, share) / 1000, 2)
        for name, share in (("p50_ms", 0.5), ("p99_ms", 0.99), ("max_ms", 1.0))
    }


class Usage:
    """Processor time and memory of the host and, apart, of the application's processes."""

    def __init__(self, host_pid, work):
        self.host_pid = host_pid
        self.work = os.path.realpath(work)

    def read(self):
        usage = {"host_cpu_s": 0.0, "host_rss_mb": 0.0, "application_cpu_s": 0.0}
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                exe = os.readlink("/proc/%s/exe" % name)
                is_host = int(name) == self.host_pid
                if not is_host and not exe.startswith(self.work):
                    continue
                fields = open("/proc/%s/stat" % name).read().rsplit(")", 1)[1].split()
            except OSError:
                continue
            cpu = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
            usage["host_cpu_s" if is_host else "application_cpu_s"] += cpu
            if is_host:
                usage["host_rss_mb"] = int(fields[21]) * os.sysconf("SC_PAGESIZE") / 1e6
        return usage


class Run:
    """One start of the host. What came back is read from its metadata and its summary."""

    def __init__(self, case, name, seconds, arguments=(), environment=None, actions=()):
        self.metadata = os.path.join(case.work, name + ".jsonl")
        self.times = os.path.join(case.work, name + ".times")
        with open(os.path.join(case.work, name + ".log"), "w") as log:
            process = start_host(
                case.build, case.services, case.work, case.sockets, case.video,
                ["--metadata", self.metadata, "--seconds", str(seconds), *arguments],
                {"TAVO_ENGINE": "motion", "TAVO_RESULT_TIMES": self.times, **(environment or {})},
                stdout=log, stderr=subprocess.STDOUT)
            for at, action in actions:
                threading.Timer(at, action).start()
            usage = Usage(process.pid, case.work)
            self.usage = []
            while process.poll() is None:
                self.usage.append((time.time(), usage.read()))
                time.sleep(1)
        self.exit_code = process.returncode
        self.summary = open(os.path.join(case.work, name + ".log"), errors="replace").read()

    def packets(self):
        """(camera, frame's timestamp, time of the packet), in microseconds, for each result."""
        packets = []
        with open(self.metadata, errors="replace") as lines:
            for line in lines:
                if line.startswith('{"kind":"events"'):
                    event = json.loads(line)
                    packets.append((event["camera"], event["timestampUs"], event["receivedUs"]))
        return packets

    def sent(self):
        """When the application sent the result of which frame."""
        sent = {}
        if os.path.exists(self.times):
            with open(self.times) as lines:
                for line in lines:
                    camera, timestamp, at = map(int, line.split())
                    sent[camera, timestamp] = at
        return sent

    def frames_lost(self):
        total = re.search(r"^total: frames (\d+) \(lost (\d+),", self.summary, re.MULTILINE)
        return int(total.group(2)) if total else None

    def latency_line(self):
        line = re.search(r"^latency: (.*)$", self.summary, re.MULTILINE)
        return line.group(1) if line else ""

    @staticmethod
    def most_to_least(packets, cameras):
        """How many results the camera with most has for each of the one with least."""
        results = collections.Counter(camera for camera, _, _ in packets)
        return round(max(results.values()) / min(results.values()), 2) \
            if len(results) == cameras else None

    def measure(self, case, warm_up):
        """The figures from `warm_up` seconds after the first result on."""
        packets = self.packets()
        if not packets:
            return {"name": case.name, "cameras": case.cameras, "results": 0}
        begin = min(at for _, _, at in packets) + int(warm_up * 1e6)
        end = max(at for _, _, at in packets)
        seconds = max((end - begin) / 1e6, 0.001)
        window = [packet for packet in packets if packet[2] >= begin]
        arrived = {(camera, timestamp): at for camera, timestamp, at in packets}
        sent = {key: at for key, at in self.sent().items() if begin <= at <= end - 1_500_000}
        usage = [each for at, each in self.usage if begin <= at * 1e6 <= end]
        figures = {
            "name": case.name,
            "cameras": case.cameras,
            "seconds": round(seconds, 1),
            "results": len(window),
            "results_per_second": round(len(window) / seconds, 2),
            "frames_lost": self.frames_lost(),
            "most_to_least": self.most_to_least(window, case.cameras),
            "sent_and_not_delivered": sum(key not in arrived for key in sent),
            "latency": spread([at - timestamp for _, timestamp, at in window]),
            "delay_after_sending": spread([arrived[key] - at for key, at in sent.items()
                                           if key in arrived]),
            "split": self.latency_line(),
        }
        if len(usage) > 1:
            for key in ("host_cpu_s", "application_cpu_s"):
                figures[key.replace("_s", "_cores")] = round(
                    (usage[-1][key] - usage[0][key]) / seconds, 2)
            figures["host_mb_per_camera"] = round(usage[-1]["host_rss_mb"] / case.cameras, 2)
        return figures


class Case:
    def __init__(self, options, name, cameras, size, model_bytes=1000):
        self.name = name
        self.build = options.build
        self.cameras = cameras
        self.seconds = options.seconds
        self.work = tempfile.mkdtemp(prefix="scenario.", dir=options.work)
        self.sockets = tempfile.mkdtemp(prefix="tavo.") # short, as the names of sockets must be
        self.video = os.path.join(self.work, "video.y4m")
        write_video(self.video, *size)
        files = os.path.join(self.work, "files")
        os.makedirs(files)
        with open(os.path.join(files, "motion.bin"), "wb") as model:
            model.truncate(model_bytes)
        self.services = Services(
            self.build, self.work, files, [motion_model(MODEL, "motion", "motion.bin")],
            [detecting_pipeline(PIPELINE, "Motion", MODEL)], cameras)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.services.stop()
        shutil.rmtree(self.work, ignore_errors=True)
        shutil.rmtree(self.sockets, ignore_errors=True)

    def set_up(self, seconds=40):
        first = Run(self, "set_up", seconds, ["--press", "0:libraryChoiceGeneric CPU@8"])
        if first.exit_code != 0:
            raise RuntimeError("no results came back:\n" + first.summary[-2000:])

    def run(self, arguments=(), environment=None, actions=(), warm_up=3, extra=12, at_least=0):
        seconds = max(self.seconds, at_least)
        run = Run(self, "run", seconds + extra, arguments, environment, actions)
        return run.measure(self, warm_up)


class Goals:
    def __init__(self):
        self.kept = []
        self.missed = []

    def lines(self):
        return self.kept + self.missed

    def check(self, name, value, holds, bound):
        verdict = "holds" if holds else "WAS NOT TAKEN" if value is None else "DOES NOT HOLD"
        (self.kept if holds else self.missed).append(
            "goal: %s: %s, %s: %s" % (name, value, bound, verdict))

    def at_most(self, name, value, limit):
        self.check(name, value, value is not None and value <= limit, "at most %g" % limit)

    def at_least(self, name, value, limit):
        self.check(name, value, value is not None and value >= limit, "at least %g" % limit)


def many_cameras(options, goals):
    cases = []
    for count, size in ((100, (640, 360)), (32, (1280, 720))):
        count = min(count, options.cameras or count)
        name = "%d cameras of %dx%d" % (count, *size)
        with Case(options, name, count, size) as case:
            case.set_up()
            figures = case.run()
        cases.append(figures)
        goals.at_most(name + ", frames lost", figures.get("frames_lost"), 0)
        goals.at_most(
            name + ", 99% of frame to packet, ms", figures.get("latency", {}).get("p99_ms"), 100)
    return cases


def bad_neighbours(options, goals):
    count = options.cameras or 16
    size = (640, 360)

    def measured(name, prepare=None, model_bytes=1000, set_up_seconds=40, **run):
        with Case(options, name, count, size, model_bytes) as case:
            case.set_up(set_up_seconds)
            if prepare:
                prepare(case)
            return case.run(**{key: value(case) if callable(value) else value
                               for key, value in run.items()})

    plain = measured("nothing is slow")
    slow_application = measured(
        "an application that answers after 300 ms", environment={"TAVO_REPLY_DELAY_MS": "300"},
        at_least=60) # a dozen results of each camera
    others = [
        measured(
            "a cloud that hangs",
            prepare=lambda case: case.services.fault("/dev/", "late", 6000)),
        measured("a host that answers after 2 s", arguments=["--rest-delay", "2000"], warm_up=6),
        measured(
            "a model of 1 GiB at 20 MB/s", model_bytes=1 << 30, set_up_seconds=60,
            prepare=lambda case: case.services.fault("/models/", "slow", 3),
            arguments=["--press", "*:resetAllDevicesButton@12"],
            actions=lambda case: [
                (10, lambda: case.services.touch_models("2026-11-02T12:00:00"))],
            warm_up=10),
    ]
    goals.at_most(
        slow_application["name"] + ", sent and not delivered",
        slow_application.get("sent_and_not_delivered"), 0)
    goals.at_most(
        slow_application["name"] + ", 99% of frame to packet, ms",
        slow_application.get("latency", {}).get("p99_ms"), 700)
    goals.at_least(
        slow_application["name"] + ", results a second (3.3 can be)",
        slow_application.get("results_per_second"), 3.2)
    goals.at_most(
        slow_application["name"] + ", most results of a camera to the least",
        slow_application.get("most_to_least"), 1.3)
    goals.at_most(
        slow_application["name"] + ", delay after sending, ms",
        slow_application.get("delay_after_sending", {}).get("max_ms"), 1000)
    usual = plain.get("results_per_second", 0)
    for figures in others:
        goals.at_least(
            figures["name"] + ", results a second (%.1f without)" % usual,
            figures.get("results_per_second"), 0.95 * usual)
        goals.at_most(
            figures["name"] + ", delay after sending, ms",
            figures.get("delay_after_sending", {}).get("max_ms"), 1000)
    return [plain, slow_application, *others]


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scenario", choices=["many_cameras", "bad_neighbours"])
    parser.add_argument("--build", required=True, type=os.path.abspath)
    parser.add_argument("--out", required=True)
    parser.add_argument("--seconds", type=float, default=20, help="how long a case is measured")
    parser.add_argument("--cameras", type=int, help="instead of what the scenario says")
    parser.add_argument("--work", default=tempfile.gettempdir(), help="where the runs' folders lie")
    options = parser.parse_args()
    goals = Goals()
    cases = {"many_cameras": many_cameras, "bad_neighbours": bad_neighbours}[options.scenario](
        options, goals)
    with open(options.out, "w") as out:
        json.dump({"scenario": options.scenario, "cases": cases, "goals": goals.lines()}, out,
                  indent=2)
        out.write("\n")
    for figures in cases:
        print(json.dumps(figures, indent=2))
    print("\n".join(["", *goals.lines()]))
    return 1 if goals.missed else 0


if __name__ == "__main__":
    sys.exit(main())
