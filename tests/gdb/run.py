#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Lets gdb stop a program and show its values: it has to find how to show them by itself, and to show
them as the transcript says, to the letter. (Addresses of more than two digits are 0x....)

usage: run.py GDB PROGRAM LIBRARY PRINTERS TRANSCRIPT
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

MARK = "--- "


def shown(gdb, program, library, printers, commands):
    with tempfile.TemporaryDirectory() as folder:
        # As it is installed, but for the folder, which only the system's administrator may trust.
        work = pathlib.Path(folder)
        found = work / "auto-load" / library.relative_to("/")
        found.parent.mkdir(parents=True)
        shutil.copy(printers, found.with_name(found.name + "-gdb.py"))
        steps = [step for number, command in enumerate(commands)
                 for step in (f"echo {MARK}{number}\\n", command)]
        arguments = [gdb, "-nx", "-batch", "-iex", "set debuginfod enabled off",
                     "-iex", f"set auto-load scripts-directory {work}/auto-load",
                     "-iex", f"add-auto-load-safe-path {work}",
                     "-ex", "set width 0", "-ex", "set startup-with-shell off",
                     "-ex", "break look", "-ex", "run"]
        for step in steps:
            arguments += ["-ex", step]
        result = subprocess.run([*arguments, program], stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                timeout=120, check=False)
    parts = re.split(rf"^{MARK}\d+\n", result.stdout, flags=re.MULTILINE)
    if len(parts) != len(commands) + 1:
        sys.exit(f"gdb did not get to the end:\n{result.stdout}")
    return [re.sub(r"0x[0-9a-f]{3,}", "0x...", part) for part in parts[1:]]


def main():
    gdb, program, library, printers, transcript = sys.argv[1:6]
    text = pathlib.Path(transcript).read_text().split("\n", 2)[2]
    commands = re.findall(r"^\(gdb\) (.*)$", text, re.MULTILINE)
    answers = shown(gdb, program, pathlib.Path(library).resolve(), printers, commands)
    # Results are numbered by gdb; what stands before them says nothing.
    said = "".join(f"(gdb) {command}\n{re.sub(r'^[$][0-9]+ = ', '', answer)}"
                   for command, answer in zip(commands, answers))
    if said != text:
        wanted, got = text.splitlines(), said.splitlines()
        for line in range(max(len(wanted), len(got))):
            if wanted[line:line + 1] != got[line:line + 1]:
                print(f"line {line + 3}:\nexpected {wanted[line:line + 1]}\ngot      "
                      f"{got[line:line + 1]}")
                break
        print(f"all of it:\n{said}")
        sys.exit(1)
    print(f"{len(commands)} commands: gdb shows what it should")


main()
