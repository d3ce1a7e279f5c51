#!/usr/bin/env bash
# Installs what is missing, builds and passes the checks. Logs: build/logs.
#   scripts/test.sh          the tests, optimised and under the address and undefined-behaviour sanitizers
#   scripts/test.sh --all    everything that a change must pass: also the thread sanitizer, 64-bit Arm, coverage,
#                            instructions per setter, packages, documents, and how the code is written
# What is random or takes long is in scripts/long.sh.
set -uo pipefail
cd "$(dirname "$0")/.." || exit
if [[ ${1-} && $1 != --all ]]; then
    echo "usage: ${0##*/} [--all]" >&2
    exit 2
fi

scripts/install-packages.sh --ci || exit 1
SECONDS=0
logs=build/logs
mkdir -p "$logs"
passed=0
failed=0
broken=()

count() { # RESULT NAME SECONDS
    if (($1 == 0)); then
        passed=$((passed + 1))
        echo "passed: $2 ($3 s)"
    else
        failed=$((failed + 1))
        broken+=("$2")
        echo "FAILED: $2 ($3 s)"
    fi
}

check() { # NAME COMMAND...
    local name=$1 start=$SECONDS
    shift
    "$@"
    local result=$?
    count $result "$name" $((SECONDS - start))
    return $result
}

build_and_test() { # PRESET [CMAKE ARGUMENT...]
    local preset=$1 start=$SECONDS result summary
    shift
    echo "=== $preset"
    cmake --preset "$preset" -DISP_CTRL_TESTS=ON "$@" >"$logs/build-$preset.log" 2>&1 &&
        cmake --build --preset "$preset" -- -k 0 >>"$logs/build-$preset.log" 2>&1
    result=$?
    if ((result != 0)); then
        grep -E 'error|FAILED|warning' -A 5 "$logs/build-$preset.log" | head -n 60
    fi
    count $result "build $preset" $((SECONDS - start))

    start=$SECONDS
    ctest --preset "$preset" >"$logs/test-$preset.log" 2>&1
    result=$?
    summary=$(grep -E '^[0-9]+% tests passed' "$logs/test-$preset.log")
    if [[ $summary =~ ([0-9]+)' tests failed out of '([0-9]+) ]]; then
        failed=$((failed + BASH_REMATCH[1]))
        passed=$((passed + BASH_REMATCH[2] - BASH_REMATCH[1]))
    else
        failed=$((failed + 1))
    fi
    if ((result != 0)); then
        broken+=("tests $preset")
        grep -vE ' Passed +[0-9.]+ sec$|^ +Start +[0-9]+:' "$logs/test-$preset.log" | tail -n 60
    fi
    echo "${summary:-no test ran} ($((SECONDS - start)) s)"
}

options=()
if [[ ${1-} == --all ]]; then
    options=(-DISP_CTRL_BENCHMARKS=ON -DISP_CTRL_PACKAGES=ON) # what is tested is what is packed
fi
build_and_test release "${options[@]}"
if [[ ${1-} == --all ]]; then
    # Mostly waits: beside the builds that follow.
    ctest --test-dir build/release -L page --no-tests=error --output-on-failure >"$logs/test-page.log" 2>&1 &
    page=$!
fi
rm -rf build/asan/profiles
build_and_test asan
if [[ ${1-} == --all ]]; then
    build_and_test tsan
    build_and_test arm64
    echo "=== more"
    check "the live page in a browser" wait "$page" || tail -n 60 "$logs/test-page.log"
    check "lines, branches and conditions" scripts/coverage.sh
    check "instructions per setter" env BUILD=build/release scripts/count-instructions.sh --check
    check "Debian packages" env BUILD=build/release scripts/package.sh --check "$(dpkg --print-architecture)"
    check "documents of the headers" scripts/docs.sh
    check "clang-format, clang-tidy, shellcheck" scripts/lint.sh RK3588S_PTZ
fi

echo
echo "$SECONDS s"
if ((failed > 0)); then
    printf 'FAILED: %s\n' "${broken[@]}"
fi
echo "$passed passed, $failed failed"
((failed == 0))
