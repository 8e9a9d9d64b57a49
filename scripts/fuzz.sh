#!/usr/bin/env bash
# Builds the libFuzzer targets, one per fuzz/fuzz_*.cpp, with ASan and UBSan in
# build-fuzz (or $QV_FUZZ_BUILD), and runs each for a bounded time:
# QV_FUZZ_SECONDS, 20 by default. A crash, a leak, a failed check or any
# sanitizer report fails the run; the input that did it is kept in the build's
# artifacts/. Seeds come from fuzz/corpus/<target>/ where there are any.
# Installs nothing: scripts/setup.sh does that.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${QV_FUZZ_SECONDS:-20}
build=${QV_FUZZ_BUILD:-build-fuzz}
targets=()
for source in fuzz/fuzz_*.cpp; do
  targets+=("$(basename "$source" .cpp)")
done

CXX=clang++ cmake -S . -B "$build" -G Ninja -DQV_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target "${targets[@]}"

export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
mkdir -p "$build/artifacts"
for target in "${targets[@]}"; do
  # New inputs go to the first folder, so the committed seeds stay as they are.
  corpora=("$build/corpus/$target")
  if [ -d "fuzz/corpus/$target" ]; then corpora+=("fuzz/corpus/$target"); fi
  log="$build/$target.log"
  mkdir -p "${corpora[0]}"
  echo "-- $target for ${seconds} s"
  if ! "$build/bin/$target" -max_total_time="$seconds" -print_final_stats=1 \
      -artifact_prefix="$build/artifacts/" "${corpora[@]}" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "$target FAILED (whole log: $log)"
    exit 1
  fi
  grep -E '^(stat::number_of_executed_units|stat::new_units_added|Done )' "$log" || true
done
