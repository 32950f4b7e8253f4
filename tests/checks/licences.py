#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Every file says who wrote it and under which licence: in itself, in a .license file beside it, or,
where its bytes are all that counts, in .reuse/dep5.

usage: licences.py SOURCE_DIR
"""

import fnmatch
import os
import pathlib
import re
import sys

SKIPPED = {".git", ".reuse", "build", "stage", "__pycache__", "LICENSES"}


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
    patterns = re.findall(r"^Files: (.*)$", (root / ".reuse/dep5").read_text(), re.MULTILINE)
    checked = [path for path in files(root) if path.name != "LICENSE"]
    named = [path for path in checked
             if any(fnmatch.fnmatchcase(str(path.relative_to(root)), p) for p in patterns)]
    missing = [path for path in checked if path not in named and not is_labelled(path)]
    for path in missing:
        print(f"{path.relative_to(root)}: no SPDX lines")
    if missing or len(checked) < 50 or not named:
        sys.exit(1)
    print(f"{len(checked)} files are labelled, {len(named)} of them in .reuse/dep5")


main()
