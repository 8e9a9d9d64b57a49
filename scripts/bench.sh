#!/usr/bin/env bash
# Builds the benchmarks (RelWithDebInfo, in build/ or $QV_BENCH_BUILD), runs
# them, and prints each figure against its peer with its goal, as the table in
# bench/README.md; fails when a goal is missed or a figure could not be
# measured. Arguments choose qvbench's figures by a word of their names, e.g.
# `scripts/bench.sh Intake` (the others then read "not measured"). The
# benchmarks start their own nginx on loopback and stop it again. See
# bench/README.md.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${QV_BENCH_BUILD:-build}

scripts/setup.sh
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target qvbench qvbench_memory qvbench_resident qvcopybench qvassistant

failed=0
# A figure that this run could not measure must not show the last run's value.
rm -f "$build"/{bench,memory,resident,copy,emfile}.json
# Ours and the peer's in turns, pair by pair: one line of JSON a figure.
"$build/bin/qvbench" "$@" >"$build/bench.json" || failed=1
# Peak memory in processes of their own: one line of JSON per page kind and
# for a header block.
for page in html noise headers; do "$build/bin/qvbench_memory" "$page"; done >"$build/memory.json" || failed=1
# What the process keeps after one large page.
"$build/bin/qvbench_resident" 512 >"$build/resident.json" || failed=1
# Whole 1 GiB copies against cp's, and the CPU of the copy's pauses.
"$build/bin/qvcopybench" "$build/copy.json" || failed=1
# The CPU of an assistant that has no descriptor to spare, with peers knocking.
bench/emfile_cpu.sh "$build/bin/qvassistant" >"$build/emfile.json" || failed=1
echo
# The table of bench/README.md, with this run's values.
python3 bench/report.py "$build" || failed=1
exit "$failed"
