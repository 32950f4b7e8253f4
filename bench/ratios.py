#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Runs the benchmark programs and prints how libzol compares with its peers, as Markdown tables.

Every measurement is repeated, those of a program in random order, so that what disturbs the
machine for a while does not hit one peer alone; the tables show medians.
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import sys

PEERS = ["zol", "zol_own", "zol_buffer", "evlp", "limit", "std", "libevent", "libevent_exact", "libuv", "glib",
         "gettext", "catgets", "posix_spawn", "openssl", "open_memstream", "fmemopen", "iconv"]

# What some programs count besides.
COUNTS = {"system_calls": "system calls", "dirty": "bytes dirty", "mapped": "bytes mapped"}

# Program, heading, and what a quick run leaves out of it.
PROGRAMS = [
    ("dispatch_bench", "Dispatch of descriptors", "/10000"),
    ("timer_bench", "Timers", "/1000000"),
    ("period_bench", "Periodic timers", "/none"),
    ("sched_bench", "Schedules", "/100000"),
    ("echo_bench", "Servers", "/1000"),
    ("str_bench", "Strings", "/(1024|16384|65536)"),
    ("tab_bench", "Tables", "/(16384|65536)"),
    ("list_bench", "Lists", "/10000"),
    ("cat_bench", "Message catalogs", "/none"),
    ("codec_bench", "Digests and base64", "/1048576"),
    ("memstream_bench", "Streams on memory", "/1048576"),
    ("plain_bench", "Text made plain", "/65536"),
    ("process_bench", "Child processes", "/none"),
]
BURST = ("burst_bench", "Bursts of connections", "/(32|256)")


def run(program, options):
    """The measurements of a program, as its JSON report lists them."""
    command = [program, "--benchmark_format=json", *options]
    # What the program and the C library say on the error stream is of no interest, unless it fails.
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode != 0:
        sys.exit(f"{program.name} failed ({result.returncode}):\n{result.stderr}")
    measurements = json.loads(result.stdout)["benchmarks"]
    return sorted(measurements, key=lambda measurement: measurement["family_index"])


def print_table(header, rows):
    rows = [header] + [[str(cell) for cell in row] for row in rows]
    widths = [max(len(row[i]) for row in rows) for i in range(len(header))]
    rows.insert(1, ["-" * width for width in widths])
    for row in rows:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")
    print(flush=True)


def number(value):
    """About three digits, without an exponent."""
    if value >= 99.95:
        return f"{value:.0f}"
    return f"{value:.1f}" if value >= 9.995 else f"{value:.2f}"


class Row:
    """One kind of work, of one size, as done by all peers."""

    def __init__(self):
        self.ns = {}
        self.counts = {}

    def add(self, peer, ns, measurement):
        self.ns.setdefault(peer, []).append(ns)
        for name in ["allocations", *COUNTS]:
            if name in measurement:
                self.counts.setdefault((name, peer), []).append(measurement[name])

    def time(self, peer):
        return statistics.median(self.ns[peer])

    def cell(self, peer):
        if peer not in self.ns:
            return ""
        own = self.time(peer)
        if peer == "zol" or "zol" not in self.ns:
            return number(own)
        ratio = self.time("zol") / own
        return f"{number(own)} ({ratio:.2f})" if ratio >= 0.005 else f"{number(own)} (<0.01)"

    def count(self, name, peer):
        if (name, peer) not in self.counts:
            return ""
        median = statistics.median(self.counts[name, peer])
        return number(median) if median >= 0.005 else "0"


def tabulate(measurements):
    """The rows by (subject, size), and why peers were left out."""
    rows = {}
    skipped = []
    for measurement in measurements:
        if measurement.get("run_type") == "aggregate":
            continue
        subject, peer, size = measurement["run_name"].split("/")[:3]
        if measurement.get("error_occurred"):
            skipped.append(f"{subject}, {size}, {peer}: {measurement['error_message']}")
            continue
        operations = measurement["operations"]
        kinds = {subject: "cpu_time"}
        if "/manual_time" in measurement["run_name"]:
            kinds = {subject: "real_time"}
        elif "/real_time" in measurement["run_name"]:
            kinds = {subject: "real_time", subject + ", server": "cpu_time"}
        for kind, field in kinds.items():
            row = rows.setdefault((kind, int(size)), Row())
            row.add(peer, measurement[field] / operations, measurement)
    return rows, sorted(set(skipped))


