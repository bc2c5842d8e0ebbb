"""Looks at a server all the time: whether results flow, who lives, and what it holds."""

import os
import time

import processes
import server

RESULT_SECONDS = 5  # from when everything needed is up to results of every camera
FLUSH_SECONDS = 2.5  # the host tells its results once a second
UP_SECONDS = 60  # until the application is up; an installation may be needed before
HELPED_SECONDS = 150  # the same, with all that may be pressed meanwhile
ANSWER_SECONDS = 5  # for a dialog, whatever is stopped beside the host
ORPHAN_SECONDS = 2
TWO_SECONDS = 10  # that an old application may take to end beside the new one
SET_UP_SECONDS = 20  # of a host's life, until it holds what it needs
WARM_UP_SECONDS = 200  # of a host's life, before its memory is looked at
SLOPE_MB = 0.5  # a minute, at most
SLOPE_FROM_MINUTES = 5  # of samples; fewer tell nothing
HELD_MORE = 4  # descriptors or threads, between two calm moments of one life
SEGMENTS_OF_A_CAMERA = 3  # the application keeps about two
_CALM_SAMPLES = 8


class Finding(Exception):
    pass


class Held:
    """What one life of the host held over time. A calm moment is the least of some samples in a row,
    since connections come and go."""

    def __init__(self):
        self.memory = []  # (seconds, MB)
        self._window = []
        self.calm = []  # (descriptors, segments, threads)

    def sample(self, pid, age):
        descriptors, segments = processes.descriptors(pid)
        if age > SET_UP_SECONDS:
            self._window.append((descriptors, segments, processes.threads(pid)))
        if age > WARM_UP_SECONDS:
            self.memory.append((age, processes.anonymous_mb(pid)))
        if len(self._window) == _CALM_SAMPLES:
            self.calm.append(tuple(map(min, zip(*self._window))))
            self._window = []

    def check(self, cameras):
        if len(self.calm) < 3:
            return
        segments = self.calm[-1][1]
        if segments > SEGMENTS_OF_A_CAMERA * cameras:
            raise Finding("the host holds %d segments" % segments)
        for name, index in (("descriptors", 0), ("threads", 2)):
            first, last = (min(calm[index] for calm in part)
                           for part in (self.calm[:2], self.calm[-2:]))
            if last > first + HELD_MORE:
                raise Finding("the host holds %d %s, and held %d" % (last, name, first))


