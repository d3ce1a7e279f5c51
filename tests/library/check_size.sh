#!/usr/bin/env bash
# The stripped library stays below 100 KiB on the target; on a workstation its size is only told.
#   check_size.sh LIBRARY      (STRIP and READELF name the tools)
set -euo pipefail
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"${STRIP:-strip}" -o "$stripped" "$1"
size=$(stat --format=%s "$stripped")
machine=$("${READELF:-readelf}" --file-header "$1" | sed -n 's/ *Machine: *//p')
echo "$machine: $size bytes stripped"
if [[ $machine == AArch64 ]] && ((size >= 100 * 1024)); then
    echo "FAILED: not below $((100 * 1024)) bytes"
    exit 1
fi
