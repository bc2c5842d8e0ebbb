#!/usr/bin/env python3
"""Runs a server for a while and lets happen to it what happens to servers. See scripts/soak.sh.

usage: soak.py MINUTES SEED --build FOLDER

Checked all the time: results of each camera that is switched on come within 5 seconds of when
everything that they need is up again: of SIGCONT, of a user's action, or, where the application was
restarted, of the start of its engine. No process outlives who started it. Dialogs are answered. At
calm moments and at the end: descriptors and threads as they were, no plain copy of a model but the
application's own, no segment that belongs to nobody, nothing at all of a host that has ended. At the
end: the memory of the host, which may not rise.
"""

import argparse
import collections
import errno
import os
import signal
import subprocess
import sys
import time

import plan
import server
import watch

CAMERAS = 8
MODEL_BYTES = 1 << 20
TICK_SECONDS = 0.15
CHECK_EVERY = 4  # actions
SMALL_TEMPORARY_MB = 24


class Soak:
    def __init__(self, options):
        self.options = options
        self.scratch = server.new_scratch()
        self.folders = []
        if server.use_private_shared_memory():
            self.folders.append("/dev/shm")
        self.has_small_disks = server.may_mount()
        archive = max(
            os.path.getsize(os.path.join(folder, name))
            for folder, _, names in os.walk(os.path.join(options.build, "devkit/manager"))
            for name in names if name.endswith(".tgz"))
        home = server.small_folder(
            os.path.join(self.scratch, "home"), 64 + 8 * (archive >> 20))
        temporary = server.small_folder(
            os.path.join(self.scratch, "tmp"), SMALL_TEMPORARY_MB + 2 * (archive >> 20))
        self.folders += [home, temporary]
        self.server = server.Server(
            options.build, self.scratch, home, temporary, CAMERAS, MODEL_BYTES, options.seed)
        self.watch = watch.Watch(self.server, self.folders)
        self.counts = collections.Counter()
        self.fault_left = 0
        self.full_left = 0
        self.full = None
        self.model_stamp = 0
        self.began = time.time()

    def say(self, text, outcome=""):
        print("%s %7.1f s  %-44s %s" % (
            time.strftime("%H:%M:%S"), time.time() - self.began, text, outcome), flush=True)

    def run(self):
        self.start_host()
        self.observe(10)
        self.say("everything is installed", "; ".join(self.watch.outcome))
        end = self.began + 60 * self.options.minutes
        for index, action in enumerate(plan.actions(self.options.seed, CAMERAS), 1):
            if time.time() >= end:
                break
            self.take(action)
            if index % CHECK_EVERY == 0 and self.watch.strict:
                self.watch.check()
        self.end_troubles(all_of_them=True)
        self.observe(8)
        self.watch.check()
        self.stop_host()
        self.check_figures()

    # One action, and what comes of it. The line is printed once that is known.
    def take(self, action):
        self.watch.outcome = []
        self.end_troubles()
        text = action.kind
        try:
            text = getattr(self, "do_" + action.kind.split(",")[0].split(" ")[0])(action) or text
            self.counts[action.kind] += 1
            self.observe(action.pause)
        except (watch.Finding, server.Refused):
            self.say(text, "; ".join([*self.watch.outcome, "FINDING"]))
            raise
        self.say(text, "; ".join(self.watch.outcome))

    def observe(self, seconds):
        end = time.time() + seconds
        while time.time() < end or not self.watch.is_settled():
            self.watch.tick()
            if self.watch.wants_restart:
                self.watch.wants_restart = False
                self.do_restart(None)
            time.sleep(TICK_SECONDS)

    def pass_by(self, seconds):
        """Seconds in which nothing is asked of results."""
        end = time.time() + seconds
        while time.time() < end:
            self.watch.tick()
            time.sleep(TICK_SECONDS)

    # The host.

    def start_host(self):
        self.server.start()
        self.watch.life_begins()
        if not self.server.find_page():
            raise watch.Finding("the host did not start")
        self.be_lenient_in_trouble()

    def stop_host(self):
        code = self.server.stop()
        if code not in (0, 3):  # 3: no result came, which is judged elsewhere
            raise watch.Finding("the host's exit code was %s" % code)
        self.watch.check_end("was stopped")

    def kill_host(self):
        self.server.kill()
        self.watch.check_end("was killed")

    def do_restart(self, _):
        self.stop_host()
        self.start_host()

    # Signals.

    def find(self, kind):
        found = self.server.family().get(kind)
        return found[0].pid if found else None

    def send(self, kind, number):
        pid = self.find(kind)
        if pid:
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                return None
        return pid

    def do_kill(self, action):
        kind = action.kind.split(" ")[1]
        if kind == "host":
            self.kill_host()
            self.start_host()
            return None
        pid = self.send(kind, signal.SIGKILL)
        if pid and self.watch.strict:
            # It is gone for the watch as well, or old results would count as new ones.
            self.watch.settle()
            self.pass_by(0.3)
        return action.kind if pid else action.kind + " (there is none)"

    def do_stop(self, action):
        kind = action.kind.split(",")[0].split(" ")[1]
        was_strict = self.watch.strict
        pid = self.send(kind, signal.SIGSTOP)
        if not pid:
            return action.kind + " (there is none)"
        self.watch.disturb()
        self.pass_by(action.stopped)
        if kind != "host":
            self.watch.answered(lambda: self.server.dialog(action.camera))
        if "," in action.kind:
            self.stop_then(action.kind.split(", ")[1], was_strict)
            return "%s (after %.1f s)" % (action.kind, action.stopped)
        try:
            os.kill(pid, signal.SIGCONT)
        except ProcessLookupError:
            pass  # it was ended meanwhile
        if was_strict:
            self.watch.settle()
        return "%s for %.1f s" % (action.kind, action.stopped)

    # The stopped one stays so: whoever ends it must do so all the same.
    def stop_then(self, other, was_strict):
        if other == "kill host":
            self.kill_host()
            self.start_host()
            return
        self.send(other.split(" ")[1], signal.SIGKILL)
        if was_strict:
            self.watch.settle()
            self.pass_by(0.3)

    # The user.

    def do_settings(self, action):
        self.watch.answered(lambda: self.server.enter(action.camera, action.values))
        return "camera %d: %s" % (action.camera, ", ".join(action.values))

    # The host keeps what was refused, so the user corrects it.
    def do_wrong(self, action):
        try:
            return "wrong " + self.do_settings(action)
        except server.Refused:
            for name in action.values:
                self.server.enter(action.camera, {name: "30"})
            return "camera %d: refused %s" % (action.camera, ", ".join(action.values))

    def do_pipeline(self, action):
        self.do_settings(action)
        return "camera %d: another pipeline" % action.camera

    def do_press(self, action):
        self.watch.answered(lambda: self.server.press(action.camera, action.button))
        return "camera %d: %s" % (action.camera, action.button)

    def do_reset(self, action):
        self.watch.answered(lambda: self.server.press(action.camera, "resetAllDevicesButton"))

    def do_new(self, action):
        self.model_stamp += 1
        self.server.services.touch_models(
            "2026-11-02T%02d:%02d:%02d" % (
                self.model_stamp // 3600, self.model_stamp // 60 % 60, self.model_stamp % 60))
        self.do_reset(action)

    def do_reselect(self, action):
        self.be_lenient_in_trouble()
        self.watch.answered(lambda: self.server.press(action.camera, "reselectRuntimeButton"))
        end = time.time() + 15
        while time.time() < end:
            self.watch.tick()
            _, buttons, _ = self.watch.answered(lambda: self.server.dialog(action.camera))
            if action.runtime in buttons:
                self.watch.answered(lambda: self.server.press(action.camera, action.runtime))
                return "reselect runtime: " + action.runtime
            time.sleep(TICK_SECONDS)
        return None

    def do_clear(self, action):
        self.be_lenient_in_trouble()
        self.watch.answered(lambda: self.server.press(action.camera, "clearCacheButton"))

    def do_switch(self, action):
        self.watch.expected.discard(action.camera)
        self.watch.answered(
            lambda: self.server.enter(action.camera, {"deviceActiveSwitch": "false"}))
        self.pass_by(action.stopped)
        self.watch.answered(
            lambda: self.server.enter(action.camera, {"deviceActiveSwitch": "true"}))
        self.watch.expected.add(action.camera)
        if self.watch.strict:
            self.watch.settle()
        return "camera %d: off for %.1f s" % (action.camera, action.stopped)

    # Troubles that last over some of the next actions.

    def do_service(self, action):
        self.server.services.fault(
            action.path, action.fault, 4000 if action.fault == "late" else 200)
        self.fault_left = action.lasting
        return "service fault: %s %s, over %d actions" % (
            action.path, action.fault, action.lasting)

    def do_fill(self, action):
        if not self.has_small_disks or self.full:
            return action.kind + " (not here)"
        folder = self.server.temporary if "temporary" in action.kind else self.server.home
        self.watch.disturb()
        self.full = os.path.join(folder, "filler")
        self.full_left = action.lasting
        with open(self.full, "wb", buffering=0) as filler:
            for size in (1 << 20, 4096, 1):
                try:
                    while filler.write(bytes(size)):
                        pass
                except OSError as error:
                    if error.errno != errno.ENOSPC:
                        raise
        return "%s, over %d actions" % (action.kind, action.lasting)

    # What is started or installed while a service fails may well not come up.
    def be_lenient_in_trouble(self):
        if self.fault_left or self.full:
            self.watch.disturb()

    def end_troubles(self, all_of_them=False):
        had_troubles = bool(self.fault_left or self.full)
        if self.fault_left:
            self.fault_left -= 1
            if all_of_them or not self.fault_left:
                self.fault_left = 0
                self.server.services.clear_faults()
        if self.full:
            self.full_left -= 1
            if all_of_them or not self.full_left:
                os.remove(self.full)
                self.full = None
        if had_troubles and not self.fault_left and not self.full and not self.watch.strict:
            self.watch.settle()
            self.observe(1)
            self.say("  services and disks are in order again", "; ".join(self.watch.outcome))
            self.watch.outcome = []

    # The end.

    def check_figures(self):
        slope, minutes = self.watch.slope()
        # A sanitizer's allocator keeps memory for each of the page's threads; what leaks it tells at
        # each end of the host.
        if not server.is_sanitized(self.options.build) \
                and minutes >= watch.SLOPE_FROM_MINUTES and slope > watch.SLOPE_MB:
            raise watch.Finding("the host's memory rises by %.2f MB a minute" % slope)
        silent = [c for c, count in enumerate(self.server.results.counts) if not count]
        if silent:
            raise watch.Finding("cameras without any results: %s" % silent)

    def print_figures(self):
        print("\nactions:")
        for kind, count in sorted(self.counts.items()):
            print("  %4d  %s" % (count, kind))
        print_times("results of every camera, after everything was up", self.watch.recoveries)
        print_times("the application was away", self.watch.away)
        print("buttons pressed to help:  %d" % self.watch.helped)
        print("slowest dialog:           %.2f s" % self.server.slowest_answer)
        slope, minutes = self.watch.slope()
        memory = [mb for life in self.watch.lives for _, mb in life.memory] or [0]
        print("memory of the host:       %+.3f MB a minute over %.1f minutes of %d lives, "
              "%.1f to %.1f MB (at most %+.1f MB a minute, judged from %d minutes on, and not "
              "under a sanitizer)" % (
                  slope, minutes, len(self.watch.lives), min(memory), max(memory), watch.SLOPE_MB,
                  watch.SLOPE_FROM_MINUTES))
        calm = [each for life in self.watch.lives for each in life.calm] or [(0, 0, 0)]
        for index, name in enumerate(("descriptors", "segments held", "threads")):
            values = [each[index] for each in calm]
            print("%-25s %d to %d" % (name + ":", min(values), max(values)))
        print("results:                  %d, by camera %s" % (
            sum(self.server.results.counts), self.server.results.counts))


def print_times(name, values):
    ordered = sorted(values) or [0]
    print("%s: %d times, 50%% %.2f s, 99%% %.2f s, longest %.2f s" % (
        name, len(values), ordered[len(ordered) // 2],
        ordered[min(len(ordered) - 1, int(0.99 * len(ordered)))], ordered[-1]))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("minutes", type=float)
    parser.add_argument("seed")
    parser.add_argument("--build", required=True, type=os.path.abspath)
    server.end_by_signal()
    soak = Soak(parser.parse_args())
    finding = None
    try:
        soak.run()
    except (watch.Finding, server.Refused) as found:
        finding = str(found)
        soak.say("FINDING", finding)
    finally:
        keep_state(soak, finding)
        soak.server.close()
    soak.print_figures()
    if finding:
        print("\nFAILED: %s\nlogs: %s" % (finding, soak.scratch))
        return 1
    print("\npassed")
    server.remove_folder(soak.scratch)
    return 0


# The small file systems end with this run, so what lies in them is copied for who looks into it.
def keep_state(soak, finding):
    if not finding:
        return
    kept = os.path.join(soak.scratch, "kept")
    os.mkdir(kept)
    for folder in (soak.server.home, soak.server.temporary):
        subprocess.run(["cp", "-a", folder, kept], stderr=subprocess.DEVNULL, check=False)
    with open(os.path.join(kept, "processes.txt"), "w") as out:
        subprocess.run(["ps", "-ef"], stdout=out, check=False)
    with open(os.path.join(kept, "segments.txt"), "w") as out:
        out.writelines(name + "\n" for name in os.listdir("/dev/shm"))


if __name__ == "__main__":
    sys.exit(main())
