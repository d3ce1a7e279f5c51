#!/usr/bin/env bash
# Writes anew what is generated and kept, from the release build: all of it, or only what is named. Look at the difference
# before you commit it.
#   scripts/update.sh [settings] [visca] [field-log] [abi] [instructions] [pictures]
# settings      docs/settings.md, from the list of settings and the commands
# visca         the table of commands in docs/visca.md
# field-log     tests/golden/field-log.txt, from what the library logs
# abi           tests/library/abi and the lists of exported and imported symbols, on x86-64
# instructions  tests/golden/instructions.txt, as valgrind counts them
# pictures      docs/pictures, from bundled scenarios (not those of the page, which its test makes)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$root/build/release
all=(settings visca field-log abi instructions pictures)
names=("${@:-${all[@]}}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

build() {
    cmake --build "$build" --target "$@" >/dev/null
}

update_settings() {
    build isp-sim
    "$build/isp-sim" --reference >"$folder/settings.md"
    cp "$folder/settings.md" docs/settings.md
}

update_visca() {
    build isp-sim
    { sed '/^| Command/,$d' docs/visca.md && "$build/isp-sim" --visca-reference; } >"$folder/visca.md"
    cp "$folder/visca.md" docs/visca.md
}

update_field_log() {
    local page=tests/golden/field-log.txt
    build field_log_test
    (cd "$folder" && "$build/tests/torture/field_log_test" >/dev/null 2>&1) || true # it fails where the page is old
    { sed '/^$/,$d' $page && cat "$folder/field-log.txt"; } >"$folder/page"
    cp "$folder/page" $page
}

update_abi() {
    if [[ $(uname -m) != x86_64 ]]; then
        echo "${0##*/}: the description of the interface is made on x86-64" >&2
        return 1
    fi
    build isp_ctrl
    abidw --exported-interfaces-only --drop-undefined-syms --type-id-style hash \
        --no-show-locs --no-corpus-path --no-comp-dir-path "$build/libisp_ctrl.so" |
        sed "s|path='$root/|path='|" >tests/library/abi/isp_ctrl.abi
    symbols() { # nm's letter of undefined ones or of all others
        nm --dynamic --format=posix "$build/libisp_ctrl.so" |
            awk "\$2 $1 \"U\" && \$1 !~ /@/ && \$2 !~ /[wv]/ { print \$1 }" | LC_ALL=C sort
    }
    symbols '!=' >tests/library/exported.txt
    symbols '==' >tests/library/imported.txt
}

update_instructions() {
    BUILD=$build scripts/count-instructions.sh --update
}

update_pictures() {
    local pictures=$root/docs/pictures name
    build isp-sim
    cd "$folder"
    for name in 2_smart_exposure 4_dusk_to_sun 6_looks 7_scenes 8_tuning; do
        "$build/isp-sim" --state "state/$name" "$root/simulator/app/scenarios/$name.isp" >/dev/null
    done
    printf 'plot %s.csv %s.png\n' dusk_to_sun{,} smart_exposure{,} >plots.isp
    "$build/isp-sim" --state state/plots plots.isp >/dev/null
    for name in dusk_to_sun smart_exposure; do
        convert "$name.png" -colors 64 -strip "$pictures/$name.png"
    done
    convert stage_auto.png stage_smart.png -append stage.png
    mv face.jpg tuning.png
    for name in gamma styles meter stage tuning; do
        convert "$name.png" -resize 1000x -quality 82 -strip "$pictures/$name.jpg"
    done
    cd "$root"
}

for name in "${names[@]}"; do
    if ! declare -F "update_${name//-/_}" >/dev/null; then
        sed -n '4s/^#  */usage: /p' "$0" >&2
        exit 2
    fi
done
scripts/install-packages.sh --ci
cmake --preset release -DISP_CTRL_BENCHMARKS=ON >/dev/null
for name in "${names[@]}"; do
    echo "$name"
    "update_${name//-/_}"
done
git diff --stat -- docs tests
