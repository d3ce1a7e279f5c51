#!/usr/bin/env bash
# Makes the pictures of the documents anew, docs/pictures, from bundled scenarios on the simulated cameras. Takes the
# program of the release build, and imagemagick to make the pictures small.
set -euo pipefail
cd "$(dirname "$0")/.."
scenarios=$PWD/simulator/app/scenarios
program=$PWD/build/release/isp-sim
pictures=$PWD/docs/pictures

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
for scenario in 2_smart_exposure 4_dusk_to_sun 7_looks; do
    "$program" --state state "$scenarios/$scenario.isp" >/dev/null
done
printf 'plot %s.csv %s.png\n' dusk_to_sun{,} smart_exposure{,} >plots.isp
"$program" --state state plots.isp

for plot in dusk_to_sun smart_exposure; do
    convert "$plot.png" -colors 64 -strip "$pictures/$plot.png"
done
for chart in gamma styles; do
    convert "$chart.png" -resize 1000x -quality 82 -strip "$pictures/$chart.jpg"
done