class Watch:
    def __init__(self, watched, folders):
        self.server = watched
        self.folders = folders  # that no plain copy may be in, but for those of the application
        self.expected = set(range(watched.cameras))
        self.strict = False
        self.since = 0.0  # when the last disturbance was over
        self.application = None
        self.away_since = 0.0
        self.waiting = False  # for results
        self.outcome = []  # of the present action
        self.recoveries = []  # seconds from everything up to results of every camera
        self.away = []  # seconds without an application
        self.helped = 0
        self.wants_restart = False
        self.lives = []
        self._strangers = {}
        self._last_sample = 0.0
        self._last_help = self._last_look = 0.0

    # What happens from now on says nothing: something is stopped, or full.
    def disturb(self):
        self.strict = False

    # From now on results are to flow again.
    def settle(self, since=None):
        self.strict = True
        self.since = since or time.time()
        self.away_since = self.since
        self.waiting = True

    def life_begins(self):
        self.lives.append(Held())
        self.application = None
        self.settle(self.server.started)

    def tick(self):
        if not self.server.is_running():
            raise Finding("the host ended by itself: exit code %s" % self.server.process.returncode)
        all_of_it = processes.marked(self.server.mark)
        self._look_for_strangers(all_of_it)
        family = processes.kinds(all_of_it, self.server.host())
        now = time.time()
        is_stopped = family["host"][0].state == "T" if "host" in family else True
        if now - self._last_sample > 1 and not is_stopped:
            self._last_sample = now
            self.lives[-1].sample(self.server.host(), now - self.server.started)
        if self.strict:
            self._look_at_results(family, now)

    def is_settled(self):
        return not self.strict or (self.application is not None and not self.waiting)

    def _look_for_strangers(self, all_of_it):
        now = time.time()
        strangers = processes.strangers(all_of_it, self.server.host())
        self._strangers = {
            each.pid: self._strangers.get(each.pid, now) for each in strangers}
        for each in strangers:
            if now - self._strangers[each.pid] > ORPHAN_SECONDS:
                raise Finding("a process outlived who started it: %s" % each)

    def _look_at_results(self, family, now):
        engines = family.get("brund", [])
        modules = family.get("brunmod", [])
        if len(engines) > 1 or len(modules) > 1:
            newest = max(each.started for each in engines + modules)
            if now - newest > TWO_SECONDS:
                raise Finding("two applications: %s" % ", ".join(map(str, engines + modules)))
            return
        if not engines or not modules:
            if self.application:
                self.application = None
                self.away_since = now
            elif now - max(self.away_since, self._last_help) > UP_SECONDS \
                    or now - self.away_since > HELPED_SECONDS:
                raise Finding(
                    "the application was not up after %d s" % (now - self.away_since))
            elif now - self.away_since > 4 and now - self._last_look > 5:
                self._help()
            return
        engine = engines[0]
        if self.application != engine.pid:
            self.application = engine.pid
            self.since = max(self.since, engine.started)
            self.waiting = True
            self.away.append(max(0.0, engine.started - self.away_since))
            self.outcome.append("application away %.1f s" % self.away[-1])
        if self.waiting:
            firsts = [self.server.results.first_since(camera, self.since)
                      for camera in self.expected]
            if all(firsts):
                self._recovered(max(firsts) - self.since)
            elif now - self.since > RESULT_SECONDS + FLUSH_SECONDS:
                self._no_results([c for c, first in zip(self.expected, firsts) if not first])
            return
        silent = [camera for camera in self.expected
                  if now - self.server.results.last(camera) > RESULT_SECONDS + FLUSH_SECONDS]
        if silent:
            self._no_results(silent)

    def _recovered(self, took):
        self.waiting = False
        self.recoveries.append(took)
        self.outcome.append("results of all cameras after %.2f s" % took)
        if took > RESULT_SECONDS:
            raise Finding("results of every camera came only after %.1f s" % took)

    def _no_results(self, cameras):
        raise Finding("no results within %d s of camera %s, with everything up" % (
            RESULT_SECONDS, ", ".join(map(str, cameras))))

    def _help(self):
        """What the guide tells an administrator to do about what the dialog shows."""
        self._last_look = time.time()
        if not self.server.find_page(0.1):
            return
        _, buttons, banners = self.answered(lambda: self.server.dialog())
        shown = " ".join(banners)
        button = None
        if server.RUNTIME_CHOICE in buttons:
            button = server.RUNTIME_CHOICE
        elif "could not install the acceleration library" in shown \
                or "Failed to extract the runtime" in shown:
            button = "reselectRuntimeButton"
        elif "modelDownloadRetryButton" in buttons:
            button = "modelDownloadRetryButton"
        elif "clearCacheButton" in buttons and any(text in shown for text in (
                "could not be installed", "Failed to decrypt", "Failed to start", "key file missing",
                "Model file missing")):
            button = "clearCacheButton"
        elif "could not be installed" in shown:
            self.wants_restart = True
            self.outcome.append("restarted the host")
        if button in buttons:
            self.helped += 1
            self._last_help = time.time()
            self.outcome.append("pressed " + button)
            self.answered(lambda: self.server.press(0, button))

    def answered(self, ask):
        before = time.time()
        try:
            answer = ask()
        except OSError as error:
            raise Finding("a dialog was not answered: %s" % error) from error
        if time.time() - before > ANSWER_SECONDS:
            raise Finding("a dialog was answered only after %.1f s" % (time.time() - before))
        return answer

    # What must hold at a calm moment.
    def check(self):
        self.lives[-1].check(self.server.cameras)
        family = self.server.family()
        zombies = [str(each) for each in processes.zombies(
            {each.pid for kind in family.values() for each in kind})]
        if zombies:
            raise Finding("ended processes that nobody has collected: " + ", ".join(zombies))
        self._check_copies("brunmod" in family)
        self._check_segments(family)

    def _check_copies(self, has_application):
        allowed = [os.path.join(self.server.temporary, name) for name in server.MODELS]
        for file in server.plain_copies(self.folders):
            if file not in allowed or not has_application:
                raise Finding("a plain copy of a model: " + file)
            if os.stat(file).st_mode & 0o077:
                raise Finding("a plain copy that others may read: " + file)

    def _check_segments(self, family):
        if "/dev/shm" not in self.folders or "brunmod" not in family or self.waiting:
            return
        for _ in range(3):
            held = set().union(
                *(processes.held_segments(each.pid) for each in family["brunmod"]))
            stale = set(os.listdir("/dev/shm")) - held
            if not stale:
                return
            time.sleep(0.4)
            family = self.server.family()
            if not family.get("brunmod"):
                return
        raise Finding("stale segments: " + ", ".join(sorted(stale)))

    # Nothing of a host that has ended may be left.
    def check_end(self, what):
        end = time.time() + ORPHAN_SECONDS
        while processes.marked(self.server.mark) and time.time() < end:
            time.sleep(0.05)
        left = [str(each) for each in processes.marked(self.server.mark).values()]
        if left:
            raise Finding("%d s after the host %s: %s" % (ORPHAN_SECONDS, what, ", ".join(left)))
        copies = server.plain_copies(self.folders)
        if copies:
            raise Finding("plain copies after the host %s: %s" % (what, ", ".join(copies)))

    def slope(self):
        """MB a minute, over all lives, each with a level of its own; and the minutes it is from."""
        above = below = minutes = 0.0
        for life in self.lives:
            if len(life.memory) < 2:
                continue
            mean_at = sum(at for at, _ in life.memory) / len(life.memory)
            mean_mb = sum(mb for _, mb in life.memory) / len(life.memory)
            above += sum((at - mean_at) * (mb - mean_mb) for at, mb in life.memory)
            below += sum((at - mean_at) ** 2 for at, _ in life.memory)
            minutes += (life.memory[-1][0] - life.memory[0][0]) / 60
        return (60 * above / below if below else 0.0), minutes
