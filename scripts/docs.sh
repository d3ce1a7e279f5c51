#!/usr/bin/env bash
# Makes the reference of the public headers and the documents, build/docs/html/index.html, and fails on what is wrong or
# missing there. A value or a member whose type is described, and a block of the engine, may go by its name alone.
set -euo pipefail
cd "$(dirname "$0")/.."

mkdir -p build/docs
doxygen docs/Doxyfile >build/docs/log 2>&1 || { cat build/docs/log; exit 1; }
if grep -vE '\(enumvalue\) of |\(variable\) of (struct|union) |/aiq/.* Compound ' build/docs/log; then
    exit 1
fi
