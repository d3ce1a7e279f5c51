#!/usr/bin/env bash
# Counts the instructions of the library's own code, without engine, host and C library, in one call of each setter,
# as valgrind executes them; the same at every run of one build.
#   scripts/count-instructions.sh            prints the table
#   scripts/count-instructions.sh --update   writes it to tests/golden/instructions.txt (scripts/update.sh instructions)
#   scripts/count-instructions.sh --check    fails when a setter needs over a tenth more than the table there says
# BUILD=FOLDER takes another build than that of the preset `bench`.
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ ${1-} && $1 != --update && $1 != --check ]]; then
    echo "usage: ${0##*/} [--update | --check]" >&2
    exit 2
fi

table=tests/golden/instructions.txt
if [[ -z ${BUILD-} ]]; then
    BUILD=build/bench
    cmake --preset bench >/dev/null
fi
cmake --build "$BUILD" --target isp_bench >/dev/null
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

valgrind -q --tool=callgrind --callgrind-out-file="$folder/counts" --zero-before=measured_call \
    --dump-after=measured_call "$BUILD/isp_bench" --once >"$folder/names" 2>"$folder/log" ||
    { cat "$folder/log" >&2; exit 1; }

# Adds up the costs of the functions defined in a file of the library; the line after "calls=" is a callee's cost.
count() {
    awk '
        /^fl=/ { id = $1; sub(/^fl=/, "", id); if (NF > 1) file[id] = $0; own = file[id] ~ /\/RK3588S_PTZ\//; next }
        /^(fi|fe)=/ { id = $1; sub(/^f[ie]=/, "", id); if (NF > 1) file[id] = $0; next }
        /^cfi=|^cfl=/ { id = $1; sub(/^cf[il]=/, "", id); if (NF > 1) file[id] = $0; next }
        /^calls=/ { getline; next }
        /^[+*0-9-]/ && own { sum += $2 }
        END { print sum + 0 }' "$1"
}

number=0
while read -r name; do
    number=$((number + 1))
    printf '%-16s %7d\n' "$name" "$(count "$folder/counts.$number")"
done <"$folder/names" >"$folder/table"

case "${1-}" in
"") cat "$folder/table" ;;
--update) cp "$folder/table" "$table" ;;
--check)
    awk 'NR == FNR { before[$1] = $2; next }
         { seen[$1] = 1 }
         !($1 in before) { print $1 ": not in the table"; bad = 1; next }
         $2 > before[$1] * 1.1 { print $1 ": " $2 " instructions, the table says " before[$1]; bad = 1 }
         END { for (name in before) if (!(name in seen)) { print name ": not measured"; bad = 1 }
               exit bad }' "$table" "$folder/table"
    ;;
esac
