#!/usr/bin/env bash
# The shared library's face to the loader: it defines exactly exported.txt, takes exactly imported.txt from the host
# program, needs the C library and libgcc_s alone, is bound when loaded, can be unloaded, and asks for no environment
# variable.
#   check_symbols.sh LIBRARY      (NM and READELF name the tools)
set -euo pipefail
export LC_ALL=C
library=$1
lists=$(dirname "$0")
failures=0

fail() {
    echo "FAILED: $1"
    failures=1
}

compare() { # LIST, actual symbols on standard input
    if ! diff --unified=0 --label "$1" --label "$library" "$lists/$1" <(sort); then
        fail "symbols differ from $1"
    fi
}

defined=$("${NM:-nm}" --dynamic --defined-only --format=posix "$library")
undefined=$("${NM:-nm}" --dynamic --undefined-only --format=posix "$library")
dynamic=$("${READELF:-readelf}" --dynamic --wide "$library")

# The C library's symbols carry a version, the host's do not.
awk '{ print $1 }' <<<"$defined" | compare exported.txt
awk '$2 == "U" && $1 !~ /@/ { print $1 }' <<<"$undefined" | compare imported.txt

if grep -E '^(secure_)?getenv@' <<<"$undefined"; then
    fail "reads the environment"
fi
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
if grep -vxE 'libc\.so\.6|libm\.so\.6|libgcc_s\.so\.1' <<<"$needed"; then
    fail "needs more than the C library and libgcc_s"
fi
grep -qx 'libgcc_s\.so\.1' <<<"$needed" || fail "does not name libgcc_s, which ends its threads"
grep -q '(SONAME).*\[libisp_ctrl\.so\.1\]' <<<"$dynamic" || fail "SONAME is not libisp_ctrl.so.1"
grep -q 'BIND_NOW' <<<"$dynamic" || fail "is not bound when loaded"
if grep -q 'NODELETE' <<<"$dynamic"; then
    fail "keeps its values when it is loaded anew"
fi
if grep -q 'TEXTREL' <<<"$dynamic"; then
    fail "relocates its code"
fi
exit $failures
