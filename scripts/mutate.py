#!/usr/bin/env python3
"""Counts which small changes to the library the tests notice.

Works on a copy of the tree: changes one place at a time (a constant, a comparison, a sign, the order of two rows or
calls, a dropped call), builds what depends on it and runs the tests until one fails. A change that does not compile is
no mutant. Prints what nobody noticed.
"""

import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIBRARY = "RK3588S_PTZ"

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
FLIPPED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
SIGNED = {"+": "-", "-": "+", "*": "/", "/": "*"}


class Mutant:
    def __init__(self, path, text, begin, end, new, kind):
        self.path, self.begin, self.end, self.new, self.kind = path, begin, end, new, kind
        self.line = text.count("\n", 0, begin) + 1
        self.old = text[begin:end]

    def __str__(self):
        show = lambda s: " / ".join(line.strip() for line in s.strip().splitlines()) or "nothing"
        return f"{self.path}:{self.line}: {self.kind}: {show(self.old)} -> {show(self.new)}"


def mutants_of(root, path):
    text = (root / path).read_text()
    code = BLANK.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), text)
    found = []

    def add(begin, end, new, kind):
        found.append(Mutant(path, text, begin, end, new, kind))

    for m in NUMBER.finditer(code):
        number, digits = text[m.start(1):m.end(1)], m.group(1).partition(".")[2]
        for step in (1, -1):
            if digits:
                changed = f"{float(number) + step * 10 ** -len(digits):.{len(digits)}f}"
            else:
                changed = str(int(number) + step)
            if not changed.startswith("-"):
                add(m.start(1), m.end(1), changed, "constant")
    for m in COMPARE.finditer(code):
        add(m.start(), m.end(), FLIPPED[m.group()], "comparison")
    for m in SIGN.finditer(code):
        add(m.start(), m.end(), SIGNED[m.group()] if m.group(1) else " ", "sign")
    for m in BOOLEAN.finditer(code):
        add(m.start(), m.end(), "false" if m.group() == "true" else "true", "constant")
    for kind, pattern in (("order", ROW), ("order", CALL)):
        lines = [(m.start(), m.end()) for m in pattern.finditer(code)]
        for (a, b), (c, d) in zip(lines, lines[1:]):
            if c == b + 1 and text[a:b] != text[c:d]:
                add(a, d, text[c:d] + "\n" + text[a:b], kind)
    for m in CALL.finditer(code):
        add(m.start(), m.end(), "", "dropped")
    return found


class Tests:
    """The build of a copy and its tests: programs, or single tests of programs whose tests need a process each."""

    def __init__(self, tree, jobs):
        self.tree, self.build, self.jobs = tree, tree / "build-mutate", jobs
        self.times = {}  # of (program, filter)
        self.order = []

    def configure(self):
        flags = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-O0 -g0 -w"]
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build, *flags], check=True,
                       stdout=subprocess.DEVNULL)

    def compile(self):
        return subprocess.run(["ninja", "-C", self.build, f"-j{self.jobs}"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)

    def run(self, test, limit):
        program, chosen = test
        environment = dict(os.environ, ISP_SOAK_MINUTES="0.2")
        process = subprocess.Popen([program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={chosen}"],
                                   cwd=program.parent, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env=environment, start_new_session=True)
        try:
            return process.wait(limit) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return False

    def passes(self, test):
        begin = time.monotonic()
        if not self.run(test, 300):
            return False
        self.times[test] = time.monotonic() - begin
        return True

    def measure(self):
        """Runs everything once, what passes is used, the quickest first."""
        programs = (p for p in (self.build / "tests").rglob("*_test") if p.is_file() and os.access(p, os.X_OK))
        for program in sorted(programs):
            if not self.passes((program, "*")):
                for name in single_tests(program):
                    if not self.passes((program, name)):
                        print(f"left out, fails on the unchanged library: {program.name} {name}", flush=True)
        self.order = sorted(self.times, key=self.times.get)

    def notice(self):
        """Whether a test fails."""
        for test in self.order:
            if not self.run(test, 10 * self.times[test] + 20):
                self.order.remove(test)
                self.order.insert(0, test)  # likely to notice the next one of this file too
                return True
        return False


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
    parser.add_argument("--sample", type=int, metavar="N", help="try N mutants, the same ones at every run")
    parser.add_argument("--files", nargs="+", metavar="TEXT", help="only source files whose path holds one of these")
    parser.add_argument("--kinds", nargs="+", choices=["constant", "comparison", "sign", "order", "dropped"])
    parser.add_argument("--least", type=float, default=0.0, metavar="PERCENT", help="fail when fewer are noticed")
    parser.add_argument("--list", action="store_true", help="print the mutants and change nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N")
    parser.add_argument("--tree", type=Path, default=None, metavar="FOLDER",
                        help="where the copy is made and kept (default: a temporary folder)")
    options = parser.parse_args()

    if options.list:
        mutants, total = choose(options, ROOT)
        print("\n".join(map(str, mutants)), f"\n{len(mutants)} of {total} mutants")
        return 0
    tree = options.tree or Path(tempfile.mkdtemp(prefix="isp_mutate_"))
    shutil.copytree(ROOT, tree, dirs_exist_ok=True, ignore=shutil.ignore_patterns(".git", "build", "build-*"))
    try:
        return work(options, Tests(tree, options.jobs), *choose(options, tree))
    finally:
        if options.tree is None:
            shutil.rmtree(tree, ignore_errors=True)


def choose(options, root):
    """The mutants to try, and how many there are."""
    public = ("isp_ctrl.h", "isp_auto_iris.h", "seam.cpp")  # declarations and device paths
    paths = sorted(p.relative_to(root) for p in (root / LIBRARY).rglob("*") if p.suffix in (".cpp", ".h"))
    paths = [p for p in paths if p.name not in public and
             (not options.files or any(text in str(p) for text in options.files))]
    mutants = [m for p in paths for m in mutants_of(root, p) if not options.kinds or m.kind in options.kinds]
    total = len(mutants)
    if options.sample and options.sample < total:
        mutants = sorted(random.Random(1).sample(mutants, options.sample), key=lambda m: (str(m.path), m.line))
    return mutants, total


def work(options, tests, mutants, total):
    tests.configure()
    built = tests.compile()
    if built.returncode != 0:
        sys.exit("the unchanged library does not build:\n" + built.stdout[-3000:])
    tests.measure()
    print(f"{len(tests.order)} programs and single tests, {sum(tests.times.values()):.0f} s; "
          f"{len(mutants)} of {total} mutants", flush=True)

    counts = {}
    survivors = []
    for mutant in mutants:
        target = tests.tree / mutant.path
        text = target.read_text()
        target.write_text(text[:mutant.begin] + mutant.new + text[mutant.end:])
        try:
            if tests.compile().returncode != 0:
                continue
            noticed = tests.notice()
        finally:
            target.write_text(text)
        made, caught = counts.get(mutant.kind, (0, 0))
        counts[mutant.kind] = (made + 1, caught + noticed)
        if not noticed:
            survivors.append(mutant)
            print(f"unnoticed  {mutant}", flush=True)

    made, caught = map(sum, zip(*counts.values())) if counts else (0, 0)
    for kind, (m, c) in sorted(counts.items()):
        print(f"{kind:12} {c} of {m} noticed")
    percent = 100.0 * caught / made if made else 100.0
    print(f"{'all':12} {caught} of {made} noticed, {percent:.1f} %")
    return 1 if percent < options.least else 0


if __name__ == "__main__":
    sys.exit(main())
