#!/usr/bin/env bash
# Builds everything as someone does who knows no preset: each kind of build with g++ and with clang; and the library
# without CMake.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh --ci
for compiler in gcc clang-19; do
    cxx=${compiler/#gcc/g++}
    cxx=${cxx/#clang/clang++}
    for kind in Debug Release RelWithDebInfo MinSizeRel; do
        echo "=== $compiler, $kind"
        cmake -G Ninja -S . -B build/plain --fresh -DCMAKE_BUILD_TYPE=$kind -DISP_CTRL_BENCHMARKS=ON \
            -DCMAKE_C_COMPILER=$compiler -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
        cmake --build build/plain
        echo "built: $kind"
    done
    tests/library/check_plain_build.sh "c++17 c++20" "$cxx"
done
