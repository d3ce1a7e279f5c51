#!/usr/bin/env bash
# What of the library the tests reach, as a gate: every line, both ways of every branch, and every condition shown to
# decide its decision by itself (modified condition/decision coverage), all from one build with clang. What cannot be
# reached is marked in the source with its reason: LCOV_EXCL_LINE, LCOV_EXCL_BR_LINE. Report: build/asan/html.
# Takes what the preset asan recorded: scripts/test.sh runs it.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/asan

llvm-profdata-19 merge -sparse $build/profiles/*.profraw -o $build/all.profdata
mapfile -t programs < <(find $build/tests -type f -name '*_test*' -perm -u+x | sort)
inputs=("${programs[0]}" "${programs[@]/#/-object=}" -instr-profile="$build"/all.profdata -sources RK3588S_PTZ)
{ # Its warnings: functions that a file includes and does not use.
    llvm-cov-19 show "${inputs[@]}" -show-mcdc -show-branches=count -format=html -output-dir=$build/html
    llvm-cov-19 export "${inputs[@]}" -format=lcov >$build/lines.lcov
    llvm-cov-19 export "${inputs[@]}" >$build/conditions.json
} 2>$build/warnings.log

python3 - $build/lines.lcov $build/conditions.json <<'PYTHON'
import json, os, sys

counts = {"lines": [0, 0], "branches": [0, 0], "conditions": [0, 0]}
sources = {}

def excluded(path, line, *markers):
    """Whether the line has such a marker; the brace behind a marked line belongs to it."""
    text = sources.setdefault(path, open(path).read().splitlines())
    if text[line - 1].strip() == "}":
        line -= 1
    return any(marker in text[line - 1] for marker in markers)

def count(kind, reached, path, line, what):
    counts[kind][0] += reached
    counts[kind][1] += 1
    if not reached:
        print(f"{os.path.relpath(path)}:{line}: {what}")

for row in open(sys.argv[1]):
    key, _, value = row.strip().partition(":")
    if key == "SF":
        path = value
    elif key == "DA":
        line, executed = map(int, value.split(",")[:2])
        if not excluded(path, line, "LCOV_EXCL_LINE"):
            count("lines", executed > 0, path, line, "is never executed")

for file in json.load(open(sys.argv[2]))["data"][0]["files"]:
    path = file["filename"]
    ways = {}  # a template's instances are one place
    for line, column, _, _, true, false, *_ in file["branches"]:
        before = ways.get((line, column), (0, 0))
        ways[line, column] = before[0] + true, before[1] + false
    for (line, _), way in sorted(ways.items()):
        constant = not any(way)  # or in a line that is never executed, which counts itself
        if not constant and not excluded(path, line, "LCOV_EXCL_LINE", "LCOV_EXCL_BR_LINE"):
            for taken, name in zip(way, ("true", "false")):
                count("branches", taken > 0, path, line, f"is never {name}")
    for line, *_, conditions in file["mcdc_records"]:
        for number, alone in enumerate(conditions, 1):
            count("conditions", alone, path, line, f"condition {number} decides nothing by itself")

for kind, (reached, total) in counts.items():
    print(f"{kind}: {100.0 * reached / max(total, 1):.1f}% ({reached} out of {total})")
sys.exit(any(reached < total or total == 0 for reached, total in counts.values()))
PYTHON
