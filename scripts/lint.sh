#!/usr/bin/env bash
# Checks how the code is written: clang-format everywhere, clang-tidy on the library and the simulator, shellcheck on
# the scripts. The tools are named with their version, on which their results depend.
#   scripts/lint.sh [FOLDER...]      clang-tidy in these folders alone
#   scripts/lint.sh --staged         no clang-tidy, and only files that the next commit changes; works as a commit hook
set -euo pipefail
if [[ ${1-} == --staged || $0 == */pre-commit ]]; then
    cd "$(git rev-parse --show-toplevel)"
    changed() { git diff --cached --name-only --diff-filter=d -z -- "$@"; }
    changed '*.c' '*.cpp' '*.h' ':!*/vendor/*' | xargs -0 -r clang-format-19 --dry-run --Werror
    changed '*.sh' .ci/run | xargs -0 -r shellcheck --severity=warning
    exec git diff --cached --check
fi
cd "$(dirname "$0")/.."
(($# > 0)) || set -- RK3588S_PTZ simulator

mapfile -t scripts < <(find scripts tests .ci examples -name '*.sh' -o -path .ci/run | sort)
shellcheck --severity=warning "${scripts[@]}"
echo "shellcheck: ${#scripts[@]} files"

mapfile -t sources < <(
    find RK3588S_PTZ common_include simulator tests benchmarks examples fuzz -name '*.cpp' -o -name '*.c' -o -name '*.h' |
        sort
)
clang-format-19 --dry-run --Werror "${sources[@]}"
echo "clang-format: ${#sources[@]} files"

# Files one by one, as the preset debug compiles them.
cmake --preset debug -B build/lint -DISP_CTRL_TESTS=OFF >/dev/null
mapfile -t checked < <(find "$@" -name '*.cpp' -printf "^$PWD/%p\$\n")
echo "clang-tidy: ${#checked[@]} files"
((${#checked[@]} > 0))
if ! run-clang-tidy-19 -j 2 -quiet -p build/lint "${checked[@]}" >build/lint/log 2>&1; then
    grep -E '(error|warning): ' build/lint/log | sort -u
    exit 1
fi
