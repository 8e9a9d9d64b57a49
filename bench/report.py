#!/usr/bin/env python3
"""Prints every benchmark figure as one table: the figure, its peer measured in
the same run, the goal and the value now, and whether the goal is met. Reads
Google Benchmark's JSON output (medians when the run had repetitions),
qvbench_memory's lines of JSON and qvcopybench's JSON. Exits 1 when a goal is
missed or a figure is absent. bench/README.md keeps the same table.

Usage: report.py FOLDER   (the files that scripts/bench.sh leaves there:
bench.json, memory.json, copy.json, emfile.json, resident.json)
"""
import json
import os
import statistics
import sys

MIB = 1024 * 1024


def read_runs(path):
    """Each benchmark's figures by name; medians replace single runs."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    chosen = {}
    for run in runs:
        if run.get("error_occurred"):
            continue
        median = run.get("aggregate_name") == "median"
        if run.get("run_type") == "aggregate" and not median:
            continue
        chosen[run["run_name"]] = run
    return chosen


def ms(run, kind="real_time"):
    return run[kind] * {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[run["time_unit"]]


def find(runs, prefix):
    return next((run for name, run in runs.items() if name.startswith(prefix)), None)


class Table:
    def __init__(self):
        self.rows = []

    def add(self, figure, peer, goal, measure):
        """`measure` gives (value text, met), or raises when the figure is absent."""
        try:
            value, met = measure()
        except (KeyError, TypeError, ValueError, ZeroDivisionError, statistics.StatisticsError):
            value, met = "not measured", False
        self.rows.append((figure, peer, goal, value, "met" if met else "NOT MET"))

    def print(self):
        print("| Figure | Peer | Goal | Last value | |")
        print("|---|---|---|---|---|")
        for row in self.rows:
            print("| " + " | ".join(row) + " |")
        return all(row[4] == "met" for row in self.rows)


def ratio_row(table, figure, peer, goal, ours, theirs, limit, kind="real_time"):
    """Our time over the peer's: CPU time for work on this thread alone, so
    that other load on the machine disturbs it little; wall-clock time where
    another thread takes part."""
    def measure():
        a, b = ms(ours(), kind), ms(theirs(), kind)
        return f"{a:.1f} ms / {b:.1f} ms = {a / b:.2f}", a / b <= limit
    table.add(figure, peer, goal, measure)


def flatness_row(table, runs, figure, family):
    def measure():
        sizes = sorted(int(name.split("/")[1]) for name in runs if name.split("/")[0] == family)
        small, large = (runs[f"{family}/{size}"] for size in sizes)
        per_small = ms(small) / (sizes[0] / MIB)
        per_large = ms(large) / (sizes[1] / MIB)
        ratio = per_large / per_small
        return f"{per_large:.3f} ms per MiB at 320 MiB, {per_small:.3f} at 32 MiB: {ratio:.2f}", ratio <= 1.2
    table.add(figure, "the same at a tenth of the size (32 MiB)", "at most 1.2", measure)


def main():
    folder = sys.argv[1]
    runs = read_runs(f"{folder}/bench.json")
    memory_path = f"{folder}/memory.json"
    copy_path = f"{folder}/copy.json"
    emfile_path = f"{folder}/emfile.json"
    resident_path = f"{folder}/resident.json"
    table = Table()
    ratio_row(table, "Packing 8 MiB of HTML (`MakeFrame`)", "zlib `compress` alone", "at most 0.6",
              lambda: runs["BM_PackFrame"], lambda: runs["BM_ZlibCompress"], 0.6, "cpu_time")
    ratio_row(table, "Unpacking it (`DecodePayload`)", "zlib `uncompress` alone", "at most 0.5 (twice as fast)",
              lambda: runs["BM_UnpackPayload"], lambda: runs["BM_ZlibUncompress"], 0.5, "cpu_time")
    ratio_row(table, "Delivering an 8 MiB page to the peer", "zlib `compress` and Base64 of its report",
              "at most 0.6", lambda: find(runs, "BM_DeliverPage"), lambda: find(runs, "BM_CompressAndEncodeReport"),
              0.6)
    flatness_row(table, runs, "Intake of small frames, 320 MiB", "BM_IntakeSmallFrames")
    flatness_row(table, runs, "Intake of one frame in 4 KiB reads, 320 MiB", "BM_IntakeLargeFrame")

    def receive():
        run = find(runs, "BM_HttpReceive")
        ratio = run["socket_ms"] / run["curl_ms"]
        return f"{run['socket_ms']:.1f} ms / {run['curl_ms']:.1f} ms = {ratio:.2f}", ratio <= 1.15
    table.add("Receiving 64 MiB from nginx (median of 9)", "`curl -0` of the same URL", "at most 1.15", receive)

    ratio_row(table, "Parsing 40,000 repeats of one header", "40,000 names each its own, the same size",
              "at most 2.5", lambda: runs["BM_ParseRepeatedHeader/40000"],
              lambda: runs["BM_ParseDistinctHeaders/40000"], 2.5, "cpu_time")

    lines = {}
    if os.path.exists(memory_path):
        with open(memory_path, encoding="utf-8") as file:
            lines = {line["page"]: line for line in map(json.loads, filter(str.strip, file))}
    for page in ("html", "noise"):
        def peak(page=page):
            line = lines[page]
            extra = (line["peak_kib"] - line["idle_kib"]) * 1024 / line["page_bytes"]
            return f"{extra:.2f} page sizes", extra <= 4
        table.add(f"Peak memory delivering 16 MiB of {page}", "the idle process with the page in hand",
                  "at most 4 page sizes", peak)

    def header_block_peak():
        line = lines["headers"]
        extra = (line["peak_kib"] - line["idle_kib"]) * 1024 / line["page_bytes"]
        return f"{extra:.2f} block sizes", extra <= 15
    table.add("Peak memory parsing and delivering a header block of 1,000,000 lines (13 MiB)",
              "the idle process, without the block", "at most 15 block sizes", header_block_peak)

    copy = {}
    if os.path.exists(copy_path):
        with open(copy_path, encoding="utf-8") as file:
            copy = json.load(file)

    def copy_ratio():
        c = copy["copy"]
        cp = statistics.median(c["cp_seconds"]) - statistics.median(c["cp_start_seconds"])
        pauses = [n * c["pause_seconds"] for n in c["progress_reports"]]
        ours = statistics.median(t - p for t, p in zip(c["assistant_seconds"], pauses))
        spread = (f"cp {min(c['cp_seconds']):.2f} to {max(c['cp_seconds']):.2f} s, assistant "
                  f"{min(c['assistant_seconds']):.2f} to {max(c['assistant_seconds']):.2f} s")
        dropped = "" if c.get("page_cache_dropped") else "; page cache not emptied (root only)"
        return f"{ours:.3f} s / {cp:.3f} s = {ours / cp:.2f} ({spread}{dropped})", ours / cp <= 1.10
    table.add("Copying 1 GiB, pauses left out (median of 11)", "`cp` of the same file, its process start left out",
              "at most 1.10", copy_ratio)

    def pause_cpu():
        p = copy["pauses"]
        percent = 100 * p["cpu_seconds"] / p["wall_seconds"]
        return f"{percent:.2f} % over {p['count']} pauses", percent < 5
    table.add("CPU of the copy's pauses", "their wall-clock time", "under 5 % of one core", pause_cpu)

    def out_of_descriptors():
        with open(emfile_path, encoding="utf-8") as file:
            e = json.load(file)
        return f"{e['cpu_percent']:.2f} % over {e['seconds']} s", e["cpu_percent"] < 1
    table.add("CPU with no descriptor to spare and peers knocking (`emfile_cpu.sh`)", "the seconds it ran",
              "under 1 % of one core", out_of_descriptors)

    def resident():
        with open(resident_path, encoding="utf-8") as file:
            r = json.load(file)
        kept = (r["after_kib"] - r["idle_kib"]) / 1024
        return (f"{kept:.1f} MiB above {r['idle_kib'] / 1024:.1f} MiB idle "
                f"({r['after_large_kib'] / 1024:.0f} MiB with the page in hand)"), kept <= 64
    table.add("Resident memory after a 512 MiB page, four small ones and a Status", "the same process idle before",
              "at most 64 MiB above it", resident)
    return 0 if table.print() else 1


if __name__ == "__main__":
    sys.exit(main())
