#!/usr/bin/env python3
"""Counts which small changes to the library the tests notice.

Changes one place at a time (a constant, a comparison, a sign, the order of two rows or calls, a dropped call), compiles
what depends on it, links the test programs of a finished build with it, one after the other, and runs them until one
fails. A change that does not compile is no mutant. The tree and the build stay as they are. Prints what nobody noticed;
tests/golden/survivors.txt lists, with the reason, what is known to make no difference.
"""

import argparse
import concurrent.futures
import contextlib
import dataclasses
import functools
import json
import os
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIBRARY = "RK3588S_PTZ"
OBJECTS = "isp_ctrl_objects.dir"  # the build's folder of the library's objects
ARCHIVE = "libisp_ctrl.a"
SURVIVORS = ROOT / "tests/golden/survivors.txt"

# Text that is no code: comments, strings, preprocessor lines, and traces, whose texts tests need not repeat.
BLANK = re.compile(
    r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\])'|^[ \t]*#[^\n]*(?:\\\n[^\n]*)*"
    r"|\b(?:ISP_TRACE|ISP_DEBUG|GROUP_FAILED)\((?:[^()]|\((?:[^()]|\((?:[^()]|\([^()]*\))*\))*\))*\)|\bstatic_assert\([^;]*;",
    re.S | re.M,
)
NUMBER = re.compile(r"(?<![\w.])-?(\d+(?:\.\d+)?)(F?)\b(?![\w.]*[xX])")
COMPARE = re.compile(r"(?<=\s)(==|!=|<=|>=|<|>|&&|\|\|)(?=\s)")
SIGN = re.compile(r"(?<=[\w)\]] )([-+*/])(?= [\w(])|(?<=[\s(,])(-)(?=[\w(.])")
BOOLEAN = re.compile(r"\b(true|false)\b")
CALL = re.compile(r"^[ \t]+(?!return\b|if\b|for\b|while\b|switch\b|constexpr\b|const\b|using\b)[\w:.<>\[\]*]+[\w>](?:\(.*\)| [-+|]?= [^;{}]*);[ \t]*$", re.M)
ROW = re.compile(r"^[ \t]+\{.*\},[ \t]*$", re.M)
STEPS = re.compile(r"\b([A-Z]+)\((\w+)\)(,\s+)\1\((\w+)\)(?=,)")  # neighbours in a list of named steps
FLIPPED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
SIGNED = {"+": "-", "-": "+", "*": "/", "/": "*"}


@dataclasses.dataclass
class Mutant:
    path: Path
    text: str  # of the unchanged file
    begin: int
    end: int
    new: str
    kind: str

    def __str__(self):
        return f"{self.path}:{1 + self.text.count(chr(10), 0, self.begin)}: {self.what()}"

    def what(self):
        show = lambda s: " / ".join(line.strip() for line in s.strip().splitlines()) or "nothing"
        return f"{self.kind}: {show(self.text[self.begin:self.end])} -> {show(self.new)}"

    def known(self):
        """The reason why it makes no difference, by file, source line and change, if it is listed."""
        start = self.text.rfind("\n", 0, self.begin) + 1
        line = self.text[start:self.text.find("\n", self.begin)].strip()
        return known_survivors().get((str(self.path), line, self.what()))


@functools.cache
def known_survivors():
    """tests/golden/survivors.txt: a paragraph per reason, its first line; then lines of file, source line and change."""
    known = {}
    for paragraph in SURVIVORS.read_text().split("\n\n") if SURVIVORS.exists() else []:
        reason, *rows = paragraph.strip().splitlines()
        for row in rows:
            path, line, what = row.strip().split(" | ")
            known[(path, line, what)] = reason
    return known


def mutants_of(root, path):
    text = (root / path).read_text()
    code = BLANK.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), text)
    found = []

    def add(begin, end, new, kind):
        found.append(Mutant(path, text, begin, end, new, kind))

    for m in NUMBER.finditer(code):
        decimals = len(m.group(1).partition(".")[2])
        for step in (1, -1):
            changed = f"{float(m.group(1)) + step * 10 ** -decimals:.{decimals}f}"
            if not changed.startswith("-"):
                add(m.start(1), m.end(1), changed, "constant")
    for m in COMPARE.finditer(code):
        add(m.start(), m.end(), FLIPPED[m.group()], "comparison")
    for m in SIGN.finditer(code):
        add(m.start(), m.end(), SIGNED[m.group()] if m.group(1) else " ", "sign")
    for m in BOOLEAN.finditer(code):
        add(m.start(), m.end(), "false" if m.group() == "true" else "true", "constant")
    for pattern in (ROW, CALL):
        lines = [m.span() for m in pattern.finditer(code)]
        for (a, b), (c, d) in zip(lines, lines[1:]):
            calls = pattern is ROW or ("(" in code[a:b] and "(" in code[c:d])  # two assignments seldom depend
            if c == b + 1 and calls and text[a:b] != text[c:d]:
                add(a, d, text[c:d] + "\n" + text[a:b], "order")
    at = 0
    while m := STEPS.search(code, at):
        add(m.start(), m.end(), f"{m[1]}({m[4]}){m[3]}{m[1]}({m[2]})", "order")
        at = m.start() + 1
    for m in CALL.finditer(code):
        add(m.start(), m.end(), "", "dropped")
    return found


