#!/usr/bin/env bash
# Runs the example host twice: it follows the exposure of the other camera, takes a signal, ends in order, and has kept
# its settings the second time; a damaged settings file is put aside.
#   run_example.sh HOST [EMULATOR...]
set -euo pipefail
host=("${@:2}" "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
settings=$folder/settings

session() { # signals the running host and leaves its output in $folder/out
    : >"$folder/out" # before anyone looks for a line of this session
    "${host[@]}" "$settings" >"$folder/out" 2>"$folder/err" &
    local started=$! signal
    for _ in {1..100}; do
        if grep -q '^camera 0: .*ms' "$folder/out"; then
            break
        fi
        sleep 0.1
    done
    for signal in "$@"; do
        kill -s "$signal" $started
        sleep 0.5
    done
    wait $started
}

expect() { # FILE PATTERN
    if ! grep -qE "$2" "$folder/$1"; then
        echo "FAILED: no line like '$2' among:"
        cat "$folder/out" "$folder/err"
        exit 1
    fi
}

session USR1 TERM
expect out '^camera 0: black and white \(0\)$'
session USR1 INT
expect out '^camera 0: colour \(0\)$'
[[ $(stat --format=%s "$settings") == $((8 * 156)) ]]
echo "no settings" >"$settings"
session TERM
expect err 'kept as .*/settings\.damaged'
[[ $(<"$settings.damaged") == "no settings" ]]
echo "the example starts, follows, stores, restores and ends"
