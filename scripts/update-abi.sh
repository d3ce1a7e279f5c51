#!/usr/bin/env bash
# Writes the description of the interface anew from the release build, after a wanted change: tests/library/abi/isp_ctrl.abi
# and the lists of exported and imported symbols. Run it on x86-64.
set -euo pipefail
cd "$(dirname "$0")/.."
file=tests/library/abi/isp_ctrl.abi
if [[ $(uname -m) != x86_64 ]]; then
    echo "${0##*/}: the description is made on x86-64" >&2
    exit 1
fi
scripts/install-packages.sh --ci
cmake --preset release >/dev/null
cmake --build --preset release --target isp_ctrl
abidw --exported-interfaces-only --drop-undefined-syms --type-id-style hash \
    --no-show-locs --no-corpus-path --no-comp-dir-path build/release/libisp_ctrl.so |
    sed "s|path='$PWD/|path='|" >"$file"
symbols() { # nm's letter of undefined ones or of all others
    nm --dynamic --format=posix build/release/libisp_ctrl.so | awk "\$2 $1 \"U\" && \$1 !~ /@/ && \$2 !~ /[wv]/ { print \$1 }" |
        LC_ALL=C sort
}
symbols '!=' >tests/library/exported.txt
symbols '==' >tests/library/imported.txt
git diff --stat -- tests/library
