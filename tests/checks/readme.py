#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""The daemon in the README is the one that is built, and the README names every public header.

usage: readme.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
readme = (root / "README.md").read_text()
shown = re.search(r"```cpp\n(.*?)```", readme, re.DOTALL).group(1)
built = (root / "examples/echo.cc").read_text().split("\n", 2)[2]
if shown != built:
    sys.exit("README.md shows another program than examples/echo.cc")
for header in sorted((root / "include/zol").glob("*.h")):
    if f"`zol/{header.name}`" not in readme:
        sys.exit(f"README.md does not name zol/{header.name}")
print("README.md tells the truth")
