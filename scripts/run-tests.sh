#!/usr/bin/env bash
# Builds everything with warnings as errors and runs the whole test suite,
# then again under AddressSanitizer + UndefinedBehaviorSanitizer, then the
# threaded tests under ThreadSanitizer. Pass --quick to run the plain suite only.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

jobs=$(nproc)
suite() { # suite <build dir> <ctest regex or empty> <cmake options...>
    local dir=$1 regex=$2
    shift 2
    echo "== $dir"
    cmake -S . -B "$dir" -DKV_WERROR=ON -DKV_BUILD_BENCH=OFF "$@" >/dev/null
    cmake --build "$dir" -j"$jobs"
    if [ -n "$regex" ]; then
        ctest --test-dir "$dir" --output-on-failure -j"$jobs" -R "$regex"
    else
        ctest --test-dir "$dir" --output-on-failure -j"$jobs"
    fi
}

suite build/tests "" -DCMAKE_BUILD_TYPE=RelWithDebInfo
[ "${1:-}" = "--quick" ] && exit 0

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
suite build/asan "" -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=address,undefined

export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
suite build/tsan "${KV_THREADED_TESTS:-Thread|Render|Evaluator|EngineApi|Signal|Registry}" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_SANITIZE=thread
