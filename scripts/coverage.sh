#!/bin/sh
# Which lines and branches of the library the tests execute, as a gate; reports land in build/coverage.
# With --mcdc: modified condition/decision coverage too (clang-19, llvm-19), as a report in build/mcdc.
set -eu
cd "$(dirname "$0")/.."

# What has been reached, rounded down; the aim is 100.
least_lines=${LEAST_LINES:-92}
least_branches=${LEAST_BRANCHES:-84}

cmake --preset coverage > /dev/null
cmake --build --preset coverage -- -k 0
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage -j2 --output-on-failure # the long ones too
# In the build folder: gcov leaves its files where it is called when it is interrupted.
(cd build/coverage && gcovr --root ../.. --filter ../../RK3588S_PTZ/ --exclude-throw-branches \
    --exclude-unreachable-branches --gcov-ignore-parse-errors --txt coverage.txt --html-details coverage.html \
    --json-summary coverage.json --print-summary \
    --fail-under-line "$least_lines" --fail-under-branch "$least_branches" RK3588S_PTZ)

[ "${1:-}" = --mcdc ] || exit 0
flags='-fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc'
cmake -G Ninja -S . -B build/mcdc -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang-19 -DCMAKE_CXX_COMPILER=clang++-19 \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags -Wno-error" > /dev/null
cmake --build build/mcdc
rm -rf build/mcdc/profiles
LLVM_PROFILE_FILE=$PWD/build/mcdc/profiles/%p.profraw ctest --test-dir build/mcdc -j2 --output-on-failure
llvm-profdata-19 merge -sparse build/mcdc/profiles/*.profraw -o build/mcdc/all.profdata
objects=$(find build/mcdc/tests -type f -name '*_test' -perm -u+x -printf '-object %p ')
# shellcheck disable=SC2086 # one option per program
llvm-cov-19 report $objects -instr-profile=build/mcdc/all.profdata -show-mcdc-summary RK3588S_PTZ \
    | tee build/mcdc/mcdc.txt
# shellcheck disable=SC2086
llvm-cov-19 show $objects -instr-profile=build/mcdc/all.profdata -show-mcdc -format=html \
    -output-dir=build/mcdc/html RK3588S_PTZ
