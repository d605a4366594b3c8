#!/usr/bin/env bash
# Builds everything and runs the main job on the default sample: compiles the
# sample packages, prints the default material, and renders it alone and with
# the tint effect stacked on top into out/.
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
"$kvs" render "$samples/stone_tiles.mpk" --outdir out
"$kvs" render "$samples/stone_tiles.mpk" --stack "$samples/tint.mpk" --outdir out/stacked
