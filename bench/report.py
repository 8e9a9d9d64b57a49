#!/usr/bin/env python3
"""Prints every benchmark figure as one table: the figure, its peer measured in
the same run, the goal and the value now, and whether the goal is met. Exits 1
when a goal is missed or a figure is absent. bench/README.md keeps the same
table.

A paired figure (qvbench's lines and qvcopybench's copy) holds our seconds and
the peer's, one of each a pair; its value is the median of the pairs' ratios,
judged against the goal, with the quartiles of those ratios as its spread.

Usage: report.py FOLDER   (the files that scripts/bench.sh leaves there:
bench.json, copy.json, memory.json, resident.json, emfile.json)
"""
import json
import os
import statistics
import sys


def read_lines(path):
    """The JSON objects of a file of one object a line; none if it is absent."""
    if not os.path.exists(path):
        return []
    with open(path, encoding="utf-8") as file:
        return [json.loads(line) for line in file if line.strip()]


def read_object(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


class Table:
    def __init__(self):
        self.rows = []

    def add(self, figure, peer, goal, measure):
        """`measure` gives (value text, met), or raises when the figure is absent."""
        try:
            value, met = measure()
        except (OSError, KeyError, TypeError, ValueError, ZeroDivisionError, statistics.StatisticsError):
            value, met = "not measured", False
        self.rows.append((figure, peer, goal, value, "met" if met else "NOT MET"))

    def print(self):
        print("| Figure | Peer | Goal | Last value | |")
        print("|---|---|---|---|---|")
        for row in self.rows:
            print("| " + " | ".join(row) + " |")
        return all(row[4] == "met" for row in self.rows)


def spread(figure):
    """The median of the pairs' ratios and its quartiles."""
    ratios = [ours / peer for ours, peer in zip(figure["ours"], figure["peer"], strict=True)]
    first, median, third = statistics.quantiles(ratios, n=4, method="inclusive")
    return median, first, third


MS = ("ms", 1e3, ".1f")
SECONDS = ("s", 1, ".3f")
MS_PER_MIB = ("ms per MiB", 1e3, ".3f")


def paired_row(table, figures, name, figure, peer, limit, unit=MS, note=lambda figure: ""):
    """Our time over the peer's, pair by pair, at most `limit` (median)."""
    def measure():
        f = figures[name]
        median, first, third = spread(f)
        label, scale, digits = unit
        ours, theirs = statistics.median(f["ours"]) * scale, statistics.median(f["peer"]) * scale
        clock = "CPU" if f["clock"] == "cpu" else "wall-clock"
        return (f"{median:.2f} (quartiles {first:.2f} to {third:.2f}; {clock} medians {ours:{digits}} {label} / "
                f"{theirs:{digits}} {label}, {len(f['ours'])} pairs{note(f)})"), median <= limit
    table.add(figure, peer, f"at most {limit:.2f}", measure)


def main():
    folder = sys.argv[1]
    figures = {line["figure"]: line for name in ("bench.json", "copy.json")
               for line in read_lines(f"{folder}/{name}")}
    memory = {line["page"]: line for line in read_lines(f"{folder}/memory.json")}
    table = Table()

    paired_row(table, figures, "PackFrame", "Packing 8 MiB of HTML (`MakeFrame`)", "zlib `compress` alone", 0.6)
    paired_row(table, figures, "UnpackPayload", "Unpacking it (`DecodePayload`), 8 at a time",
               "zlib `uncompress` alone", 0.5)
    paired_row(table, figures, "DeliverPage", "Delivering an 8 MiB page to the peer",
               "zlib `compress` and Base64 of its report", 0.6)
    paired_row(table, figures, "IntakeSmallFrames", "Intake of small frames, 320 MiB",
               "the same at a tenth of the size (32 MiB)", 1.2, MS_PER_MIB)
    paired_row(table, figures, "IntakeLargeFrame", "Intake of one frame in 4 KiB reads, 320 MiB",
               "the same at a tenth of the size (32 MiB)", 1.2, MS_PER_MIB)
    paired_row(table, figures, "HttpReceive", "Receiving 64 MiB from nginx",
               "`curl -0` of the same URL, its process start left out", 1.15)
    paired_row(table, figures, "ParseRepeatedHeader", "Parsing 40,000 repeats of one header, 8 at a time",
               "40,000 names each its own, the same size", 2.5)

    for page in ("html", "noise"):
        def peak(page=page):
            line = memory[page]
            extra = (line["peak_kib"] - line["idle_kib"]) * 1024 / line["page_bytes"]
            return f"{extra:.2f} page sizes", extra <= 4
        table.add(f"Peak memory delivering 16 MiB of {page}", "the idle process with the page in hand",
                  "at most 4 page sizes", peak)

    def header_block_peak():
        line = memory["headers"]
        extra = (line["peak_kib"] - line["idle_kib"]) * 1024 / line["page_bytes"]
        return f"{extra:.2f} block sizes", extra <= 15
    table.add("Peak memory parsing and delivering a header block of 1,000,000 lines (13 MiB)",
              "the idle process, without the block", "at most 15 block sizes", header_block_peak)

    if "Copy" in figures:
        copy = figures["Copy"]
        figures["CopyCpu"] = {"clock": "cpu", "ours": copy["ours_cpu"], "peer": copy["peer_cpu"]}
    paired_row(table, figures, "Copy", "Copying 1 GiB, pauses left out",
               "`cp` of the same file, its process start left out", 1.10, SECONDS,
               lambda f: "" if f["page_cache_dropped"] else "; page cache not emptied (root only)")
    paired_row(table, figures, "CopyCpu", "CPU time of the same copies", "cp's, its process start's left out",
               1.05, SECONDS)

    def pause_cpu():
        p = figures["CopyPauses"]
        percent = 100 * p["cpu_seconds"] / p["wall_seconds"]
        return f"{percent:.2f} % over {p['count']} pauses", percent < 5
    table.add("CPU of the copy's pauses", "their wall-clock time", "under 5 % of one core", pause_cpu)

    def resident():
        r = read_object(f"{folder}/resident.json")
        kept = (r["after_kib"] - r["idle_kib"]) / 1024
        return (f"{kept:.1f} MiB above {r['idle_kib'] / 1024:.1f} MiB idle "
                f"({r['after_large_kib'] / 1024:.0f} MiB with the page in hand)"), kept <= 64
    table.add("Resident memory after a 512 MiB page, four small ones and a Status", "the same process idle before",
              "at most 64 MiB above it", resident)

    def out_of_descriptors():
        e = read_object(f"{folder}/emfile.json")
        return f"{e['cpu_percent']:.2f} % over {e['seconds']} s", e["cpu_percent"] < 1
    table.add("CPU with no descriptor to spare and peers knocking (`emfile_cpu.sh`)", "the seconds it ran",
              "under 1 % of one core", out_of_descriptors)
    return 0 if table.print() else 1


if __name__ == "__main__":
    sys.exit(main())