def report(measurements):
    rows, skipped = tabulate(measurements)
    subjects = list(dict.fromkeys(subject for subject, _ in rows))
    keys = sorted(rows, key=lambda key: (subjects.index(key[0]), key[1]))
    peers = [peer for peer in PEERS if any(peer in row.ns for row in rows.values())]

    print("Nanoseconds per operation; in brackets zol / peer.\n")
    print_table(["work", "size", *peers],
                [[*key, *(rows[key].cell(peer) for peer in peers)] for key in keys])
    timed = [key for key in keys if (key[0] + ", server", key[1]) in rows]
    if timed:
        print("Operations per second.\n")
        print_table(["work", "size", *peers],
                    [[*key, *(f"{1e9 / rows[key].time(peer):.0f}" for peer in peers)]
                     for key in timed])
    allocations = [key for key in keys if not key[0].endswith(", server") and
                   len({rows[key].count("allocations", peer) for peer in peers} - {""}) > 1]
    if allocations:
        print("Allocations per operation, where they differ.\n")
        print_table(["work", "size", *peers],
                    [[*key, *(rows[key].count("allocations", peer) for peer in peers)]
                     for key in allocations])
    counts = [(key, name) for key in keys for name in COUNTS
              if any((name, peer) in rows[key].counts for peer in peers)]
    if counts:
        print("Counted besides.\n")
        print_table(["work", "size", "count", *peers],
                    [[*key, COUNTS[name], *(rows[key].count(name, peer) for peer in peers)]
                     for key, name in counts])
    for reason in skipped:
        print(f"Left out: {reason}\n")


def report_burst(measurements):
    """A row for each kind of burst and server, a column for each number of clients."""
    rows = {}
    for measurement in measurements:
        subject, peer, size = measurement["run_name"].split("/")[:3]
        family, accepted, loop = subject.split("_")
        at_once, later, refused = (round(measurement[name])
                                   for name in ("at_once", "later", "refused"))
        fates = {"later": later, "refused": refused,
                 "waiting": int(size) - at_once - later - refused}
        cell = ", ".join([str(at_once), *(f"{n} {fate}" for fate, n in fates.items() if n != 0)])
        accepted = "no" if accepted == "first" else "yes"
        rows.setdefault((family, accepted, loop, peer), {})[int(size)] = cell
    sizes = sorted({size for row in rows.values() for size in row})
    print("Clients that connect together: served at once, and those that were not.\n")
    print_table(["family", "accepted before", "loop", "server", *map(str, sizes)],
                [[*key, *(rows[key].get(size, "") for size in sizes)] for key in sorted(rows)])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", type=pathlib.Path, default=pathlib.Path("build/bench/bench"),
                        help="folder of the benchmark programs")
    parser.add_argument("--quick", action="store_true",
                        help="only see that all works: once, briefly, without the largest sizes")
    parser.add_argument("--filter", default="", help="only programs whose name contains this")
    arguments = parser.parse_args()

    timing = ["--benchmark_repetitions=7", "--benchmark_min_time=0.05",
              "--benchmark_enable_random_interleaving=true"]
    if arguments.quick:
        timing = ["--benchmark_min_time=0.005"]
    for name, heading, slow in [*PROGRAMS, BURST]:
        if arguments.filter not in name:
            continue
        options = timing if name != BURST[0] else []
        if arguments.quick:
            options = [*options, f"--benchmark_filter=-{slow}(/|$)"]
        measurements = run(arguments.programs / name, options)
        print(f"### {heading}\n")
        if name == BURST[0]:
            report_burst(measurements)
        else:
            report(measurements)


if __name__ == "__main__":
    main()
