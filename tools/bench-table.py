#!/usr/bin/env python3
"""Runs the benchmarks and prints the table of docs/performance.md.

    tools/bench-table.py [--bench PROGRAM] [--repetitions N] [--min-time SECONDS]
                         [--without-traces PROGRAM] [--only REGEX]

Every figure of the engine stands beside its floor of the same run: the least work that any engine
has to do for the same input. With --without-traces the program of a build with the CMake option
MRP_WITHOUT_TRACES is measured beside it, in turns, and its part is a row of the table. Ends with
status 1 when a benchmark failed.
"""

import argparse
import json
import os
import platform
import statistics
import subprocess
import sys
import tempfile

SIZES = ["1000", "10000", "100000"]
# Figure and floor. What they are is in docs/performance.md.
ROWS = (
    [("Receive/MvrpRefresh/4094", "Floor/DecodeStepArray/4094"),
     ("Receive/MvrpJoin/4094", "Floor/DecodeStepArray/4094")]
    + [(f"Receive/MsrpListenerRandom/{n}", f"Floor/FlatRandom/{n}") for n in SIZES]
    + [(f"Receive/MsrpListenerRun/{n}", f"Floor/FlatRun/{n}") for n in SIZES]
    + [("Transmit/LeaveAll/4094", "Floor/Encode/4094"),
       ("Receive/LeaveAll/4094", None),
       ("Receive/LeaveAllStorm", None),
       ("Timer/LeaveExpiry/10000", "Floor/WheelExpire"),
       ("Start/Active/10000", None),
       ("Start/Active/100000", None),
       ("Wire/RoundTrip", "Floor/WireRoundTrip"),
       ("Memory/Attribute", None)])
GROWTH = ("Receive/MsrpListenerRandom", "Receive/MsrpListenerRun")
TRACED = "Receive/MvrpRefresh/4094"
ONCE = "Memory/Attribute"  # big, and the same every time
NANO = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def fail(text):
    sys.exit(f"bench-table: {text}")


def run(program, pattern, repetitions, min_time):
    """Every run by name, as Google Benchmark's JSON tells of it."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        status = subprocess.run(
            [program, f"--benchmark_filter={pattern}", f"--benchmark_repetitions={repetitions}",
             f"--benchmark_min_time={min_time}",
             f"--benchmark_out={out.name}", "--benchmark_out_format=json"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode
        try:
            runs = json.load(out)["benchmarks"]
        except (ValueError, KeyError):
            fail(f"{program} ended with status {status} and no result")
    found = {}
    for one in runs:
        if one.get("run_type") == "iteration":
            found.setdefault(one["name"], []).append(one)
    return found, status


class Figure:
    """The median of the repetitions of one benchmark."""

    def __init__(self, runs):
        self.error = next((r["error_message"] for r in runs if r.get("error_occurred")), None)
        if self.error is not None:
            return
        first = runs[0]
        self.whole = statistics.median(r["cpu_time"] * NANO[r["time_unit"]] for r in runs)
        self.unit = "ns"
        if "octets" in first:
            self.each = statistics.median(r["octets"] for r in runs)
            self.unit = "octets"
        elif "per_round_trip" in first:
            self.each = self.whole = 1e9 * statistics.median(r["per_round_trip"] for r in runs)
        else:
            self.each = 1e9 * statistics.median(r["per_value"] for r in runs)

    def per_value(self):
        digits = 2 if self.each < 10 else 1 if self.each < 1000 else 0
        return f"{self.each:,.{digits}f} {self.unit}"

    def total(self):
        if self.unit == "octets":
            return ""
        if self.whole >= 1e6:
            return f"{self.whole / 1e6:,.1f} ms"
        return f"{self.whole / 1e3:,.1f} µs"


def row(*cells):
    print("| " + " | ".join(cells) + " |")


def print_table(figures):
    row("figure", "a run", "a value", "floor, a value", "ratio")
    print("|---|---:|---:|---:|---:|")
    for name, floor_name in ROWS:
        figure, floor = figures.get(name), figures.get(floor_name)
        if figure is None:
            continue
        if figure.error is not None:
            row(f"`{name}`", figure.error, "", "", "")
        elif floor is None or floor.error is not None:
            row(f"`{name}`", figure.total(), figure.per_value(), "", "")
        else:
            row(f"`{name}`", figure.total(), figure.per_value(), floor.per_value(),
                f"{figure.each / floor.each:.1f}")


def print_growth(figures):
    for name in GROWTH:
        small, large = (figures.get(f"{name}/{size}") for size in (SIZES[0], SIZES[-1]))
        if small and large and small.error is None and large.error is None:
            row(f"`{name}`: a value at 100,000 beside one at 1,000", "", large.per_value(),
                small.per_value(), f"{large.each / small.each:.1f}")


def print_traces(program, without, repetitions, min_time):
    """In turns, so that what else runs on the machine meets both alike."""
    ours, theirs = [], []
    for _ in range(max(repetitions, 3)):
        for runs, which in ((ours, program), (theirs, without)):
            found, status = run(which, f"^{TRACED}$", 1, min_time)
            if status != 0 or TRACED not in found:
                fail(f"{which}: {TRACED} failed")
            runs += found[TRACED]
    ours, theirs = Figure(ours), Figure(theirs)
    row(f"`{TRACED}`: traces off beside traces compiled out", ours.total(), ours.per_value(),
        theirs.per_value(), f"{ours.each / theirs.each:.2f}")


def print_machine(program):
    model = "unknown CPU"
    try:
        with open("/proc/cpuinfo", encoding="ascii", errors="replace") as cpus:
            model = next(line.split(":", 1)[1].strip() for line in cpus
                         if line.startswith("model name"))
    except (OSError, StopIteration):
        pass
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True,
                              check=False).stdout.strip()
    print(f"{model}, {os.cpu_count()} CPUs, Linux {platform.release()}, g++ {compiler}, "
          f"load {os.getloadavg()[0]:.1f}, {os.path.relpath(program)}\n")


def main():
    parser = argparse.ArgumentParser(description="benchmarks, each beside its floor")
    parser.add_argument("--bench", default="build/release/bin/mrp-bench")
    parser.add_argument("--without-traces", metavar="PROGRAM")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.1)
    parser.add_argument("--only", default=".", metavar="REGEX")
    arguments = parser.parse_args()
    for program in filter(None, (arguments.bench, arguments.without_traces)):
        if not os.access(program, os.X_OK):
            fail(f"{program}: no program")

    print_machine(arguments.bench)
    pattern = arguments.only if arguments.only != "." else f"-^({ONCE}|Propagation/.*)$"
    found, status = run(arguments.bench, pattern, arguments.repetitions, arguments.min_time)
    if arguments.only == ".":
        once, once_status = run(arguments.bench, f"^{ONCE}$", 1, arguments.min_time)
        found.update(once)
        status = status or once_status
    figures = {name: Figure(runs) for name, runs in found.items()}
    print_table(figures)
    print_growth(figures)
    if arguments.without_traces:
        print_traces(arguments.bench, arguments.without_traces, arguments.repetitions,
                     arguments.min_time)
    sys.exit(1 if status else 0)


if __name__ == "__main__":
    main()
