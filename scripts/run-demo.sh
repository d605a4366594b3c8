#!/usr/bin/env bash
# Builds everything and runs the main job on the default sample: compiles the
# sample packages, prints the default material, then, through the library,
# stacks the tint effect on it, sets an input, renders the texture into out/,
# prints the state string and checks that a fresh material given that string
# renders the same bytes.
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
