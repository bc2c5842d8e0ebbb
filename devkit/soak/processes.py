"""What processes a server and all that it has started consist of, and what they hold. Linux only."""

import os
import re
import time

MARK = "TAVO_SOAK_RUN"  # in the environment, and so in that of every child
_SEGMENTS = "/dev/shm/"
_TICKS = os.sysconf("SC_CLK_TCK")


def _boot_time():
    with open("/proc/uptime") as uptime:
        return time.time() - float(uptime.read().split()[0])


class Process:
    def __init__(self, pid):
        with open("/proc/%d/stat" % pid, errors="replace") as stat:
            head, tail = stat.read().rsplit(")", 1)
        fields = tail.split()
        self.pid = pid
        self.name = head.split("(", 1)[1]
        self.state = fields[0]
        self.parent = int(fields[1])
        self.started = _boot_time() + int(fields[19]) / _TICKS  # on the wall clock
        try:
            self.program = os.path.basename(
                os.readlink("/proc/%d/exe" % pid).replace(" (deleted)", ""))
        except OSError:
            self.program = ""

    def __str__(self):
        return "%s (%d, of %d, %s)" % (
            self.program or self.name, self.pid, self.parent, self.state)


def marked(mark):
    """All living processes that inherited the mark."""
    wanted = ("%s=%s" % (MARK, mark)).encode()
    found = {}
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open("/proc/%s/environ" % name, "rb") as environment:
                if wanted in environment.read().split(b"\0"):
                    found[int(name)] = Process(int(name))
        except OSError:
            continue  # it has ended meanwhile
    return found


def kinds(processes, host):
    """By kind: brunmod, brund, keeper (of the application), engine_keeper, and other."""
    by_kind = {}
    for process in processes.values():
        parent = processes.get(process.parent)
        if process.pid == host:
            kind = "host"
        elif process.program in ("brunmod", "brund"):
            kind = process.program
        elif process.program.startswith("memfd:"):
            kind = "engine_keeper" if parent and parent.program == "brunmod" else "keeper"
        else:
            kind = "other"
        by_kind.setdefault(kind, []).append(process)
    return by_kind


def strangers(processes, host):
    """Those that do not descend from the host."""
    def descends(process):
        while process:
            if process.pid == host:
                return True
            process = processes.get(process.parent)
        return False
    return [process for process in processes.values() if not descends(process)]


def threads(pid):
    return len(os.listdir("/proc/%d/task" % pid))


def descriptors(pid):
    """How many, and how many of them are shared memory segments."""
    folder = "/proc/%d/fd" % pid
    others = segments = 0
    for name in os.listdir(folder):
        try:
            if os.readlink(os.path.join(folder, name)).startswith(_SEGMENTS):
                segments += 1
            else:
                others += 1
        except OSError:
            continue
    return others, segments


def anonymous_mb(pid):
    """Memory that is the process's alone: neither files nor shared segments."""
    with open("/proc/%d/status" % pid) as status:
        for line in status:
            if line.startswith("RssAnon:"):
                return int(line.split()[1]) / 1e3
    return 0.0


def held_segments(pid):
    """The names of the segments that it has open or mapped."""
    held = set()
    try:
        for name in os.listdir("/proc/%d/fd" % pid):
            target = os.readlink("/proc/%d/fd/%s" % (pid, name))
            if target.startswith(_SEGMENTS):
                held.add(target[len(_SEGMENTS):])
        with open("/proc/%d/maps" % pid) as maps:
            held |= set(re.findall(r" /dev/shm/(\S+)$", maps.read(), re.MULTILINE))
    except OSError:
        pass  # it has ended, or closed what was looked at
    return held


def zombies(parents):
    """Ended children of these that stay so."""
    def now():
        found = {}
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                process = Process(int(name))
            except OSError:
                continue
            if process.state == "Z" and process.parent in parents:
                found[process.pid] = process
        return found
    first = now()
    if not first:
        return []
    time.sleep(2)
    return [process for pid, process in now().items() if pid in first]
