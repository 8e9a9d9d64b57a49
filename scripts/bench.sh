#!/usr/bin/env bash
# Builds the benchmarks (RelWithDebInfo, in build/), runs them, and prints each
# figure against its peer with its goal; fails when a goal is missed. Arguments
# go to the benchmark binary, e.g. --benchmark_filter=Intake. See bench/README.md.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target qvbench

build/bin/qvbench --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
  --benchmark_out=build/bench.json --benchmark_out_format=json "$@"
echo
python3 bench/report.py build/bench.json
