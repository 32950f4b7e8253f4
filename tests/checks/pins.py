#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Every deliberate oddity in the sources names a test that pins it, and that test exists.

usage: pins.py SOURCE_DIR
"""

import pathlib
import re
import sys

# Folders whose comments are not about the library's oddities.
OTHERS = {"tests", "bench", "examples", "build", "stage", ".git"}

TEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
DELIBERATE = re.compile(r"Deliberate:(.*?)\n(?!\s*//)", re.DOTALL)
PIN = re.compile(r"\b([A-Z]\w+)\.(\w+)")


def main():
    root = pathlib.Path(sys.argv[1])
    tests = set()
    for path in (root / "tests").rglob("*_test.cc"):
        tests.update(f"{suite}.{name}" for suite, name in TEST.findall(path.read_text()))
    pins = 0
    problems = []
    for folder in sorted(root.iterdir()):
        if not folder.is_dir() or folder.name in OTHERS:
            continue
        for path in sorted([*folder.rglob("*.cc"), *folder.rglob("*.h")]):
            for match in DELIBERATE.finditer(path.read_text()):
                comment = re.sub(r"\s*//\s*", " ", match.group(1))
                named = re.search(r"Pinned by(.*)", comment)
                names = PIN.findall(named.group(1)) if named else []
                if not names:
                    problems.append(f"{path.relative_to(root)}: no test named:{comment}")
                for suite, name in names:
                    pins += 1
                    if f"{suite}.{name}" not in tests:
                        problems.append(f"{path.relative_to(root)}: no test {suite}.{name}")
    for problem in problems:
        print(problem)
    if problems or pins < 10:
        sys.exit(1)
    print(f"{pins} oddities are pinned by tests")


main()
