#!/usr/bin/env python3
"""Prints each benchmark figure next to its peer from the same run, and whether
its goal is met. Reads Google Benchmark's JSON output; takes the median when
the run had repetitions. Exits 1 when a goal is missed or a figure is absent.
"""
import json
import sys

MIB = 1024 * 1024
OVERHEAD_GOAL = 0.10  # at most this much slower than zlib alone
FLATNESS_GOAL = 1.2   # time per MiB at ten times the size, over that at the smaller size


def read_rates(path):
    """Bytes per second of each run, by name; medians replace single runs."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    rates = {}
    for run in runs:
        if run.get("error_occurred"):
            continue
        median = run.get("aggregate_name") == "median"
        if run.get("run_type") == "aggregate" and not median:
            continue
        rates[run["run_name"]] = run["bytes_per_second"]
    return rates


def verdict(met):
    return "met" if met else "NOT MET"


def overhead(rates, title, ours, peer):
    if ours not in rates or peer not in rates:
        print(f"{title}: not measured")
        return False
    extra = rates[peer] / rates[ours] - 1
    met = extra <= OVERHEAD_GOAL
    print(f"{title}: {rates[ours] / MIB:.1f} MiB/s, zlib alone {rates[peer] / MIB:.1f} MiB/s; "
          f"overhead {extra * 100:+.1f} % (goal at most {OVERHEAD_GOAL * 100:.0f} %): {verdict(met)}")
    return met


def flatness(rates, title, family, unit):
    sizes = sorted(int(name.split("/")[1]) for name in rates if name.split("/")[0] == family)
    if len(sizes) != 2:
        print(f"{title}: not measured")
        return False
    small, large = (rates[f"{family}/{size}"] for size in sizes)
    ratio = small / large
    met = ratio <= FLATNESS_GOAL
    print(f"{title}: {sizes[0]:,} {unit} {1e3 * MIB / small:.3f} ms/MiB, {sizes[1]:,} {unit} "
          f"{1e3 * MIB / large:.3f} ms/MiB; ratio {ratio:.2f} (goal at most {FLATNESS_GOAL}): {verdict(met)}")
    return met


def main():
    rates = read_rates(sys.argv[1])
    results = [
        overhead(rates, "Packing 8 MiB (MakeFrame)", "BM_PackFrame", "BM_ZlibCompress"),
        overhead(rates, "Unpacking 8 MiB (DecodePayload)", "BM_UnpackPayload", "BM_ZlibUncompress"),
        flatness(rates, "Small frames in one read", "BM_IntakeSmallFrames", "frames"),
        flatness(rates, "One frame in 4 KiB reads", "BM_IntakeLargeFrame", "bytes"),
    ]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
