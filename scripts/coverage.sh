#!/usr/bin/env bash
# What of the library the tests reach, as a gate: lines and branches (gcov), and conditions, each shown to decide its
# decision (clang's modified condition/decision coverage). What cannot be reached is marked in the source with its reason:
# GCOVR_EXCL_LINE, GCOVR_EXCL_BR_LINE. Reports: build/coverage/coverage.html, build/mcdc/html.
#   scripts/coverage.sh [lines | conditions]     one of the two only
set -euo pipefail
cd "$(dirname "$0")/.."
case "${1-}" in
"" | lines | conditions) ;;
*)
    echo "usage: ${0##*/} [lines | conditions]" >&2
    exit 2
    ;;
esac

# Builds a preset and runs all its tests, also the long ones.
run_tests() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" -- -k 0 >"build/$1/build.log" || { grep -E 'error|FAILED' "build/$1/build.log"; exit 1; }
    ctest --test-dir "build/$1" -j 2 --output-on-failure >"build/$1/test.log" || {
        grep -vE ' Passed +[0-9.]+ sec$|^ +Start +[0-9]+:' "build/$1/test.log"
        exit 1
    }
}

if [[ ${1-} != conditions ]]; then
    mkdir -p build/coverage
    find build/coverage -name '*.gcda' -delete
    run_tests coverage
    # In the build folder: gcov leaves its files where it is called when it is interrupted.
    (cd build/coverage && gcovr --root ../.. --filter ../../RK3588S_PTZ/ --exclude-throw-branches \
        --exclude-unreachable-branches --html-details coverage.html --json coverage.json --print-summary RK3588S_PTZ)
    python3 - build/coverage/coverage.json <<'PYTHON'
import json, sys
missed = 0
for file in json.load(open(sys.argv[1]))["files"]:
    for line in file["lines"]:
        if line.get("gcovr/noncode"):
            continue
        branches = [branch["count"] for branch in line.get("branches", [])]
        if line["count"] == 0 or 0 in branches:
            missed += 1
            print(f"{file['file']}:{line['line_number']}: executed {line['count']} times, "
                  f"{branches.count(0)} of {len(branches)} branches never")
sys.exit(missed > 0)
PYTHON
fi

if [[ ${1-} != lines ]]; then
    rm -rf build/mcdc/profiles
    LLVM_PROFILE_FILE=$PWD/build/mcdc/profiles/%4m.profraw run_tests mcdc
    llvm-profdata-19 merge -sparse build/mcdc/profiles/*.profraw -o build/mcdc/all.profdata
    mapfile -t programs < <(find build/mcdc/tests -type f -name '*_test*' -perm -u+x | sort)
    inputs=("${programs[0]}" "${programs[@]/#/-object=}" -instr-profile=build/mcdc/all.profdata)
    llvm-cov-19 show "${inputs[@]}" -show-mcdc -format=html -output-dir=build/mcdc/html \
        -sources RK3588S_PTZ 2>build/mcdc/warnings.log # of functions that a file includes and does not use
    llvm-cov-19 export "${inputs[@]}" -sources RK3588S_PTZ >build/mcdc/mcdc.json 2>>build/mcdc/warnings.log
    python3 - build/mcdc/mcdc.json <<'PYTHON'
import json, os, sys
decided = total = 0
for file in json.load(open(sys.argv[1]))["data"][0]["files"]:
    for line, *_, conditions in file["mcdc_records"]:
        total += len(conditions)
        decided += sum(conditions)
        for number, alone in enumerate(conditions, 1):
            if not alone:
                print(f"{os.path.relpath(file['filename'])}:{line}: condition {number} decides nothing by itself")
print(f"conditions: {100.0 * decided / max(total, 1):.1f}% ({decided} out of {total})")
sys.exit(decided < total)
PYTHON
fi
