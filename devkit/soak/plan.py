"""What happens during a soak, and when: all of it told by the seed."""

import random

import server

# How often each happens, in proportion. All happen once, in some order, before any does again.
_WEIGHTS = {
    "kill host": 0.2,
    "restart host": 0.1,
    "stop host": 1.5,
    "kill keeper": 1.5,
    "stop keeper": 1,
    "kill engine_keeper": 1,
    "stop engine_keeper": 1,
    "kill brunmod": 2.5,
    "stop brunmod": 2,
    "kill brund": 2.5,
    "stop brund": 2,
    "stop brunmod, kill host": 0.1,
    "stop brund, kill brunmod": 1,
    "settings": 5,
    "wrong settings": 1.5,
    "pipeline": 1.5,
    "press": 3,
    "reset devices": 1,
    "new models": 1.5,
    "reselect runtime": 0.8,
    "clear cache": 0.8,
    "switch camera off and on": 1.5,
    "service fault": 3,
    "fill temporary folder": 1,
    "fill installation": 1,
}

_FAULTS = {
    "/dev/": ["status", "late", "body", "reset", "cut"],
    "/models/": ["status", "cut", "wrongDigest", "noDigest", "noKey", "slow", "reset", "late",
                 "body", "noLength"],
    "/apps/": ["status", "cut", "reset", "slow", "body"],
    "/runtimes/": ["status", "cut", "reset", "slow", "body"],
}

_BUTTONS = ["selectAllButton", "deSelectAllButton", "manageDevice", "triggerReferenceRunButton",
            "resetSingleDeviceButton", "modelDownloadRetryButton", "a button that there is not"]

_WRONG_VALUES = [
    {"loiterDetectionTimeThreshold": "soon"},
    {"dumpingDetectionTimeThreshold": "99999999999999999999"},
    {"cropBox": '{"figure": {"points": [[0.9'},
    {"lineCrossingLine": '{"figure": {"points": [[7, "a"], null]}}'},
    {"selectedPipeline": "no pipeline of this name"},
    {"maskType": "\u0000\u00ff"},
]


class Action:
    def __init__(self, kind, numbers, cameras):
        self.kind = kind
        self.pause = numbers.uniform(1.5, 5)  # seconds until the next one, at least
        self.stopped = numbers.uniform(1, 6)  # seconds until SIGCONT
        self.camera = numbers.randrange(cameras)
        self.lasting = numbers.randint(1, 3)  # how many actions a fault outlives
        self.path = numbers.choice(list(_FAULTS))
        self.fault = numbers.choice(_FAULTS[self.path])
        self.button = numbers.choice(_BUTTONS)
        self.runtime = numbers.choice(["libraryChoiceGeneric CPU", "libraryChoiceIntel"])
        self.values = self._values(numbers)

    def _values(self, numbers):
        if self.kind == "pipeline":
            return {"selectedPipeline": numbers.choice(server.PIPELINES)}
        if self.kind == "wrong settings":
            return dict(numbers.choice(_WRONG_VALUES))
        left, top = numbers.uniform(0, 0.4), numbers.uniform(0, 0.4)
        box = [[left, top], [left + 0.5, top + 0.5]]
        return dict(numbers.sample([
            ("loiterDetectionTimeThreshold", str(numbers.randint(1, 60))),
            ("dumpingDetectionTimeThreshold", str(numbers.randint(1, 60))),
            ("maskType", numbers.choice(["inclusive", "exclusive"])),
            ("visualise_motion", numbers.choice(["true", "false"])),
            ("lineCrossingLine", _figure(box)),
            ("cropBox", numbers.choice(["", _figure(box)])),
        ], 2))


def _figure(points):
    return '{"figure": {"points": %s}}' % [[round(x, 3), round(y, 3)] for x, y in points]


def actions(seed, cameras):
    """Without end."""
    numbers = random.Random(seed)
    first = list(_WEIGHTS)
    numbers.shuffle(first)
    while True:
        kind = first.pop() if first else numbers.choices(
            list(_WEIGHTS), list(_WEIGHTS.values()))[0]
        yield Action(kind, numbers, cameras)
