#!/bin/sh
# Builds the fuzzers with clang and runs each for SECONDS (default 60); what they found and how they got there is kept in
# build/fuzz. Exit status 1 when one of them found something.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}

cmake --preset fuzz > /dev/null
cmake --build build/fuzz --target fuzz_setters fuzz_files fuzz_commands fuzz_visca fuzz_http > build/fuzz/build.log || {
    cat build/fuzz/build.log
    exit 1
}

status=0
for name in setters files commands visca http; do
    mkdir -p "build/fuzz/corpus/$name" "build/fuzz/found/$name"
    examples=""
    length=8192
    [ $name != commands ] || { examples=simulator/app/scenarios length=400; } # commands are slow
    [ $name != http ] || examples=fuzz/http
    echo "fuzz_$name, $seconds s"
    # shellcheck disable=SC2086 # no examples: no argument
    build/fuzz/fuzz/fuzz_$name -max_total_time="$seconds" -timeout=20 -max_len=$length -len_control=0 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/found/$name/" "build/fuzz/corpus/$name" $examples \
        > "build/fuzz/$name.log" 2>&1 || { status=1; tail -n 40 "build/fuzz/$name.log"; }
    grep -E 'stat::(number_of_executed_units|new_units_added)|cov:' "build/fuzz/$name.log" | tail -n 3
done
exit $status
