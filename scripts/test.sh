#!/usr/bin/env bash
# Builds and runs every test on a fresh Debian machine: once in a plain build,
# once in the portable build (the calls of the BSD family, without the window
# or the benchmarks, to stay quick), and once more with AddressSanitizer and
# UndefinedBehaviorSanitizer, where any report fails the run; then runs every
# fuzz target for a bounded time (scripts/fuzz.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
jobs=$(nproc)

passed=0
run_suite() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" | tee "$dir/ctest.log"
  passed=$((passed + $(sed -n 's/.*tests passed, 0 tests failed out of \([0-9]*\).*/\1/p' "$dir/ctest.log")))
}

echo "== Plain build"
run_suite build -DCMAKE_BUILD_TYPE=RelWithDebInfo

echo "== Portable build (the BSD family's calls, on Linux)"
started=$SECONDS
run_suite build-portable -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQV_PORTABLE=ON -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON \
  -DQV_BUILD_BENCH=OFF
echo "Portable build and tests: $((SECONDS - started)) s"

echo "== Sanitizer build (ASan + UBSan)"
export ASAN_OPTIONS=halt_on_error=1:abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
run_suite build-sanitize -DCMAKE_BUILD_TYPE=Debug -DQV_SANITIZE=ON

echo "== Fuzzing (libFuzzer, ASan + UBSan)"
scripts/fuzz.sh

echo "Plain, portable and sanitizer runs together, fuzzing clean:"
echo "$passed passed, 0 failed"
