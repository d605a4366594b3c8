#!/usr/bin/env bash
# Builds everything with warnings as errors and runs the whole test suite;
# then runs the threaded tests under ThreadSanitizer and the whole suite again
# under AddressSanitizer + UndefinedBehaviorSanitizer, and the same built with
# clang, with every fuzz target replaying its seeds and fuzzing briefly.
# Pass --quick to run the plain suite only.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

jobs=$(nproc)
configure() { # configure <build dir> <cmake options...>
    local dir=$1
    shift
    echo "== $dir"
    cmake -S . -B "$dir" -DKV_WERROR=ON -DKV_BUILD_BENCH=OFF "$@" >/dev/null
}

configure build/tests -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build/tests -j"$jobs"
ctest --test-dir build/tests --output-on-failure -j"$jobs"
[ "${1:-}" = "--quick" ] && exit 0

# The parts with threads of their own: signals and counted references, the
# evaluator's thread pool, the engine interface, the framework's queues and
# render thread, and host threads rendering through the library.
threaded=(kvhost_test engine_evaluator_tests engine_api_tests kvframework_test kvrenderer_test kvbridge_test)
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
configure build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_SANITIZE=thread
cmake --build build/tsan -j"$jobs" --target "${threaded[@]}"
for t in "${threaded[@]}"; do
    (cd build/tsan && "$(find tests -name "$t" -type f -perm -u+x | head -n1)" --gtest_brief=1)
done

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
configure build/asan -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=address,undefined
cmake --build build/asan -j"$jobs"
ctest --test-dir build/asan --output-on-failure -j"$jobs"

# == clang and fuzzing: the whole tree built with clang (warnings as errors)
# under AddressSanitizer + UndefinedBehaviorSanitizer, the suite run there,
# then every fuzz target replays its seeds and fuzzes for 20 s (CI time).
./scripts/run-fuzz.sh 20
