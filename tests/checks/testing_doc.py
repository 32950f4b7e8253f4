#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""The tests in docs/testing.md are those that are built, and what the page names there is.

usage: testing_doc.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
page = (root / "docs/testing.md").read_text()
header = (root / "platform/sim/include/evlp/sim.h").read_text()
shown = re.findall(r"```cpp\n(.*?)```", page, re.DOTALL)
built = [(root / f"examples/{name}_test.cc").read_text().split("\n", 2)[2]
         for name in ("lamp", "memory")]
if shown != built:
    sys.exit("docs/testing.md shows other programs than examples/lamp_test.cc and memory_test.cc")
for name in sorted(set(re.findall(r"\b(?:evlp_sim_\w+(?=\()|EVLP_SIM_\w+)", page))):
    if not re.search(rf"\b{name}\b", header):
        sys.exit(f"docs/testing.md names {name}, which evlp/sim.h does not have")
for name in re.findall(r"EVLP_API .*?(evlp_sim_\w+)\(", header):
    if name not in page and name not in ("evlp_sim_now", "evlp_sim_date", "evlp_sim_countCalls",
                                         "evlp_sim_getCall"):
        sys.exit(f"docs/testing.md does not name {name}()")
print("docs/testing.md tells the truth")
