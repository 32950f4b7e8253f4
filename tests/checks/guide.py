#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""The programs, transcripts and texts in docs/guide.md are the files of examples/guide.

usage: guide.py SOURCE_DIR
"""

import pathlib
import re
import sys

LANGUAGES = {".cc": "cpp", ".c": "c", ".txt": "text"}
ONLY_NAMED = {"CMakeLists.txt", "fr.msg"}

root = pathlib.Path(sys.argv[1])
page = (root / "docs/guide.md").read_text()
shown = re.findall(r"^```(\w+)\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)
files = sorted(path for path in (root / "examples/guide").rglob("*") if path.is_file())
for path in files:
    if path.name in ONLY_NAMED:
        continue
    block = (LANGUAGES.get(path.suffix, "text"), path.read_text().split("\n", 2)[2])
    if block not in shown:
        sys.exit(f"docs/guide.md does not show {path.relative_to(root)} as it is")
    shown.remove(block)
if shown:
    sys.exit(f"docs/guide.md shows what is no file of examples/guide: {shown[0][1]}")
steps = re.findall(r"^## (\d)\. ", page, re.MULTILINE)
if steps != list("1234567") or len(files) < 25:
    sys.exit(f"docs/guide.md has the steps {steps}, examples/guide {len(files)} files")
print("docs/guide.md tells the truth")