class Programs:
    """The test programs of a build, each linked anew with a changed library."""

    def __init__(self, build):
        self.build = build
        database = json.loads((build / "compile_commands.json").read_text())
        self.objects = {}  # source -> (object, command)
        for entry in database:
            source, words = Path(entry["file"]), entry["command"].split()
            if Path(words[0]).name == "ccache":  # would not see that a header is another one
                del words[0]
            name = words[words.index("-o") + 1]
            if name.startswith(f"{LIBRARY}/CMakeFiles/{OBJECTS}"):
                self.objects[source.relative_to(ROOT)] = (build / name, words)
        self.links = {}  # program -> link command
        for program in sorted((build / "tests").rglob("*_test*")):
            if program.is_file() and os.access(program, os.X_OK) and program.suffix == "":
                target = str(program.relative_to(build))
                last = output("ninja", "-C", build, "-t", "commands", target).splitlines()[-1]
                words = last.removeprefix(": && ").split(" && ")[0].split()
                if ARCHIVE in words:
                    self.links[target] = words
        self.dependents = {}  # header -> sources
        for source, (made, _) in self.objects.items():
            for line in output("ninja", "-C", build, "-t", "deps", made.relative_to(build)).splitlines():
                path = (build / line.strip()).resolve()
                if path.suffix == ".h" and path.is_relative_to(ROOT / LIBRARY):
                    self.dependents.setdefault(path.relative_to(ROOT), []).append(source)


class Bench:
    """One worker: a folder of its own, into which a changed library and the programs that test it are built."""

    def __init__(self, programs, plan, folder):
        self.programs, self.plan, self.folder = programs, plan, folder
        (folder / "include").mkdir(parents=True)

    def compile(self, changed, text):
        """Whether the library compiles with `text` in place of the file `changed`; its objects are then ready."""
        overlay = self.folder / "include"
        shutil.rmtree(overlay)
        is_header = changed.suffix == ".h"
        copy = overlay / changed.relative_to(LIBRARY)
        copy.parent.mkdir(parents=True)
        copy.write_text(text)
        self.replaced = {}
        for source in self.programs.dependents.get(changed, []) if is_header else [changed]:
            made, words = self.programs.objects[source]
            target = self.folder / f"{len(self.replaced)}.o"
            words = list(words)
            words[words.index("-o") + 1] = str(target)
            words[words.index("-c") + 1] = str(ROOT / source if is_header else copy)
            # Inlined as far as it goes where a header changed: a program's own copy would hide the change.
            words += ["-w", "-g0", "-O2" if is_header else "-O1"]
            words.insert(1, f"-I{overlay}")
            if run_quietly(words, self.programs.build, 120) != 0:
                return False
            self.replaced[made] = target
        return True

    def link(self, target):
        archive, program = self.folder / "changed.a", self.folder / "program"
        archive.unlink(missing_ok=True)
        objects = [str(self.replaced.get(made, made)) for made, _ in self.programs.objects.values()]
        subprocess.run(["ar", "rcsT", archive, *objects], check=True)
        words = [str(archive) if word == ARCHIVE else word for word in self.programs.links[target]]
        words[words.index("-o") + 1] = str(program)
        if run_quietly([*words, "-fuse-ld=lld", "-Wl,--strip-debug"], self.programs.build, 120) != 0:
            sys.exit(f"{target} cannot be linked with the changed library")
        return program

    def noticed(self, mutant):
        """Whether a test fails."""
        for target in self.plan.order(mutant.path):
            program = self.link(target)
            with self.plan.alone if target in self.plan.serial else contextlib.nullcontext():
                for chosen, usual in self.plan.times[target].items():
                    if run_test(program, chosen, 5 * usual + 5) != 0:
                        self.plan.struck(mutant.path, target)
                        return True
        return False


class Plan:
    """Which programs and tests are run, and in which order: what noticed the last change to a file, then the quick."""

    def __init__(self, programs, longest):
        self.times = {}  # program -> {filter: seconds}
        self.last = {}
        self.serial, self.alone = set(), threading.Lock()  # programs of which only one may run
        for target in programs.links:
            program = programs.build / target
            listed = program.with_name(program.name + "[1]_tests.cmake")
            if "RUN_SERIAL" in listed.read_text():
                self.serial.add(target)
            whole = timed(program, "*", longest)
            if whole is not None:
                self.times[target] = {"*": whole}
            else:  # its tests need a process each
                single = {name: timed(program, name, longest) for name in single_tests(program)}
                for name in (name for name, seconds in single.items() if seconds is None):
                    print(f"left out, fails on the unchanged library: {target} {name}", flush=True)
                self.times[target] = {name: s for name, s in single.items() if s is not None}
            if sum(self.times[target].values()) > longest:
                print(f"left out, takes longer than {longest} s: {target}", flush=True)
                del self.times[target]

    def order(self, path):
        struck = self.last.get(path, [])
        quick = sorted(self.times, key=lambda target: sum(self.times[target].values()))
        return struck + [target for target in quick if target not in struck]

    def struck(self, path, target):
        self.last[path] = [target] + [other for other in self.last.get(path, []) if other != target]


