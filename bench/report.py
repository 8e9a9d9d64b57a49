#!/usr/bin/env python3
"""Prints each benchmark figure next to its peer from the same run, and whether
its goal is met. Reads Google Benchmark's JSON output, taking the median when
the run had repetitions, and, when given, qvbench_memory's lines of JSON.
Exits 1 when a goal is missed or a figure is absent.

Usage: report.py bench.json [memory.json]
"""
import json
import sys

MIB = 1024 * 1024
OVERHEAD_GOAL = 0.10  # at most this much slower than zlib alone
FLATNESS_GOAL = 1.2   # time per MiB at ten times the size, over that at the smaller size
RECEIVE_GOAL = 1.5    # HTTPSocket's time for a 64 MiB body over curl's
DELIVERY_GOAL = 1.2   # delivering a page over compressing and encoding its report alone
MEMORY_GOAL = 4.0     # peak memory of a delivery above the idle process, in page sizes
HEADER_GOAL_MS = 50.0  # parsing 40,000 repeats of one header name


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


def milliseconds(run):
    scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[run["time_unit"]]
    return run["real_time"] * scale


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


def receive(runs):
    title = "Receiving 64 MiB from nginx"
    run = next((r for name, r in runs.items() if name.startswith("BM_HttpReceive")), None)
    if run is None:
        print(f"{title}: not measured")
        return False
    ratio = run["socket_ms"] / run["curl_ms"]
    met = ratio <= RECEIVE_GOAL
    print(f"{title}: HTTPSocket {run['socket_ms']:.1f} ms, curl {run['curl_ms']:.1f} ms; "
          f"ratio {ratio:.2f} (goal at most {RECEIVE_GOAL}): {verdict(met)}")
    return met


def delivery(runs):
    title = "Delivering an 8 MiB page (sendPageToQuorvane to the peer)"
    ours = next((r for name, r in runs.items() if name.startswith("BM_DeliverPage")), None)
    peer = next((r for name, r in runs.items() if name.startswith("BM_CompressAndEncodeReport")), None)
    if ours is None or peer is None:
        print(f"{title}: not measured")
        return False
    ratio = milliseconds(ours) / milliseconds(peer)
    met = ratio <= DELIVERY_GOAL
    print(f"{title}: {milliseconds(ours):.1f} ms, compress and Base64 of its report alone "
          f"{milliseconds(peer):.1f} ms; ratio {ratio:.2f} (goal at most {DELIVERY_GOAL}): {verdict(met)}")
    return met


def headers(runs):
    title = "Parsing 40,000 repeats of one header"
    run = runs.get("BM_ParseRepeatedHeader/40000")
    if run is None:
        print(f"{title}: not measured")
        return False
    met = milliseconds(run) < HEADER_GOAL_MS
    print(f"{title}: {milliseconds(run):.1f} ms (goal under {HEADER_GOAL_MS:g} ms): {verdict(met)}")
    return met


def memory(path):
    """One figure per line of qvbench_memory's output; False when there are none."""
    if path is None:
        print("Peak memory of a delivery: not measured")
        return [False]
    with open(path, encoding="utf-8") as file:
        lines = [json.loads(line) for line in file if line.strip()]
    if not lines:
        print("Peak memory of a delivery: not measured")
        return [False]
    results = []
    for line in lines:
        extra = (line["peak_kib"] - line["idle_kib"]) * 1024 / line["page_bytes"]
        met = extra <= MEMORY_GOAL
        print(f"Peak memory delivering {line['page_bytes'] / MIB:g} MiB of {line['page']}: "
              f"{line['idle_kib'] / 1024:.1f} MiB idle (page in hand), {line['peak_kib'] / 1024:.1f} MiB at peak; "
              f"{extra:.2f} page sizes above idle (goal at most {MEMORY_GOAL:g}): {verdict(met)}")
        results.append(met)
    return results


def main():
    runs = read_runs(sys.argv[1])
    rates = {name: run["bytes_per_second"] for name, run in runs.items() if "bytes_per_second" in run}
    results = [
        overhead(rates, "Packing 8 MiB (MakeFrame)", "BM_PackFrame", "BM_ZlibCompress"),
        overhead(rates, "Unpacking 8 MiB (DecodePayload)", "BM_UnpackPayload", "BM_ZlibUncompress"),
        flatness(rates, "Small frames in one read", "BM_IntakeSmallFrames", "frames"),
        flatness(rates, "One frame in 4 KiB reads", "BM_IntakeLargeFrame", "bytes"),
        receive(runs),
        delivery(runs),
        headers(runs),
        *memory(sys.argv[2] if len(sys.argv) > 2 else None),
    ]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
