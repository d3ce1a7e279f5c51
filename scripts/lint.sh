#!/usr/bin/env bash
# Checks how the code is written: clang-format everywhere, clang-tidy on the library and the simulator, shellcheck on
# the scripts. The tools are named with their version, on which their results depend.
#   scripts/lint.sh [FOLDER...]      clang-tidy in these folders alone; takes the compile commands of build/release
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
build=build/release
if (($# == 0)); then
    set -- RK3588S_PTZ simulator
fi

mapfile -t scripts < <(find scripts tests .ci examples -name '*.sh' -o -path .ci/run | sort)
shellcheck --severity=warning "${scripts[@]}"
echo "shellcheck: ${#scripts[@]} files"

mapfile -t sources < <(
    find RK3588S_PTZ common_include simulator tests benchmarks examples fuzz -name '*.cpp' -o -name '*.c' -o -name '*.h' |
        sort
)
clang-format-19 --dry-run --Werror "${sources[@]}"
echo "clang-format: ${#sources[@]} files"

# Each file once, although the library is compiled twice, and as it is without precompiled headers.
database=$(mktemp -d)
trap 'rm -rf "$database"' EXIT
python3 - "$build/compile_commands.json" "$database/compile_commands.json" "$@" <<'PYTHON'
import json, os, re, sys
commands = {os.path.relpath(entry["file"]): entry for entry in json.load(open(sys.argv[1]))}
checked = [entry for file, entry in sorted(commands.items()) if file.startswith(tuple(sys.argv[3:]))]
for entry in checked:  # without the headers that g++ has compiled before
    entry["command"] = re.sub(r"-Winvalid-pch -include \S+", "", entry["command"])
json.dump(checked, open(sys.argv[2], "w"))
print("clang-tidy:", len(checked), "files", flush=True)
sys.exit(not checked)
PYTHON
if ! run-clang-tidy-19 -j 2 -quiet -p "$database" >"$build/clang-tidy.log" 2>&1; then
    grep -E '(error|warning): ' "$build/clang-tidy.log" | sort -u
    exit 1
fi
