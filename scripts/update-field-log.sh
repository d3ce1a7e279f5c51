#!/bin/sh
# Writes tests/golden/field-log.txt anew from what the library logs; the lines that changed then show in the difference.
set -eu
cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
cmake --build --preset release --target field_log_test >/dev/null
folder=$(mktemp -d)
(cd "$folder" && "$OLDPWD/build/release/tests/torture/field_log_test" >/dev/null 2>&1) || true
sed '/^$/,$d' tests/golden/field-log.txt >"$folder/page"
cat "$folder/field-log.txt" >>"$folder/page"
mv "$folder/page" tests/golden/field-log.txt
rm -r "$folder"
