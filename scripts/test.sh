#!/usr/bin/env bash
# Installs what is missing, builds and passes all checks: the tests in an optimised build, under the address and
# undefined-behaviour sanitizers and under the thread sanitizer. Logs: build/logs.
#   scripts/test.sh [--quick | --all]   --quick: the optimised build alone; --all: also for 64-bit Arm under qemu,
#                                       coverage, formatting and clang-tidy
set -uo pipefail
cd "$(dirname "$0")/.." || exit
case "${1-}" in
"") presets=(release asan tsan) ;;
--all) presets=(release asan tsan arm64) ;;
--quick) presets=(release) ;;
*)
    echo "usage: ${0##*/} [--quick | --all]" >&2
    exit 2
    ;;
esac

scripts/install-packages.sh --ci || exit 1
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

# The thread sanitizer of GCC 12 does not start with some kernels' address randomisation.
fixed_addresses=()
if setarch --addr-no-randomize true 2>/dev/null; then
    fixed_addresses=(setarch --addr-no-randomize)
fi

for preset in "${presets[@]}"; do
    echo "=== $preset"
    wrapper=()
    if [[ $preset == tsan ]]; then
        wrapper=("${fixed_addresses[@]}")
    fi
    start=$SECONDS
    cmake --preset "$preset" -DISP_CTRL_TESTS=ON >"$logs/build-$preset.log" 2>&1 &&
        "${wrapper[@]}" cmake --build --preset "$preset" -- -k 0 >>"$logs/build-$preset.log" 2>&1
    result=$?
    if ((result != 0)); then
        grep -E 'error|FAILED|warning' -A 5 "$logs/build-$preset.log" | head -n 60
    fi
    count $result "build $preset" $((SECONDS - start))

    start=$SECONDS
    "${wrapper[@]}" ctest --preset "$preset" >"$logs/test-$preset.log" 2>&1
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
        grep -vE ' Passed +[0-9.]+ sec$|^ +Start +[0-9]+:' "$logs/test-$preset.log" | tail -n 200
    fi
    echo "${summary:-no test ran} ($((SECONDS - start)) s)"
done

if [[ ${1-} == --all ]]; then
    echo "=== coverage"
    start=$SECONDS
    scripts/coverage.sh
    count $? "lines, branches and conditions" $((SECONDS - start))
    echo "=== code"
    start=$SECONDS
    scripts/lint.sh
    count $? "clang-format and clang-tidy" $((SECONDS - start))
fi

echo
echo "$SECONDS s"
if ((failed > 0)); then
    printf 'FAILED: %s\n' "${broken[@]}"
fi
echo "$passed passed, $failed failed"
((failed == 0))