def output(*words):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True).stdout


def run_quietly(words, folder, limit):
    process = subprocess.Popen(words, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True)
    try:
        return process.wait(limit)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        return process.wait()


def run_test(program, chosen, limit):
    return run_quietly([program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={chosen}"],
                       program.parent, limit)


def timed(program, chosen, limit):
    begin = time.monotonic()
    return time.monotonic() - begin if run_test(program, chosen, limit) == 0 else None


def single_tests(program):
    listed = subprocess.run([program, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True).stdout
    names, suite = [], ""
    for line in listed.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith(" "):
            names.append(suite + word)
        elif word.endswith("."):
            suite = word
    return names


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    option = parser.add_argument
    option("--build", type=Path, default=ROOT / "build/release", metavar="FOLDER",
           help="a finished build with tests (default: that of the preset release)")
    option("--sample", type=int, metavar="N",
           help="try N mutants that are not known to make no difference, the same ones at every run")
    option("--seed", type=int, default=1, metavar="N", help="of the sample")
    option("--files", nargs="+", metavar="TEXT", help="only source files whose path holds one of these")
    option("--tests", nargs="+", metavar="TEXT", help="only test programs whose path holds one of these")
    option("--again", type=Path, metavar="OUTPUT",
           help="only those that nobody noticed in an earlier run with this output")
    option("--longest", type=float, default=20.0, metavar="SECONDS", help="leave out test programs that take longer")
    option("--strict", action="store_true", help="fail when one that is not noticed is no known survivor")
    option("--list", action="store_true", help="print the mutants and change nothing")
    option("--jobs", type=int, default=os.cpu_count(), metavar="N")
    options = parser.parse_args()

    mutants, total = choose(options)
    if options.list:
        print("\n".join(map(str, mutants)), f"\n{len(mutants)} of {total} mutants")
        return 0
    with tempfile.TemporaryDirectory(prefix="isp_mutate_", ignore_cleanup_errors=True) as folder:
        return work(options, mutants, total, Path(folder))


def choose(options):
    """The mutants to try, and how many there are."""
    public = ("isp_ctrl.h", "isp_settings.h", "isp_auto_iris.h", "seam.cpp")  # declarations and device paths
    paths = sorted(p.relative_to(ROOT) for p in (ROOT / LIBRARY).rglob("*") if p.suffix in (".cpp", ".h"))
    paths = [p for p in paths if p.name not in public and
             (not options.files or any(text in str(p) for text in options.files))]
    mutants = [m for p in paths for m in mutants_of(ROOT, p)]
    total = len(mutants)
    if options.again:
        unnoticed = options.again.read_text().splitlines()
        mutants = [m for m in mutants if f"unnoticed  {m}" in unnoticed]
    if options.sample:
        mutants = [m for m in mutants if not m.known()]
    if options.sample and options.sample < len(mutants):
        mutants = sorted(random.Random(options.seed).sample(mutants, options.sample),
                         key=lambda m: (str(m.path), m.begin))
    return mutants, total


def work(options, mutants, total, folder):
    programs = Programs(options.build.resolve())
    if options.tests:
        programs.links = {name: words for name, words in programs.links.items()
                          if any(text in name for text in options.tests)}
    plan = Plan(programs, options.longest)
    seconds = sum(sum(tests.values()) for tests in plan.times.values())
    print(f"{len(plan.times)} test programs, {seconds:.0f} s; {len(mutants)} of {total} mutants", flush=True)

    benches = queue.SimpleQueue()
    for job in range(options.jobs):
        benches.put(Bench(programs, plan, folder / str(job)))

    def attempt(mutant):
        bench = benches.get()
        try:
            changed = mutant.text[:mutant.begin] + mutant.new + mutant.text[mutant.end:]
            compiled = bench.compile(mutant.path, changed)
            return mutant, bench.noticed(mutant) if compiled else None
        finally:
            benches.put(bench)

    counts, unknown = {}, 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for mutant, noticed in pool.map(attempt, mutants):
            if noticed is None:
                continue
            made, caught = counts.get(mutant.kind, (0, 0))
            counts[mutant.kind] = (made + 1, caught + noticed)
            if not noticed:
                reason = mutant.known()
                unknown += reason is None
                print(f"{'unnoticed' if reason is None else 'known    '}  {mutant}", flush=True)

    made, caught = map(sum, zip(*counts.values())) if counts else (0, 0)
    for kind, (m, c) in sorted(counts.items()):
        print(f"{kind:12} {c} of {m} noticed")
    percent = 100.0 * caught / made if made else 100.0
    print(f"{'all':12} {caught} of {made} noticed, {percent:.1f} %; {unknown} of the others without a known reason")
    return int(options.strict and unknown > 0)


if __name__ == "__main__":
    sys.exit(main())
