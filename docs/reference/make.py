#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Makes the reference of what the public headers say: OUT_DIR/html, and manual pages for section 3
in OUT_DIR/man: one for each header, class and function. The same sources give the same bytes.

usage: make.py SOURCE_DIR OUT_DIR
"""

import html.parser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.parse

sys.dont_write_bytecode = True  # not into the sources

import man


def version(source):
    lines = (source / "include/zol/version.h").read_text()
    return ".".join(re.findall(r"#define ZOL_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", lines))


def run_doxygen(source, out):
    """Everything that is not documented, or not right, is an error."""
    environment = {**os.environ, "OUT": str(out), "VERSION": version(source), "LC_ALL": "C.UTF-8"}
    found = subprocess.run(["doxygen", "docs/reference/Doxyfile"], cwd=source, env=environment,
                           capture_output=True, text=True)
    complaints = found.stdout + found.stderr
    if found.returncode != 0 or complaints:
        sys.exit(complaints or "doxygen failed")


class Links(html.parser.HTMLParser):
    """The places that a page points to, and those in it that can be pointed to."""

    def __init__(self, text):
        super().__init__()
        self.targets = set()
        self.anchors = set()
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("href", "src") and value:
                self.targets.add(value)
            elif name in ("id", "name") and value:
                self.anchors.add(value)


def broken_links(folder):
    pages = {path.name: Links(path.read_text()) for path in sorted(folder.glob("*.html"))}
    for name, page in pages.items():
        for target in sorted(page.targets):
            link = urllib.parse.urlsplit(target)
            if link.scheme or link.netloc:
                continue
            file = urllib.parse.unquote(link.path) or name
            if not (folder / file).exists():
                yield f"{name}: no {target}"
            elif file in pages and link.fragment and link.fragment not in pages[file].anchors:
                yield f"{name}: no place {target}"


def files_with(folder, texts):
    for path in sorted(folder.rglob("*")):
        if path.is_file() and any(text.encode() in path.read_bytes() for text in texts):
            yield f"{path.relative_to(folder)}: has a path of this machine"


def main():
    source, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        run_doxygen(source, work)
        date = re.search(r"^\.Dd (.*)$", (source / "tools/zolcat/zolcat.1").read_text(), re.M)
        man.write_pages(work / "xml", work / "man/man3", version(source), date.group(1))
        shutil.rmtree(work / "xml")
        problems = [*broken_links(work / "html"), *files_with(work, [str(source), str(work)])]
        if problems:
            sys.exit("\n".join(problems))
        for part in ("html", "man"):
            shutil.rmtree(out / part, ignore_errors=True)
            shutil.copytree(work / part, out / part)
    pages = len(list((out / "man/man3").iterdir()))
    print(f"{out}/html/index.html, and {pages} manual pages in {out}/man")


main()
