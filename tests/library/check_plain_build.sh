#!/usr/bin/env bash
# The library's sources build without CMake and without a warning, with engine headers that have other names for what the
# library has no need to name: nested types, codes of failures, sizes. Tags are the names of their types.
#   check_plain_build.sh STANDARDS COMPILER...
set -euo pipefail
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mapfile -t sources < <(find RK3588S_PTZ -name '*.cpp')

perl -0ne 'while (/typedef (?:struct|enum) (\w+)[^{;]*\{[^}]*\} (\w+);/g) { print "tag $1 of $2\n" if $1 ne $2 }' \
    common_include/*/*.h RK3588S_PTZ/*/isp_*.h >"$work/tags"
[[ ! -s $work/tags ]] || { cat "$work/tags" && exit 1; }

cp -r common_include "$work"
engine=$work/common_include/aiq
nested=$(sed -n 's/^} \(\w*_t\);/\1/p' "$engine"/*.h | while read -r type; do
    grep -qE "\b$type\*? \w+[,)]" "$engine"/*.h || echo "$type" # no parameter of a call
done | grep -vx rk_aiq_wb_gain_t)                               # which the library exports one of
macros=$(sed -n 's/^#define \(RK_\w*\).*/\1/p' "$engine"/*.h | grep -vx RK_AIQ_CAM_GROUP_MAX_CAMS | sort -u)
for name in $nested $macros XCAM_RETURN_{NO_ERROR,ERROR_{FAILED,PARAM,MEM,ORDER}}; do
    sed -i "s/\b$name\b/other_$name/g" "$engine"/*.h
done
[[ $(wc -w <<<"$nested $macros") -gt 40 ]]

for compiler in "${@:2}"; do
    for standard in $1; do
        echo "$compiler, $standard"
        "$compiler" -std="$standard" -Wall -Wextra -Werror -shared -fPIC -I"$work/common_include" -IRK3588S_PTZ \
            "${sources[@]}" -o "$work/libisp_ctrl.so"
    done
done
