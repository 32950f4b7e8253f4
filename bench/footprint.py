#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""What the libraries weigh, and what a daemon that uses them has for itself: compared with the
budgets in footprint/budgets.json. Tables in Markdown; exit status 1 when a budget is exceeded.

usage: footprint.py BUILD_DIR...     each named size-TARGET and built as MinSizeRel
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
LIBRARIES = {
    "libzol": "libzol.so",
    "libevlp": "platform/evlp/libevlp.so",
    "libxexec": "platform/xexec/libxexec.so",
    "libevlp_sim": "platform/sim/libevlp_sim.so",
}


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def cached(build, name):
    """A value of a build folder's CMake cache."""
    text = (build / "CMakeCache.txt").read_text()
    return re.search(rf"^{name}:[A-Z]+=(.*)$", text, re.MULTILINE)[1]


def sections(library):
    """Sizes of the sections by name; what is not loaded is left out."""
    sizes = {}
    for line in output("readelf", "-SW", library).splitlines():
        columns = re.sub(r"^\s*\[\s*\d+\]", "", line).split()
        if len(columns) > 9 and columns[0].startswith(".") and "A" in columns[6]:
            sizes[columns[0]] = int(columns[4], 16)
    return sizes


def weigh(build, library):
    """The columns of the first table, by name."""
    with tempfile.NamedTemporaryFile() as stripped:
        output(cached(build, "CMAKE_STRIP"), "-o", stripped.name, build / LIBRARIES[library])
        sizes = sections(stripped.name)
        symbols = output("nm", "-D", "--defined-only", stripped.name).splitlines()
        relocations = output("readelf", "-rW", stripped.name).splitlines()
        data = [".data", ".data.rel.ro", ".dynamic", ".got", ".got.plt", ".init_array", ".fini_array"]
        return {
            "file": pathlib.Path(stripped.name).stat().st_size,
            "code": sizes.get(".text", 0) + sizes.get(".plt", 0) + sizes.get(".plt.got", 0),
            "constants": sizes.get(".rodata", 0),
            "names": sum(sizes.get(name, 0) for name in (".dynsym", ".dynstr", ".gnu.hash")),
            "unwinding": sum(
                size
                for name, size in sizes.items()
                if name.startswith((".eh_frame", ".gcc_except", ".ARM.ex"))
            ),
            "data": sum(sizes.get(name, 0) for name in data),
            "bss": sizes.get(".bss", 0),
            # Absolute symbols are the names of versions.
            "exports": sum(1 for line in symbols if " A " not in line),
            "relocations": sum(1 for line in relocations if re.match(r"[0-9a-f]{8}", line)),
        }


def measure_daemon(build, catalogs):
    """What bench/footprint/idle_daemon.cc prints, by name."""
    text = output(build / "bench/footprint/idle_daemon", catalogs)
    return {name: int(value) for name, value in (line.split() for line in text.splitlines())}


class Table:
    def __init__(self, *titles):
        print("|", " | ".join(titles), "|")
        print("|", " | ".join("---" if i < 1 else "---:" for i in range(len(titles))), "|")

    def row(self, *cells):
        print("|", " | ".join(str(cell) for cell in cells), "|")


class Budgets:
    def __init__(self):
        self.values = json.loads((HERE / "footprint/budgets.json").read_text())
        self.exceeded = []

    def check(self, what, value, most):
        if value > most:
            self.exceeded.append(f"{what}: {value}, of {most} allowed")


def main():
    builds = {path.name.removeprefix("size-"): path for path in map(pathlib.Path, sys.argv[1:])}
    budgets = Budgets()

    columns = ["file", "code", "constants", "names", "unwinding", "data", "bss", "exports"]
    columns.append("relocations")
    table = Table("target, library", *columns, "budget of the file")
    for target, build in builds.items():
        for library in LIBRARIES:
            weight = weigh(build, library)
            most = budgets.values["files"][target][library]
            table.row(f"{target}, {library}", *(weight[name] for name in columns), most)
            budgets.check(f"{target}, file of {library}", weight["file"], most)
            for what in ("exports", "relocations"):
                budgets.check(f"{target}, {what} of {library}", weight[what],
                              budgets.values[what][library])

    print()
    table = Table("target", "idle daemon", "timer", "descriptor", "with an idle time-out")
    for target, build in builds.items():
        if target not in budgets.values["memory"]:
            continue
        most = budgets.values["memory"][target]
        memory = measure_daemon(build, builds["host"] / "catalogs/%s/texts.cat")
        table.row(target, *(f"{memory[name]} (of {most[name]})" for name in most))
        for name in most:
            budgets.check(f"{target}, bytes for {name}", memory[name], most[name])

    for line in budgets.exceeded:
        print(f"OVER BUDGET: {line}", file=sys.stderr)
    return 1 if budgets.exceeded else 0


if __name__ == "__main__":
    sys.exit(main())
