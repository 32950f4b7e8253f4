#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Runs steps of the guide, and compares what they say with their transcripts, to the letter.

A transcript has lines of these kinds; all others are what the program prints, on a terminal:
  $ COMMAND   starts the program (lampd stands for it); afterwards, a command that is waited for
  > LINE      a client sends a line to the program's socket
  < LINE      the client is answered this line
  ! TERM      the program gets SIGTERM
The program ends with status 0, and says nothing more.

usage: run.py --sources examples/guide --programs FOLDER --simulator EVLP_SIM \
              --language cc|c [--emulator COMMAND] STEP...
"""

import argparse
import os
import pathlib
import select
import shlex
import signal
import socket
import string
import subprocess
import sys
import tempfile
import termios
import time

PATIENCE = 120  # seconds, for what has to come


class Failure(Exception):
    pass


class Lines:
    """The lines that come from a descriptor."""

    def __init__(self, fd):
        self.fd = fd
        self.rest = b""

    def read(self):
        """The next line; None at the end."""
        deadline = time.monotonic() + PATIENCE
        while b"\n" not in self.rest:
            if not select.select([self.fd], [], [], max(0, deadline - time.monotonic()))[0]:
                raise Failure(f"nothing comes after {self.rest!r}")
            try:
                more = os.read(self.fd, 4096)
            except OSError:  # how the end of a terminal is told
                more = b""
            if not more:
                if self.rest:
                    raise Failure(f"the last line has no end: {self.rest!r}")
                return None
            self.rest += more
        line, self.rest = self.rest.split(b"\n", 1)
        return line.decode()


class Step:
    def __init__(self, options, name, folder):
        self.program = str(options.programs / f"{name}_{options.language}")
        self.transcript = (options.sources / f"{name}.txt").read_text().splitlines()[2:]
        self.simulator = str(options.simulator)
        self.emulator = options.emulator
        self.values = {
            "SOCKET": f"{folder}/socket", "CLOCK": f"{folder}/clock", "FOLDER": folder,
            "TEXTS": str(options.programs),
            "DRIVER": str(options.programs / f"6_driver_{options.language}.so"),
        }
        self.process = None
        self.client = None

    def command(self, text):
        words = [string.Template(word).substitute(self.values) for word in shlex.split(text)]
        words = [self.program if word == "lampd" else word for word in words]
        if words[0] == "evlp-sim":
            words[0] = self.simulator
        return [*self.emulator, *words]

    def start(self, text):
        if self.process is not None:
            subprocess.run(self.command(text), check=True, timeout=PATIENCE)
            return
        # On a terminal, as the reader has it: what is printed comes line by line.
        ours, theirs = os.openpty()
        settings = termios.tcgetattr(theirs)
        settings[1] &= ~termios.OPOST
        termios.tcsetattr(theirs, termios.TCSANOW, settings)
        # The simulator is loaded before the sanitizers' library.
        environment = {**os.environ, "LC_ALL": "C", "TZ": "UTC0",
                       "ASAN_OPTIONS": "verify_asan_link_order=0"}
        self.process = subprocess.Popen(self.command(text), stdin=theirs, stdout=theirs,
                                        stderr=theirs, env=environment)
        os.close(theirs)
        self.output = Lines(ours)

    def send(self, line):
        if self.client is None:
            self.client = socket.socket(socket.AF_UNIX)
            self.client.connect(self.values["SOCKET"])
            self.answers = Lines(self.client.fileno())
        self.client.sendall(line.encode() + b"\n")

    @staticmethod
    def expect(lines, wanted):
        line = lines.read()
        if line != wanted:
            raise Failure(f"expected {wanted!r}, and got {line!r}")

    def run(self):
        try:
            for line in self.transcript:
                kind, rest = line[:2], line[2:]
                if kind == "$ ":
                    self.start(rest)
                elif kind == "> ":
                    self.send(rest)
                elif kind == "< ":
                    self.expect(self.answers, rest)
                elif kind == "! ":
                    self.process.send_signal(signal.Signals["SIG" + rest])
                else:
                    self.expect(self.output, line)
            self.expect(self.output, None)
            if self.process.wait(PATIENCE) != 0:
                raise Failure(f"it ended with {self.process.returncode}")
        finally:
            if self.process is not None and self.process.poll() is None:
                self.process.kill()


def main():
    parser = argparse.ArgumentParser()
    for option in ("sources", "programs", "simulator"):
        parser.add_argument(f"--{option}", type=lambda path: pathlib.Path(path).resolve(),
                            required=True)
    parser.add_argument("--language", choices=("cc", "c"), required=True)
    parser.add_argument("--emulator", type=shlex.split, default=[])
    parser.add_argument("steps", nargs="+")
    options = parser.parse_args()
    for name in options.steps:
        with tempfile.TemporaryDirectory() as folder:
            try:
                Step(options, name, folder).run()
            except Failure as failure:
                sys.exit(f"{name}, {options.language}: {failure}")
        print(f"{name}, {options.language}: as its transcript says")


main()
