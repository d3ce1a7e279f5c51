#!/usr/bin/env bash
# Installs what is missing, builds, and plays the bundled scenarios on the simulated cameras. Settings, recordings and
# pictures go to build/demo.
#   scripts/demo.sh [SCENARIO...]             all scenarios without arguments
#   scripts/demo.sh --live [--fresh] [[HOST:]PORT]
#       four cameras on a page in the browser and for VISCA controllers at port 5678, until Ctrl-C or
#       quit; settings and files stay in build/live until --fresh
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
live=()
if [[ ${1-} == --live ]]; then
    shift
    if [[ ${1-} == --fresh ]]; then
        rm -rf build/live
        shift
    fi
    live=(--serve "${1:-8080}" --visca 5678)
elif (($# > 0)); then
    mapfile -t scenarios < <(realpath -- "$@")
else
    scenarios=("$root"/simulator/app/scenarios/*.isp)
fi

scripts/install-packages.sh
log=build/demo-build.log
mkdir -p build
echo "Building (log: $log)"
if ! { cmake --preset release -DISP_CTRL_TESTS=OFF -DISP_CTRL_LIVE=ON && cmake --build --preset release --target isp-sim; } >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    exit 1
fi

if ((${#live[@]} > 0)); then
    exec build/release/isp-sim --state build/live "${live[@]}" simulator/live/demo.isp
fi
rm -rf build/demo
mkdir -p build/demo
cd build/demo
for scenario in "${scenarios[@]}"; do
    echo
    echo "=== ${scenario##*/}"
    name=$(basename "$scenario" .isp)
    "$root/build/release/isp-sim" --state "state/${name%.restart}" "$scenario"
done
echo
echo "Files: build/demo"
