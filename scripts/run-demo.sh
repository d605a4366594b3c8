#!/usr/bin/env bash
# Builds everything and runs the main job on the default sample: compiles the
# sample packages and prints the default material; the host program stacks
# the tint effect on it through the library, sets an input, renders the
# texture, prints the state string and checks that a fresh material given
# that string renders the same bytes; then kvs renders every output of the
# material, the stack with a preset at a few seeds, and saves a state; last,
# the base colour of every other sample material, and the moss effect
# stacked on one of them.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"$(nproc)"

kvs=build/release/tools/kvs/kvs
samples=build/release/samples
mkdir -p out
"$kvs" info samples/descriptions/painted_plaster.xml
"$kvs" info "$samples/stone_tiles.mpk"
build/release/samples/material_host "$samples/stone_tiles.mpk" "$samples/tint.mpk" out/stone_tiles_tint.png wear=0.8
"$kvs" render "$samples/stone_tiles.mpk" --outdir out
"$kvs" render "$samples/stone_tiles.mpk" --stack "$samples/tint.mpk" --preset "Old courtyard" --seeds 1-3 --outdir out/stacked
"$kvs" state save "$samples/stone_tiles.mpk" --stack "$samples/tint.mpk" --preset "Old courtyard" -o out/courtyard.state
cat out/courtyard.state
for material in wood_planks rusted_metal woven_fabric bark cracked_earth; do
    "$kvs" render "$samples/$material.mpk" --output Output --outdir out/samples
done
"$kvs" render "$samples/bark.mpk" --stack "$samples/moss.mpk" --preset Damp --outdir out/samples
