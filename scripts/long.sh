#!/usr/bin/env bash
# What is random or takes long, some two hours in all: a sample of mutants, the fuzzers, torture and releases under the thread
# sanitizer, clang-tidy of the simulator, 64-bit Arm packages, and on bare installations of Debian 12 and 13 every
# kind of build and README's two commands. Writes its result into docs/proof.md. As root, for the bare installations.
# Logs: build/logs.
#   scripts/long.sh                all of it
#   scripts/long.sh PART...        of mutants, fuzzers, threads, style, packages, guide, builds, bookworm, trixie; docs/proof.md stays
set -uo pipefail
cd "$(dirname "$0")/.." || exit
parts=("$@")
if ((${#parts[@]} == 0)); then
    parts=(mutants fuzzers threads style packages guide builds bookworm trixie)
fi
scripts/install-packages.sh --long || exit 1
logs=build/logs
mkdir -p "$logs"
commit=$(git rev-parse --short=7 HEAD)

mutants() { # another sample at every commit
    scripts/mutate.py --longest 60 --sample 150 --seed $((16#$commit)) --strict
}

fuzzers() {
    scripts/fuzz.sh 180
}

threads() {
    cmake --preset tsan && cmake --build --preset tsan &&
        ISP_RELEASES=3000 TSAN_OPTIONS=report_thread_leaks=0 \
            ctest --test-dir build/tsan -j 2 -R 'Torture|Release' --output-on-failure
}

style() {
    cmake --preset release && scripts/lint.sh
}

packages() {
    scripts/package.sh --check arm64
}

# The guide's commands as they stand in it, with the packages that it names, and the example that they make possible.
guide() {
    # shellcheck disable=SC2016 # for the shell in the bare installation
    scripts/bare-root.sh bookworm 'apt-get -qq update && apt-get -qq -y install cmake g++ make pkg-config python3 >/dev/null &&
        sed -n "/^## Building/,/ldconfig/s/^    //p" docs/integration.md >/tmp/commands && bash -e /tmp/commands &&
        make -C examples/host host test && tests/library/run_example.sh examples/host/host'
}

builds() {
    scripts/bare-root.sh bookworm scripts/builds.sh && scripts/bare-root.sh trixie scripts/builds.sh
}

figures() { # PART: the line of its log that tells how much was done
    case $1 in
    mutants) grep -E '^all ' "$logs/long-$1.log" | tr -s ' ' ;;
    fuzzers) awk '/number_of_executed_units/ { sum += $2 } END { print sum " inputs" }' "$logs/long-$1.log" ;;
    threads) grep -E 'tests passed' "$logs/long-$1.log" ;;
    style) grep -E '^clang-tidy: ' "$logs/long-$1.log" ;;
    builds) grep -c '^built: ' "$logs/long-$1.log" ;;
    packages) grep -c '\.deb$' "$logs/long-$1.log" ;;
    guide) grep -c '^good: ' "$logs/long-$1.log" ;;
    *) grep -oE '[0-9]+ passed, [0-9]+ failed' "$logs/long-$1.log" ;;
    esac | tail -n 1
}

declare -A what=(
    [mutants]="a sample of 150 mutants"
    [fuzzers]="fuzzers, three minutes each"
    [threads]="torture and releases under the thread sanitizer"
    [style]="clang-format, clang-tidy and shellcheck of everything"
    [packages]="Debian packages for 64-bit Arm, lines that name one"
    [guide]="the guide's commands and the example host on a bare Debian 12, lines of its test"
    [builds]="every kind of build with g++ and clang on Debian 12 and 13, of 16"
    [bookworm]="both commands on a bare Debian 12"
    [trixie]="both commands on a bare Debian 13"
)
table=$(mktemp)
trap 'rm -f "$table"' EXIT
printf '%s, commit %s, %s cores:\n\n| What | Result | Minutes |\n|---|---|--:|\n' "$(date +%F)" "$commit" "$(nproc)" >"$table"
failed=0
for part in "${parts[@]}"; do
    start=$SECONDS
    result=passed
    case $part in
    mutants | fuzzers | threads | style | packages | guide | builds) "$part" ;;
    bookworm | trixie) scripts/bare-root.sh "$part" 'scripts/demo.sh && scripts/test.sh' ;;
    *)
        echo "usage: ${0##*/} [mutants] [fuzzers] [threads] [style] [packages] [guide] [builds] [bookworm] [trixie]" >&2
        exit 2
        ;;
    esac >"$logs/long-$part.log" 2>&1 || { result=FAILED && failed=1; }
    echo "$result: ${what[$part]} ($((SECONDS - start)) s): $(figures "$part")"
    printf '| %s | %s: %s | %d |\n' "${what[$part]}" "$result" "$(figures "$part")" $(((SECONDS - start + 59) / 60)) >>"$table"
done

if (($# == 0)); then
    sed -i -e "/^<!-- long.sh -->/,/^<!-- end -->/ { /^<!-- long.sh -->/r $table" -e '/^<!--/!d }' docs/proof.md
fi
exit $failed
