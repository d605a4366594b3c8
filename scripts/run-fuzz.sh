#!/usr/bin/env bash
# Builds the whole tree with clang under AddressSanitizer and
# UndefinedBehaviorSanitizer (with libFuzzer's coverage in every library),
# runs the plain test suite there, then gives each fuzz target its seed
# corpus to replay and a bounded time to fuzz.
#   scripts/run-fuzz.sh [seconds per target, default 60] [target name...]
# New inputs a run finds go to build/clang/fuzz/found/<target>, never into
# the repository; docs/fuzzing.md says how to run longer and keep findings.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
build=build/clang
jobs=$(nproc)

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

echo "== $build"
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_WERROR=ON \
    -DKV_BUILD_BENCH=OFF -DKV_SANITIZE=address,undefined,fuzzer-no-link >/dev/null
cmake --build "$build" -j"$jobs"
ctest --test-dir "$build" --output-on-failure -j"$jobs"

# Seeds: the hand-written ones in fuzz/seeds, the samples' sources and
# descriptions, and the compiled sample packages with their entries.
seeds=$build/fuzz/seeds
rm -rf "$seeds"
cp -r fuzz/seeds "$seeds"
seed() { # seed <target> <files...>
    local target=$1
    shift
    mkdir -p "$seeds/$target" && cp "$@" "$seeds/$target/"
}
seed compiler_json samples/*.json
for target in host_description xml_guard; do
    seed "$target" samples/descriptions/*.xml
done
packages=("$build"/samples/*.mpk)
for package in "${packages[@]}"; do
    name=$(basename "$package" .mpk)
    seed package_reader "$package"
    seed package_material "$package"
    unzip -p "$package" assembly.bin >"$seeds/$name.bin"
    unzip -p "$package" description.xml >"$seeds/$name.xml"
    seed assembly_reader "$seeds/$name.bin"
    seed linker "$package" "$seeds/$name.bin"
    seed engine_render "$seeds/$name.bin"
    seed package_description "$seeds/$name.xml"
    seed xml_guard "$seeds/$name.xml"
    # A stack: the first package's length in four little-endian bytes, then both.
    python3 -c 'import struct, sys
a, b = (open(p, "rb").read() for p in sys.argv[1:3])
sys.stdout.buffer.write(struct.pack("<I", len(a)) + a + b)' "$package" "${packages[0]}" >"$seeds/$name.stack"
    seed package_stack "$seeds/$name.stack"
    rm "$seeds/$name.bin" "$seeds/$name.xml" "$seeds/$name.stack"
done

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for binary in "$build"/fuzz/fuzz_*; do
        targets+=("$(basename "$binary" | sed 's/^fuzz_//')")
    done
fi
for target in "${targets[@]}"; do
    binary=$build/fuzz/fuzz_$target
    found=$build/fuzz/found/$target
    mkdir -p "$found" "$seeds/$target"
    echo "== fuzz_$target: replay, then ${seconds}s"
    "$binary" -runs=0 "$seeds/$target"
    # A fixed seed keeps these short runs repeatable; docs/fuzzing.md runs longer ones with random seeds.
    "$binary" -seed=1 -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        "$found" "$seeds/$target" 2>&1 | grep -E '^(#|stat::number_of_executed_units|stat::peak_rss)|ERROR|SUMMARY' |
        tail -n 4
done
