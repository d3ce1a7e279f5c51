#!/usr/bin/env bash
# The integration guide lists what the shared library takes from a host.
#   check_guide.sh LIBRARY      (NM names the tool)
set -euo pipefail
symbols=$(mktemp)
trap 'rm -f "$symbols"' EXIT
"${NM:-nm}" --dynamic --undefined-only --format=posix "$1" | awk '$2 == "U" && $1 !~ /@/ { print $1 }' >"$symbols"
"$(dirname "$0")/../../scripts/guide.py" --check "$symbols"
