#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Checks who includes whom: the floors of the library, and that public headers form no circle.

usage: floors.py SOURCE_DIR
"""

import pathlib
import re
import sys

# What each room may include of its own tree, besides its own folder.
PUBLIC = {
    "export.h": set(),
    "version.h": set(),
    **dict.fromkeys(["alloc.h", "list.h", "log.h", "time.h"], {"export.h"}),
    "sbuf.h": {"export.h", "alloc.h"},
    "event.h": {"export.h", "time.h"},
    "tab.h": {"sbuf.h"},
    "str.h": {"alloc.h"},
    "sock.h": {"str.h"},
    "server.h": {"event.h", "list.h", "str.h"},
}
CORE = {"alloc.h", "export.h", "list.h", "log.h", "sbuf.h", "str.h", "tab.h"}
EVENT = CORE | {"time.h", "event.h"}
ROOMS = {
    "core": (CORE, set()),
    "event": (EVENT, {"evlp/evlp.h"}),
    "net": (EVENT | {"sock.h", "server.h"}, set()),
    "platform/evlp": (set(), {"evlp/evlp.h"}),
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def includes(path):
    return INCLUDE.findall(path.read_text())


def main():
    root = pathlib.Path(sys.argv[1])
    problems = []
    for path in sorted((root / "include/zol").glob("*.h")):
        allowed = PUBLIC.get(path.name)
        for name in includes(path):
            if path.name == "zol.h":
                continue
            if allowed is None or not name.startswith("zol/") or name[4:] not in allowed:
                problems.append(f"include/zol/{path.name} includes {name}")
    sources = 0
    for room, (headers, services) in ROOMS.items():
        for path in sorted((root / room).rglob("*")):
            if path.suffix not in (".h", ".cc"):
                continue
            sources += 1
            for name in includes(path):
                public = name.startswith("zol/") and name[4:] in headers
                own = "/" not in name and (path.parent / name).exists()
                crossing = name == "core/diag.h" and room != "platform/evlp"
                if not (public or own or crossing or name in services):
                    problems.append(f"{path.relative_to(root)} includes {name}")
    for problem in problems:
        print(problem)
    if sources < 20:
        sys.exit(f"only {sources} sources found")
    if problems:
        sys.exit(1)
    print(f"{sources} sources keep to their floors")


main()
