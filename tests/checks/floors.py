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
    **dict.fromkeys(
        ["alloc.h", "cond.h", "file.h", "list.h", "log.h", "lyctx.h", "time.h"], {"export.h"}
    ),
    "sbuf.h": {"export.h", "alloc.h"},
    "event.h": {"export.h", "time.h"},
    "tab.h": {"sbuf.h"},
    "str.h": {"alloc.h"},
    "buffer.h": {"str.h", "tab.h"},
    "digest.h": {"str.h"},
    "cat.h": {"export.h", "str.h", "tab.h"},
    "sock.h": {"str.h"},
    "server.h": {"event.h", "list.h", "str.h"},
    "timer.h": {"event.h", "export.h", "tab.h", "time.h"},
    "sched.h": {"event.h", "export.h"},
    "plugin.h": {"export.h", "str.h", "tab.h"},
    "process.h": {"export.h"},
}
CORE = {"alloc.h", "buffer.h", "export.h", "list.h", "log.h", "sbuf.h", "str.h", "tab.h"}
EVENT = CORE | {"time.h", "event.h", "timer.h"}
ROOMS = {
    "core": (CORE, set()),
    "event": (EVENT, {"evlp/evlp.h"}),
    "cat": (CORE | {"cat.h"}, set()),
    "net": (EVENT | {"sock.h", "server.h"}, set()),
    "plugin": (EVENT | {"plugin.h", "process.h"}, {"xexec/xexec.h"}),
    "sched": (EVENT | {"sched.h"}, set()),
    "util": (CORE | {"cond.h", "digest.h", "file.h", "lyctx.h"}, set()),
    "platform/evlp": (set(), {"evlp/evlp.h"}),
    "platform/xexec": (set(), {"evlp/evlp.h", "xexec/xexec.h"}),
    # The same service, made of the same sources.
    "platform/sim": (
        set(),
        {"evlp/evlp.h", "evlp/sim.h"}
        | {f"platform/evlp/{name}.h" for name in ("deadlines", "kernel", "loop", "ready")},
    ),
}

# Folders with sources that are not the library's.
OTHERS = {"include", "tests", "bench", "fuzz", "tools", "examples", "build", "stage"}

# In quotes, or in angle brackets where it is ours.
INCLUDE = re.compile(
    r'^\s*#\s*include\s+(?:"([^"]+)"|'
    r"<((?:zol|evlp|xexec|core|cat|event|net|plugin|sched|util|platform)/[^>]+)>)",
    re.MULTILINE,
)


def includes(path):
    return [quoted or bracketed for quoted, bracketed in INCLUDE.findall(path.read_text())]


def unlisted_rooms(root):
    """Rooms with sources that ROOMS does not know: they would go unchecked."""
    for folder in sorted(root.iterdir()):
        if folder.name in OTHERS or folder.name.startswith("."):
            continue  # not entered: build folders are large, and change meanwhile
        for path in sorted(folder.rglob("*.cc")):
            room = path.relative_to(root).parts
            if room[0] not in ROOMS and "/".join(room[:2]) not in ROOMS:
                yield f"{path.relative_to(root)} is in no room"


def main():
    root = pathlib.Path(sys.argv[1])
    problems = list(unlisted_rooms(root))
    for path in sorted((root / "include/zol").glob("*.h")):
        allowed = PUBLIC.get(path.name)
        for name in includes(path):
            if path.name == "zol.h":
                continue
            if path.name == "process.h" and name == "xexec/xexec.h":
                continue  # it shows the record of the service
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
                crossing = name == "core/diag.h" and not room.startswith("platform/")
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
