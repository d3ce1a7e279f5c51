#!/usr/bin/env bash
# The exported functions, variables and their types are those of abi/isp_ctrl.abi, which was made for x86-64. On
# another processor all but the C library's own types must be the same. After a wanted change: scripts/update.sh abi.
#   check_abi.sh LIBRARY PROCESSOR
set -euo pipefail
library=$1
processor=$2
folder=$(dirname "$0")/abi
if ! command -v abidiff >/dev/null; then
    echo "skipped: abidiff is missing (package abigail-tools)"
    exit 77
fi
if ! "${READELF:-readelf}" --section-headers --wide "$library" | grep -q '\.debug_info'; then
    echo "skipped: the library was built without debug information"
    exit 77
fi
options=()
if [[ $processor != x86_64 ]]; then
    options=(--no-architecture --suppressions "$folder/other_processor.suppr")
fi
abidiff "${options[@]}" "$folder/isp_ctrl.abi" "$library"
