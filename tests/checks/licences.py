#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Every file says who wrote it and under which licence, in itself or in a .license file beside it.

usage: licences.py SOURCE_DIR
"""

import os
import pathlib
import sys

# Inputs of fuzz targets, in "corpus", have no room for comments.
SKIPPED = {".git", "build", "stage", "__pycache__", "LICENSES", "corpus"}


def files(root):
    for folder, folders, names in os.walk(root):
        folders[:] = [f for f in folders if f not in SKIPPED]
        for name in names:
            yield pathlib.Path(folder) / name


def is_labelled(path):
    beside = path.with_name(path.name + ".license")
    text = (beside if beside.exists() else path).read_bytes()[:1000]
    return b"SPDX-FileCopyrightText:" in text and b"SPDX-License-Identifier:" in text


def main():
    root = pathlib.Path(sys.argv[1])
    checked = [path for path in files(root) if path.name != "LICENSE"]
    missing = [path for path in checked if not is_labelled(path)]
    for path in missing:
        print(f"{path.relative_to(root)}: no SPDX lines")
    if missing or len(checked) < 50:
        sys.exit(1)
    print(f"{len(checked)} files are labelled")


main()
