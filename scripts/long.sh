#!/usr/bin/env bash
# What is random or takes long, some two hours in all: a sample of mutants, the fuzzers, torture and releases under the thread
# sanitizer, clang-tidy of the simulator, 64-bit Arm packages, and on bare installations of Debian 12 and 13 every
# kind of build and README's two commands. As root, for the bare installations. Logs: build/logs.
#   scripts/long.sh [PART...]     of mutants, fuzzers, threads, style, packages, guide, builds, bookworm, trixie; or all
set -uo pipefail
cd "$(dirname "$0")/.." || exit

all=(mutants fuzzers threads style packages guide builds bookworm trixie)

run() { # PART
    case $1 in
    mutants) # another sample at every commit
        scripts/mutate.py --sample 150 --seed $((16#$(git rev-parse --short=7 HEAD))) --strict ;;
    fuzzers) scripts/fuzz.sh 180 ;;
    threads)
        cmake --preset tsan && cmake --build --preset tsan &&
            ISP_RELEASES=3000 TSAN_OPTIONS=report_thread_leaks=0 \
                ctest --test-dir build/tsan -j 2 -R 'Torture|Release' --output-on-failure ;;
    style) scripts/lint.sh ;;
    packages) scripts/package.sh --check arm64 ;;
    guide) # its commands as they stand in it, with the packages that it names, and the example that they make possible
        # shellcheck disable=SC2016 # for the shell in the bare installation
        scripts/bare-root.sh bookworm 'apt-get -qq update && apt-get -qq -y install cmake g++ make pkg-config python3 >/dev/null &&
            sed -n "/^## Building/,/ldconfig/s/^    //p" docs/integration.md >/tmp/commands && bash -e /tmp/commands &&
            make -C examples/host host test && tests/library/run_example.sh examples/host/host' ;;
    builds) scripts/bare-root.sh bookworm scripts/builds.sh && scripts/bare-root.sh trixie scripts/builds.sh ;;
    bookworm | trixie) scripts/bare-root.sh "$1" 'scripts/demo.sh && scripts/test.sh' ;;
    esac
}

parts=("${@:-${all[@]}}")
for part in "${parts[@]}"; do
    if [[ " ${all[*]} " != *" $part "* ]]; then
        sed -n '5s/^#  */usage: /p' "$0" >&2
        exit 2
    fi
done
scripts/install-packages.sh --long || exit 1
logs=build/logs
mkdir -p "$logs"
failed=0
for part in "${parts[@]}"; do
    start=$SECONDS
    result=passed
    run "$part" >"$logs/long-$part.log" 2>&1 || { result=FAILED && failed=1; }
    echo "$result: $part ($((SECONDS - start)) s): $(tail -n 1 "$logs/long-$part.log")"
done
exit $failed
