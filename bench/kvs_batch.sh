#!/usr/bin/env bash
# Times kvs as a batch tool: 100 seeds of the default material at 512 in one
# process against the same 100 as separate processes, and the start-up plus
# a 256 render of one process (median of 21).
#   bench/kvs_batch.sh [BUILD_DIR]   (default build/release)
set -euo pipefail
build=${1:-build/release}
kvs=$build/tools/kvs/kvs
package=$build/samples/stone_tiles.mpk
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Microseconds from bash itself: starting `date` around each run would add its own start-up.
now() { echo "${EPOCHREALTIME/./}"; }
ms() { echo $((($2 - $1) / 1000)); }

start=$(now)
"$kvs" render "$package" --seeds 1-100 --size 9 --outdir "$work/batch" >/dev/null
batch=$(ms "$start" "$(now)")

start=$(now)
for seed in $(seq 1 100); do
    "$kvs" render "$package" --seed "$seed" --size 9 --outdir "$work/single" >/dev/null
done
single=$(ms "$start" "$(now)")

times=()
for run in $(seq 1 21); do
    start=$(now)
    "$kvs" render "$package" --size 8 --outdir "$work/small" >/dev/null
    times+=("$(( ($(now) - start) / 100 ))") # tenths of a millisecond
done
median=$(printf '%s\n' "${times[@]}" | sort -n | sed -n 11p)

echo "batch of 100 seeds at 512, one process:   ${batch} ms ($((batch / 100)) ms per item)"
echo "the same 100 as separate processes:       ${single} ms ($((single / 100)) ms per item)"
echo "batch speed-up per item:                  $(awk "BEGIN { printf \"%.1fx\", $single / $batch }")"
echo "start-up and a 256 render, one process:   $(awk "BEGIN { printf \"%.1f\", $median / 10 }") ms (median of 21)"
