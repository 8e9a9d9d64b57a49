#!/usr/bin/env python3
"""Judges qvcopybench's figures: the assistant's copy of a 1 GiB file against
cp's, pauses left out, and the CPU that the copy's pauses use. Exits 1 when a
goal is missed.
"""
import json
import statistics
import sys

GIB = 1024 ** 3
COPY_GOAL = 1.10      # at most this many times cp's time, pauses left out
PAUSE_CPU_GOAL = 5.0  # percent of one core during the pauses, below this


def verdict(met):
    return "met" if met else "NOT MET"


def copy_against_cp(copy):
    cp = statistics.median(copy["cp_seconds"])
    raw = copy["assistant_seconds"]
    reports = copy["progress_reports"]
    pauses = [n * copy["pause_seconds"] for n in reports]
    without_pauses = statistics.median(t - p for t, p in zip(raw, pauses))
    ratio = without_pauses / cp
    met = ratio <= COPY_GOAL
    size = copy["bytes"] / GIB
    print(f"Copy of {size:g} GiB, median of {len(raw)} alternating rounds: cp {cp:.3f} s; assistant "
          f"{statistics.median(raw):.3f} s with {'/'.join(map(str, sorted(set(reports))))} progress "
          f"report(s) a copy, {without_pauses:.3f} s without their 50 ms pauses; "
          f"ratio {ratio:.2f} (goal at most {COPY_GOAL:.2f}): {verdict(met)}")
    return met


def pause_cpu(pauses):
    percent = 100 * pauses["cpu_seconds"] / pauses["wall_seconds"]
    met = percent < PAUSE_CPU_GOAL
    print(f"CPU during {pauses['count']} pauses with the peer idle: {pauses['cpu_seconds'] * 1e3:.1f} ms in "
          f"{pauses['wall_seconds']:.2f} s, {percent:.2f} % of one core "
          f"(goal under {PAUSE_CPU_GOAL:g} %): {verdict(met)}")
    return met


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        figures = json.load(file)
    results = [copy_against_cp(figures["copy"]), pause_cpu(figures["pauses"])]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
