#!/usr/bin/env bash
# Builds the benchmarks (RelWithDebInfo, in build/ or $QV_BENCH_BUILD), runs
# them, and prints each figure against its peer with its goal, as the table in
# bench/README.md; fails when a goal is missed. Arguments go to the benchmark
# binary, e.g. --benchmark_filter=Intake. The benchmarks start their own nginx on loopback
# and stop it again. See bench/README.md.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${QV_BENCH_BUILD:-build}

scripts/setup.sh
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target qvbench qvbench_memory qvbench_resident qvcopybench qvassistant

"$build/bin/qvbench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
  --benchmark_out="$build/bench.json" --benchmark_out_format=json "$@"
# Peak memory in processes of their own: one line of JSON per page kind and
# for a header block.
for page in html noise headers; do "$build/bin/qvbench_memory" "$page"; done >"$build/memory.json"
# What the process keeps after one large page.
"$build/bin/qvbench_resident" 512 >"$build/resident.json"
# Whole 1 GiB copies against cp's, and the CPU of the copy's pauses.
"$build/bin/qvcopybench" "$build/copy.json"
# The CPU of an assistant that has no descriptor to spare, with peers knocking.
bench/emfile_cpu.sh "$build/bin/qvassistant" >"$build/emfile.json"
echo
# The table of bench/README.md, with this run's values.
python3 bench/report.py "$build"
