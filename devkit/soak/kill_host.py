#!/usr/bin/env python3
"""Kills the host at random moments. Two seconds later, no process and no plain copy may be left.

usage: kill_host.py ROUNDS SEED --build FOLDER

The models are encrypted, and the application gets decrypted copies. A part of the rounds is killed
at a moment after the start that the seed tells, the others when a certain stage has been reached,
and a little after it: installing, decrypting, starting the application, results. Every so often the
installation is wiped, so that a round begins from nothing. Each round is a line: what was running
when the host was killed, and what was left. The logs of a run with a finding are kept.
"""

import argparse
import collections
import os
import random
import sys
import time

import processes
import server

GRACE_SECONDS = 2
RESULT_SECONDS = 90
CAMERAS = 2
MODEL_BYTES = 32 << 20  # so that decrypting takes a while
AIMS = (["any moment"] * 7 + ["decrypting"] * 5 + ["application starting"] * 3 + ["running"] * 3
        + ["installing"] * 2)


class Rounds:
    def __init__(self, options):
        self.options = options
        self.numbers = random.Random(options.seed)
        self.scratch = server.new_scratch()
        self.has_own_memory = server.use_private_shared_memory()
        self.home = os.path.join(self.scratch, "home")
        self.temporary = os.path.join(self.scratch, "tmp")
        for folder in (self.home, self.temporary):
            os.mkdir(folder)
        self.server = server.Server(
            options.build, self.scratch, self.home, self.temporary, CAMERAS, MODEL_BYTES,
            options.seed)
        self.stages = collections.Counter()
        self.findings = []
        self.copies_seen = 0

    def set_up(self):
        """Everything installed, and each camera with a model of its own."""
        self.server.start(self.presses())
        self.wait("running")
        self.server.find_page()
        self.server.enter(1, {"selectedPipeline": server.PIPELINES[1]})
        end = time.time() + RESULT_SECONDS
        while len(self.copies()) < len(server.MODELS) and time.time() < end:
            time.sleep(0.05)
        if len(self.copies()) < len(server.MODELS):
            raise RuntimeError("the application did not get a decrypted copy of each model")
        self.wait("running")

    # What the user presses until a runtime is installed.
    def presses(self):
        return [part for second in (1, 2, 3, 5, 8)
                for part in ("--press", "*:%s@%d" % (server.RUNTIME_CHOICE, second))]

    def copies(self):
        return [name for name in server.MODELS
                if os.path.exists(os.path.join(self.temporary, name))]

    def installed(self):
        folder = os.path.join(self.home, "tavo_orlix_manager/orlix_manager/bin")
        return os.path.exists(os.path.join(folder, "installed_runtime.txt"))

    def stage(self):
        family = self.server.family()
        if "brund" in family and all(
                self.server.results.last(camera) > self.server.started
                for camera in range(CAMERAS)):
            return "running"
        if "brunmod" in family:
            return "application starting"
        if self.copies():
            return "decrypting"
        return "starting up" if self.installed() else "installing"

    def wait(self, stage):
        end = time.time() + RESULT_SECONDS
        while time.time() < end and self.server.is_running():
            # Decrypting is short, so its beginning is looked for without looking at processes.
            if stage == "decrypting":
                if self.copies():
                    return
                time.sleep(0.001)
            elif self.stage() in (stage, "running"):  # which may be there before the next look
                return
            else:
                time.sleep(0.01)
        raise RuntimeError("the host did not come to: " + stage)

    def run(self):
        self.set_up()
        self.kill(0, "set up", "running")
        for index in range(1, self.options.rounds + 1):
            wiped = self.numbers.random() < 0.2
            aim = self.numbers.choice(AIMS)
            delay = self.numbers.uniform(0, 9 if wiped else 6.5)
            little = self.numbers.uniform(0, 0.1)
            if wiped:
                server.remove_folder(os.path.join(self.home, "tavo_orlix_manager"))
            if aim == "installing" and self.installed():
                aim = "any moment"
            self.server.start(self.presses())
            if aim == "any moment":
                time.sleep(delay)
            else:
                self.wait(aim)
                time.sleep(little)
            self.kill(index, aim + (", from nothing" if wiped else ""), self.stage())
            if len(self.findings) > 5:
                break

    def kill(self, index, aim, stage):
        self.copies_seen += bool(self.copies())
        after = time.time() - self.server.started
        self.server.kill()
        killed = time.time()
        while (left := processes.marked(self.server.mark)) and time.time() < killed + GRACE_SECONDS:
            time.sleep(0.02)
        took = time.time() - killed
        time.sleep(max(0, killed + GRACE_SECONDS - time.time()))
        left = processes.marked(self.server.mark)
        folders = [self.home, self.temporary] + (["/dev/shm"] if self.has_own_memory else [])
        plain = server.plain_copies(folders)
        if index:
            self.stages[stage] += 1
        print("%s %3d  killed after %5.2f s, %-20s (aim: %s)  the last process ended %.2f s later%s" % (
            time.strftime("%H:%M:%S"), index, after, stage, aim, took,
            "" if not left and not plain else "  FINDING"), flush=True)
        for what in [*left.values(), *plain]:
            line = "round %d, killed while %s: left after %d s: %s" % (
                index, stage, GRACE_SECONDS, what)
            self.findings.append(line)
            print("  " + line, flush=True)
        if not left and not plain:
            os.remove(self.server.log)
        for process in left.values():
            os.kill(process.pid, 9)
        for file in plain:
            os.remove(file)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("rounds", type=int)
    parser.add_argument("seed")
    parser.add_argument("--build", required=True, type=os.path.abspath)
    server.end_by_signal()
    rounds = Rounds(parser.parse_args())
    try:
        rounds.run()
    except RuntimeError as error:
        rounds.findings.append(str(error))
    finally:
        rounds.server.close()
    print("\nkills by what was running:")
    for stage, count in rounds.stages.most_common():
        print("  %4d  %s" % (count, stage))
    print("decrypted copies lay there at %d kills" % rounds.copies_seen)
    if rounds.findings:
        print("\n".join(["", "FINDINGS:", *rounds.findings, "logs: " + rounds.scratch]))
        return 1
    print("after each kill: 0 processes and 0 plain copies within %d s" % GRACE_SECONDS)
    server.remove_folder(rounds.scratch)
    return 0


if __name__ == "__main__":
    sys.exit(main())
