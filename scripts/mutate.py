#!/usr/bin/python3
"""Asks whether the tests notice: puts small faults into the product's sources, one at a time, and says
which test fails first, or that none does.

docs/testing.md says how it goes about it and how to read what it prints; `scripts/setup.sh mutate`
brings what it needs.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

from clang.cindex import CursorKind, Index, TypeKind

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
TREE = WORK / "tree"
BUILD = TREE / "build" / "debug"
PRODUCT = re.compile(r"(vms/.*/(plugin/src|utils)|open/vms/libs/[^/]+/src)/.*\.cpp$")
NOT_HERE = re.compile(r"/(tests|windows|keeper)/")
EXCUSED = ROOT / "scripts" / "lib" / "unseen_faults.txt"
NOT_A_TEST = re.compile(r"^(browser\.|failing_calls\.install|include_rules|operating_guide|package)")
ONLY_FOR_DEBUGGING = re.compile(r"if [^;{]*\)\s+log_debug\([^;{]*")
JOBS = os.cpu_count() or 2
SWITCH = ROOT / "scripts" / "lib" / "mutant_switch.h"
IGNORED = ("conversion", "parentheses", "dangling-else", "unused", "shadow", "extra", "pedantic", "unused-result",
           "int-in-bool-context", "return-type", "maybe-uninitialized", "format-nonliteral", "bool-compare")
TURNED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
STATEMENTS = {CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.UNARY_OPERATOR,
              CursorKind.COMPOUND_ASSIGNMENT_OPERATOR, CursorKind.CXX_DELETE_EXPR,
              CursorKind.CXX_STATIC_CAST_EXPR, CursorKind.UNEXPOSED_EXPR}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION}

SAME = {"{}", "0", "nullptr", "std::nullopt", '""'}
FINDER = pathlib.Path(__file__).read_bytes()

Fault = collections.namedtuple("Fault", "file line start end kind was becomes")


class Finder:
    """The places of one source where a fault can be put."""

    def __init__(self, unit, path, file):
        self.path, self.file = path, file
        self.text = pathlib.Path(path).read_bytes()
        self.faults = []
        for cursor in unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == str(path):
                self.walk(cursor, False)

    def source(self, cursor):
        return self.text[cursor.extent.start.offset:cursor.extent.end.offset].decode()

    def add(self, cursor, kind, becomes, end=None):
        start, end = cursor.extent.start.offset, end or cursor.extent.end.offset
        was = self.text[start:end].decode()
        if was and not re.search(r"log_debug\(|[.>]reserve\(|#|_foreach\(", was):
            self.faults.append(Fault(self.file, cursor.extent.start.line, start, end, kind, was, becomes))

    def walk(self, cursor, inside):
        if cursor.extent.start.file and cursor.extent.start.file.name != str(self.path):
            return  # a default argument, which a header gives
        if cursor.kind in FUNCTIONS:
            if not cursor.is_definition() or "constexpr" in self.source(cursor).split("(")[0]:
                return
            inside = True
        if cursor.kind == CursorKind.STATIC_ASSERT or self.is_constant(cursor) or \
                cursor.kind == CursorKind.IF_STMT and ONLY_FOR_DEBUGGING.fullmatch(self.source(cursor)):
            return
        if inside:
            self.look_at(cursor)
        children = list(cursor.get_children())
        for child in children[1:] if cursor.kind == CursorKind.CASE_STMT else children:
            self.walk(child, inside)

    @staticmethod
    def is_constant(cursor):
        if cursor.kind != CursorKind.VAR_DECL:
            return False
        return "constexpr" in [token.spelling for token in list(cursor.get_tokens())[:3]]

    def look_at(self, cursor):
        children = list(cursor.get_children())
        kind = cursor.kind
        if kind in (CursorKind.IF_STMT, CursorKind.CONDITIONAL_OPERATOR) and children[0].kind.is_expression():
            self.add(children[0], "negated", f"(static_cast<bool>({self.source(children[0])}) != ::mutant(@))")
        if kind == CursorKind.IF_STMT:
            for child in children[1:]:
                self.look_at_statement(child)
        elif kind == CursorKind.COMPOUND_STMT:
            for child in children:
                self.look_at_statement(child)
        if kind == CursorKind.BINARY_OPERATOR and len(children) == 2:
            self.look_at_operator(cursor, *children)
        elif kind == CursorKind.CALL_EXPR and cursor.spelling.startswith("operator") and len(children) == 3:
            self.look_at_operator(cursor, children[0], children[2])
        elif kind == CursorKind.INTEGER_LITERAL:
            was = self.source(cursor)
            others = ("1",) if re.fullmatch("0[uUlL]*", was) else ("0", f"({was} * 10)", f"({was} + 1)")
            # A name of the system's, as O_CLOEXEC, is forgotten, not miscounted; this one is 0.
            for becomes in others if was[:1].isdigit() else others[:was not in ("", "O_RDONLY")]:
                self.add(cursor, f"constant: {becomes} for", f"(::mutant(@) ? {becomes} : {was})")
        elif kind == CursorKind.DECL_REF_EXPR and re.match("k(?!Invalid|No[A-Z])", cursor.spelling):
            self.look_at_constant(cursor)

    def look_at_constant(self, cursor):
        kind = cursor.type.get_canonical().kind
        was = self.source(cursor)
        arithmetic = TypeKind.BOOL.value < kind.value <= TypeKind.LONGDOUBLE.value
        if arithmetic or "duration<" in cursor.type.get_canonical().spelling:
            for becomes in (f"{was} * 10", f"{was} / 1000"):
                self.add(cursor, f"constant: {becomes} for", f"(::mutant(@) ? {becomes} : {was})")

    def look_at_operator(self, cursor, left, right):
        gap = self.text[left.extent.end.offset:right.extent.start.offset].decode().strip()
        first, second = self.source(left), self.source(right)
        if gap in TURNED:
            self.add(cursor, f"comparison: {TURNED[gap]} in",
                     f"(::mutant(@) ? ({first} {TURNED[gap]} {second}) : ({first} {gap} {second}))")
        elif gap in ("&&", "||"):
            for kept in (first, second):
                self.add(cursor, f"side: only {one_line(kept, 30)} of",
                         f"(::mutant(@) ? static_cast<bool>({kept}) : static_cast<bool>({first} {gap} {second}))")

    def look_at_statement(self, cursor):
        end = self.text.find(b";", cursor.extent.end.offset)
        if end < 0 or self.text[cursor.extent.end.offset:end].strip():
            return
        was = self.source(cursor)
        if cursor.kind in STATEMENTS:
            self.add(cursor, "dropped", f"{{ if (!::mutant(@)) {was}; }}", end + 1)
        elif cursor.kind == CursorKind.RETURN_STMT:
            value = was[len("return"):].strip()
            child = next(cursor.get_children(), None)
            if not value or child is None:
                return
            if child.type.get_canonical().kind == TypeKind.BOOL:
                self.add(cursor, "return: another than",
                         f"return static_cast<bool>({value}) != ::mutant(@);", end + 1)
            elif value not in SAME:
                self.add(cursor, "return: another than", f"{{ if (::mutant(@)) return {{}}; {was}; }}", end + 1)


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, capture_output=True, **options).stdout


def tracked_files():
    listed = run("git", "-C", str(ROOT), "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    return [name for name in listed.split("\0") if name and (ROOT / name).is_file()]


def copy_tree(changed):
    """Brings the copy up to date, `changed` aside, touching what differs and nothing else. Gives the names of all
    files in it."""
    names = tracked_files()
    for name in names:
        target = TREE / name
        source = (ROOT / name).read_bytes()
        if name in changed:
            source = changed[name]
        if not target.is_file() or target.read_bytes() != source:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(source)
            shutil.copymode(ROOT / name, target)
    kept = set(names)
    for file in list(TREE.rglob("*")):
        name = file.relative_to(TREE).as_posix()
        if file.is_file() and name not in kept and not name.startswith("build/"):
            file.unlink()
    return names


def faults_of(name, words):
    """The places of one source; kept by what is in it, since a look takes seconds."""
    source = (TREE / name).read_bytes()
    kept = WORK / "places" / hashlib.sha256(name.encode() + source + FINDER).hexdigest()
    if kept.is_file():
        return [Fault(*fault) for fault in json.loads(kept.read_text())]
    arguments = [word for before, word in zip([""] + words, words)
                 if word.startswith(("-I", "-D", "-std")) or "-isystem" in (before, word)]
    faults = sorted(set(Finder(Index.create().parse(str(TREE / name), args=arguments),
                               str(TREE / name), name).faults))
    kept.parent.mkdir(parents=True, exist_ok=True)
    kept.write_text(json.dumps(faults))
    return faults


def find_faults(folder, lines):
    """All places of the sources below `folder`, or of `lines` (numbers by file), by file."""
    commands = {entry["file"]: entry["command"].split()
                for entry in json.loads((BUILD / "compile_commands.json").read_text())}
    wanted = [name for name in tracked_files() if PRODUCT.search(name) and not NOT_HERE.search("/" + name)
              and name.startswith(folder) and (lines is None or name in lines) and str(TREE / name) in commands]
    with concurrent.futures.ProcessPoolExecutor(JOBS) as pool:
        looked = zip(wanted, pool.map(faults_of, wanted, [commands[str(TREE / name)] for name in wanted]))
        found = {name: [f for f in faults if lines is None or f.line in lines[name]]
                 for name, faults in looked}
    return {name: faults for name, faults in found.items() if faults}


def candidates(found, seed):
    """All places in the order in which a sample takes them: file by file in turn, kind by kind."""
    dice = random.Random(seed)
    waiting = {}
    for name in sorted(found):
        by_kind = collections.defaultdict(list)
        for fault in found[name]:
            by_kind[fault.kind.split(":")[0]].append(fault)
        for faults in by_kind.values():
            dice.shuffle(faults)
        waiting[name] = by_kind
    while waiting:
        names = sorted(waiting)
        dice.shuffle(names)
        for name in names:
            kind = dice.choice(sorted(waiting[name]))
            yield waiting[name][kind].pop()
            if not waiting[name][kind]:
                del waiting[name][kind]
            if not waiting[name]:
                del waiting[name]


def excuses():
    """The faults that nobody can see, as they are told: lines "file: kind 'text' => reason"."""
    lines = EXCUSED.read_text().splitlines() if EXCUSED.is_file() else []
    return {line.split(" => ")[0] for line in lines}


def told(fault):
    return f"{fault.kind} '{one_line(fault.was)}'"


def one_line(text, limit=90):
    text = " ".join(text.split())
    return text if len(text) <= limit else text[:limit - 3] + "..."


def planted(name, faults):
    """The source of `name` with the faults, given as (number, fault), in it."""
    text = (ROOT / name).read_bytes()
    for number, fault in sorted(faults, key=lambda item: -item[1].start):
        text = text[:fault.start] + fault.becomes.replace("@", str(number)).encode() + text[fault.end:]
    pragmas = "".join(f'#pragma GCC diagnostic ignored "-W{word}"\n' for word in IGNORED)
    return f'#include "{TREE / SWITCH.relative_to(ROOT)}"\n{pragmas}#line 1\n'.encode() + text


def build(stream, count):
    """Plants and compiles; what does not compile makes room for the next. Gives faults by number."""
    chosen, refused = {}, set()
    used = collections.defaultdict(list)
    number = 0
    while True:
        for fault in stream:
            if len(chosen) >= count:
                break
            if any(f.start < fault.end and fault.start < f.end for f in used[fault.file]):
                continue
            number += 1
            chosen[number] = fault
            used[fault.file].append(fault)
        by_file = collections.defaultdict(list)
        for item in chosen.items():
            by_file[item[1].file].append(item)
        copied = copy_tree({name: planted(name, items) for name, items in by_file.items()})
        made = subprocess.run(["cmake", "--build", str(BUILD), "-j", str(JOBS), "--", "-k", "0"],
                              capture_output=True, text=True, check=False)
        if made.returncode == 0:
            return chosen, copied
        wrong = set(re.findall(r"(\S+?\.cpp):(\d+)[:,].*?(?:error|required|warning)", made.stdout))
        bad = {n for n, f in chosen.items() for file, line in wrong
               if file.endswith(f.file) and f.line <= int(line) <= f.line + f.was.count("\n") + 1}
        if not bad or bad <= refused:
            sys.exit(made.stdout[-4000:] + "\nthe copy does not build, and no fault is to blame")
        refused |= bad
        for n in bad:
            used[chosen[n].file].remove(chosen.pop(n))


class Tests:
    """The suite as ctest lists it, each test runnable alone."""

    def __init__(self):
        listed = json.loads(run("ctest", "--test-dir", str(BUILD), "--show-only=json-v1"))
        self.all = {}
        for test in listed["tests"]:
            if not NOT_A_TEST.search(test["name"]) and test.get("command"):
                properties = {p["name"]: p["value"] for p in test.get("properties", [])}
                self.all[test["name"]] = (test["command"], properties)

    def passes(self, name, limit, **variables):
        """Whether it ended well within `limit` seconds; ends whatever it leaves behind."""
        command, properties = self.all[name]
        with tempfile.TemporaryDirectory(prefix="mutate") as folder:
            os.chmod(folder, 0o755)  # some tests become another user
            environment = dict(os.environ, TMPDIR=folder, TAVO_MUTANT_RUN=folder, **variables)
            environment.update(e.split("=", 1) for e in properties.get("ENVIRONMENT", []))
            process = subprocess.Popen(command, env=environment, cwd=properties.get("WORKING_DIRECTORY"),
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, start_new_session=True)
            try:
                ended = process.wait(timeout=limit)
            except subprocess.TimeoutExpired:
                ended = None
            end_all_with(f"TAVO_MUTANT_RUN={folder}".encode())
            process.wait()
        return ended == 0

    def note_reach(self, numbers):
        """What each test reaches and how long it takes, of those that pass without a fault."""
        reach, seconds, failing = collections.defaultdict(set), {}, []

        def look(name):
            with tempfile.TemporaryDirectory(prefix="reach") as notes:
                os.chmod(notes, 0o777)  # for tests that become another user
                begun = time.monotonic()
                if not self.passes(name, 300, TAVO_MUTANT_NOTES=notes):
                    failing.append(name)
                    return
                seconds[name] = time.monotonic() - begun
                for number in os.listdir(notes):
                    reach[int(number)].add(name)

        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            list(pool.map(look, self.all))
        return {n: sorted(reach[n], key=seconds.get) for n in numbers}, seconds, failing


def end_all_with(mark):
    for folder in pathlib.Path("/proc").iterdir():
        if folder.name.isdigit() and int(folder.name) != os.getpid():
            try:
                if mark in (folder / "environ").read_bytes().split(b"\0"):
                    os.kill(int(folder.name), signal.SIGKILL)
            except (OSError, ProcessLookupError):
                pass


def changed_lines(base):
    """The numbers of the lines that came since `base`, by file."""
    lines, name = collections.defaultdict(set), None
    for line in run("git", "-C", str(ROOT), "diff", "-U0", base, "--", "*.cpp").splitlines():
        if line.startswith("+++ "):
            name = line[6:]
        found = re.match(r"@@ .* \+(\d+)(?:,(\d+))? @@", line)
        if found:
            lines[name].update(range(int(found[1]), int(found[1]) + int(found[2] or 1)))
    return lines


def meet(tests, reach, seconds, number, limit, alone, until):
    """The tests that fail with the fault: the first, and with `alone` a second one if there is any."""
    killers, begun = [], time.monotonic()
    for name in reach[number]:
        if time.monotonic() > until:
            return None
        if time.monotonic() - begun > limit:
            break
        if not tests.passes(name, 10 + 5 * seconds[name], TAVO_MUTANT=str(number)):
            killers.append(name)
            if len(killers) > alone:
                break
    return {"killers": killers, "seconds": round(time.monotonic() - begun, 1), "reach": len(reach[number])}


def folder_of(name):
    return re.sub(r"^.*/(plugin/src/[^/]+|utils|libs/[^/]+)/.*$", r"\1", name)


def report(state, tests):
    known = excuses()
    figures = collections.defaultdict(lambda: [0, 0, 0])
    for fault, result in state:
        row = figures[folder_of(fault.file)]
        row[0] += 1
        row[1] += bool(result["killers"])
        row[2] += not result["killers"] and f"{fault.file}: {told(fault)}" in known
    print("\nfolder                        faults  noticed  excused")
    for folder, (all_, killed, excused) in sorted(figures.items()):
        print(f"{folder:<30}{all_:>6}{killed:>9}{excused:>9}")
    all_, killed, excused = (sum(column) for column in zip(*figures.values())) if figures else (0, 0, 0)
    print(f"{'all':<30}{all_:>6}{killed:>9}{excused:>9}")
    alone = {result["killers"][0] for _, result in state if len(result["killers"]) == 1}
    idle = sorted(set(tests) - alone)
    (WORK / "idle_tests.txt").write_text("\n".join(idle) + "\n")
    print(f"tests that noticed nothing alone: {len(idle)} of {len(tests)}, in {WORK.name}/idle_tests.txt")
    print(f"noticed: {100 * killed / max(1, all_ - excused):.1f} of 100")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sample", type=int, metavar="N", help="how many faults (150; with --changed 20)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--folder", default="", help="only sources below this folder of the tree")
    parser.add_argument("--changed", metavar="BASE", help="only lines that came since BASE; ten minutes")
    parser.add_argument("--minutes", type=float, help="stops then; the same call goes on (no limit; 10)")
    parser.add_argument("--limit", type=float, default=90, help="seconds of tests a fault (90)")
    parser.add_argument("--alone", action="store_true", help="looks for a second test that notices")
    options = parser.parse_args()
    sample = options.sample or (20 if options.changed else 150)
    minutes = options.minutes or (10 if options.changed else 1e6)
    until = time.monotonic() + 60 * minutes

    copy_tree({})
    run("cmake", "--preset", "debug", cwd=TREE)
    found = find_faults(options.folder, changed_lines(options.changed) if options.changed else None)
    print(f"{sum(map(len, found.values()))} places in {len(found)} sources; builds a sample of {sample}", flush=True)
    chosen, copied = build(candidates(found, options.seed), sample)

    sources = hashlib.sha256("".join(f"{n}{f}" for n, f in sorted(chosen.items())).encode())
    for name in sorted(copied):
        sources.update((TREE / name).read_bytes())
    kept = WORK / f"state-{sources.hexdigest()[:16]}-{options.alone}.json"
    state = json.loads(kept.read_text()) if kept.is_file() else {}
    tests = Tests()
    if "reach" not in state:
        print(f"runs {len(tests.all)} tests without a fault", flush=True)
        reach, seconds, failing = tests.note_reach(chosen)
        for name in failing:
            print(f"left out, it fails without a fault: {name}")
        state = {"reach": {str(n): r for n, r in reach.items()}, "seconds": seconds, "results": {}}
        kept.write_text(json.dumps(state))
    reach = {int(n): r for n, r in state["reach"].items()}
    known, lock = excuses(), threading.Lock()

    def try_one(number):
        result = state["results"].get(str(number)) or meet(
            tests, reach, state["seconds"], number, options.limit, options.alone, until)
        if result is None:
            return
        fault = chosen[number]
        with lock:
            state["results"][str(number)] = result
            kept.write_text(json.dumps(state))
            verdict = f"noticed by {result['killers'][0]}" if result["killers"] else \
                "excused" if f"{fault.file}: {told(fault)}" in known else \
                "SURVIVED" if result["reach"] else "REACHED BY NONE"
            print(f"{number:>4} {folder_of(fault.file)}/{pathlib.PurePath(fault.file).name}:{fault.line}"
                  f" {told(fault)}: {verdict}"
                  f" ({result['seconds']} s, reached by {result['reach']})", flush=True)

    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        list(pool.map(try_one, sorted(chosen)))
    done = [(chosen[int(n)], r) for n, r in state["results"].items() if int(n) in chosen]
    if len(done) < len(chosen):
        print(f"stopped after {minutes:g} minutes: {len(done)} of {len(chosen)}; the same call goes on")
    report(done, state["seconds"])


if __name__ == "__main__":
    main()
