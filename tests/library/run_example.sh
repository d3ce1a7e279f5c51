#!/usr/bin/env bash
# Runs the example host: it follows the exposure of the other camera, takes a signal, ends in order, and has kept its
# settings the second time; a damaged settings file is put aside.
#   run_example.sh HOST [EMULATOR...]
set -euo pipefail
host=("${@:2}" "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
settings=$folder/settings
running=

expect() { # FILE PATTERN: a line within twenty seconds
    for _ in {1..200}; do
        if grep -qE "$2" "$folder/$1"; then
            return
        fi
        sleep 0.1
    done
    echo "FAILED: no line like '$2' among:"
    cat "$folder/out" "$folder/err"
    kill -s KILL "$running"
    exit 1
}

start() {
    : >"$folder/out" # before anyone looks for a line of this run
    "${host[@]}" "$settings" >"$folder/out" 2>"$folder/err" &
    running=$!
    expect out '^camera 0: .* ms, gain .*, luma [1-9]'
}

end() { # SIGNAL
    kill -s "$1" "$running"
    wait "$running"
}

start
kill -s USR1 "$running"
expect out '^camera 0: black and white \(0\)$'
end TERM
[[ $(stat --format=%s "$settings") == $((8 * 156)) ]]

start
kill -s USR1 "$running"
expect out '^camera 0: colour \(0\)$'
end INT

echo "no settings" >"$settings"
start
expect err 'kept as .*/settings\.damaged'
[[ $(<"$settings.damaged") == "no settings" ]]
end TERM
echo "the example starts, follows, stores, restores and ends"
