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
for scenario in 2_smart_exposure 4_dusk_to_sun 6_looks 7_scenes; do
    "$program" --state "state/$scenario" "$scenarios/$scenario.isp" >/dev/null
done
printf 'plot %s.csv %s.png\n' dusk_to_sun{,} smart_exposure{,} >plots.isp
"$program" --state state/plots plots.isp >/dev/null

for plot in dusk_to_sun smart_exposure; do
    convert "$plot.png" -colors 64 -strip "$pictures/$plot.png"
done
convert stage_auto.png stage_smart.png -append stage.png
for picture in gamma styles meter stage; do
    convert "$picture.png" -resize 1000x -quality 82 -strip "$pictures/$picture.jpg"
done
