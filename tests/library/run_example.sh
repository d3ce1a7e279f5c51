#!/usr/bin/env bash
# Runs the example host: it follows the exposure of the other camera, takes a signal, answers for every setting over its
# socket, ends in order, and has kept its settings the second time, but for what is not allowed; a damaged settings file
# is put aside.
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
    "${host[@]}" -s "$folder/socket" "$settings" >"$folder/out" 2>"$folder/err" &
    running=$!
    expect out '^camera 0: .* ms, gain .*, luma [1-9]'
}

# Every setting is read, refuses 9999 with words, and takes back the value that it has, unless its mode is another.
ask_for_every_setting() {
    python3 - "$folder/socket" <<'END'
import socket
import sys

client = socket.socket(socket.AF_UNIX)
client.connect(sys.argv[1])
stream = client.makefile("rw")

def ask(request):
    print(request, file=stream, flush=True)
    return stream.readline().rstrip()

names = [word.split("=")[0] for word in ask("get 1").split()[1:]] + ["csc_mode", "shading", "wb_mode_onepush"]
assert len(names) == 42, names
for name in names:
    action = name in ("hotpixel", "shading", "wb_mode_onepush")
    value = ask(f"get 1 {name}")
    assert value.startswith("ok ") or name in names[-3:], value
    if name not in ("rgain_onepush", "bgain_onepush"):  # which take it
        reply = ask(f"set 1 {name} 9999")
        assert reply.startswith(f"error: {name} "), (name, reply)
        assert ask(f"get 1 {name}") == value, name
    reply = ask(f"set 1 {name}" if action else f"set 1 {name} {value.split()[1] if name != 'csc_mode' else 1}")
    assert reply.startswith("ok") or reply in (f"error: {name} cannot be set", "error: not in the present mode",
                                               "error: refused, or the engine failed"), (name, reply)
for request in ("", "get", "set 1 hue", "get 2 hue", "set 1 hue 3 4", "set 1 " + 40 * "x" + " 1", "set 1 hue 99999999999999999999"):
    assert ask(request).startswith("error: "), request
END
}

end() { # SIGNAL
    kill -s "$1" "$running"
    wait "$running"
}

start
kill -s USR1 "$running"
expect out '^camera 0: black and white \(ok\)$'
ask_for_every_setting
end TERM
[[ ! -e $folder/socket ]]
[[ $(stat --format=%s "$settings") == $((8 * 156)) ]]

start
kill -s USR1 "$running"
expect out '^camera 0: colour \(ok\)$'
end INT

printf '\x0f\x27\x00\x00' | dd of="$settings" bs=1 seek=$((13 * 4)) conv=notrunc status=none # meter 9999 of camera 0
start
expect err 'camera 0 has meter 9999, which is not allowed$'
end TERM

echo "no settings" >"$settings"
start
expect err 'kept as .*/settings\.damaged'
[[ $(<"$settings.damaged") == "no settings" ]]
end TERM
echo "the example starts, follows, stores, restores and ends"
