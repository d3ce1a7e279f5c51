#!/usr/bin/env python3
"""Counts which small changes to the library the tests notice.

Changes one place at a time (a constant, a comparison, a sign, the order of two rows or calls, a dropped call) in a copy
of the tree, build/mutate, builds library and test programs there and runs these until a test fails. A change that does
not compile is no mutant. Prints what nobody noticed; tests/golden/survivors.txt lists, with the reason, what is known
to make no difference.
"""

import argparse
import dataclasses
import filecmp
import functools
import os
import random
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIBRARY = "RK3588S_PTZ"
COPY = ROOT / "build/mutate"
BUILD = COPY / "build/release"
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
STEPS = re.compile(r"\b(?=([A-Z]+)\((\w+)\)(,\s+)\1\((\w+)\),)")  # neighbours in a list of named steps
FLIPPED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
           "+": "-", "-": "+", "*": "/", "/": "*", "true": "false", "false": "true"}
REPLACED = (
    ("comparison", COMPARE, lambda m: FLIPPED[m.group()]),
    ("sign", SIGN, lambda m: FLIPPED[m.group()] if m.group(1) else " "),
    ("constant", BOOLEAN, lambda m: FLIPPED[m.group()]),
    ("dropped", CALL, lambda m: ""),
)


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
    for kind, pattern, new in REPLACED:
        for m in pattern.finditer(code):
            add(m.start(), m.end(), new(m), kind)
    for pattern in (ROW, CALL):
        lines = [m.span() for m in pattern.finditer(code)]
        for (a, b), (c, d) in zip(lines, lines[1:]):
            calls = pattern is ROW or ("(" in code[a:b] and "(" in code[c:d])  # two assignments seldom depend
            if c == b + 1 and calls and text[a:b] != text[c:d]:
                add(a, d, text[c:d] + "\n" + text[a:b], "order")
    for m in STEPS.finditer(code):
        add(m.start(1), m.end(4) + 1, f"{m[1]}({m[4]}){m[3]}{m[1]}({m[2]})", "order")
    return found


def make_copy():
    listed = output("git", "-C", ROOT, "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    for source in (ROOT / name for name in listed.split("\0") if name):
        copy = COPY / source.relative_to(ROOT)
        if source.exists() and not (copy.exists() and filecmp.cmp(source, copy, shallow=False)):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    output("cmake", "--preset", "release", "-S", COPY, "-DISP_CTRL_APP=OFF", "-DCMAKE_BUILD_TYPE=Release",
           "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")


def builds(*targets):
    return succeeds("ninja", "-C", BUILD, *targets)


def passes():
    """Whether the test programs do; scripts that look at the library as a file take long. What failed last is run first."""
    return builds() and succeeds("ctest", "--test-dir", BUILD, "--exclude-regex", r"^library\.", "--stop-on-failure",
                                 "--timeout", "60", "--parallel", str(max(2, os.cpu_count())))


def noticed(mutant):
    """Whether a test fails; None if the library cannot be built."""
    source = COPY / mutant.path
    source.write_text(mutant.text[:mutant.begin] + mutant.new + mutant.text[mutant.end:])
    try:
        return not passes() if builds("libisp_ctrl.a", "libisp_ctrl.so") else None
    finally:
        source.write_text(mutant.text)


def succeeds(*words):
    return subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0


def output(*words):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True).stdout


def mutants_in(files):
    public = ("isp_ctrl.h", "isp_settings.h", "isp_auto_iris.h", "seam.cpp")  # declarations and device paths
    paths = sorted(p.relative_to(ROOT) for p in (ROOT / LIBRARY).rglob("*") if p.suffix in (".cpp", ".h"))
    return [m for p in paths if p.name not in public and (not files or any(text in str(p) for text in files))
            for m in mutants_of(ROOT, p)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    option = parser.add_argument
    option("--sample", type=int, metavar="N",
           help="try N mutants that are not known to make no difference, the same ones at every run")
    option("--seed", type=int, default=1, metavar="N", help="of the sample")
    option("--files", nargs="+", metavar="TEXT", help="only source files whose path holds one of these")
    option("--strict", action="store_true", help="fail when one that is not noticed is no known survivor")
    options = parser.parse_args()

    mutants = mutants_in(options.files)
    total = len(mutants)
    if options.sample:
        mutants = [m for m in mutants if not m.known()]
    if options.sample and options.sample < len(mutants):
        mutants = sorted(random.Random(options.seed).sample(mutants, options.sample),
                         key=lambda m: (str(m.path), m.begin))
    make_copy()
    if not passes():
        sys.exit(f"the tests fail on the unchanged library: {BUILD}/Testing/Temporary/LastTest.log")
    print(f"{len(mutants)} of {total} mutants", flush=True)
    counts, unknown = {}, 0
    for mutant in mutants:
        caught = noticed(mutant)
        if caught is None:
            continue
        made, before = counts.get(mutant.kind, (0, 0))
        counts[mutant.kind] = (made + 1, before + caught)
        if not caught:
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
