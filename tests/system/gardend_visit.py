# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""What tests need that visit gardend from outside: a daemon, its clients, a virtual clock.

Every test has a daemon of its own, on a port and in a folder that nobody else uses; at its end
the daemon must have closed the descriptors of all its clients, and end with 0 on SIGTERM. Nothing
sleeps to wait for something: it waits for the thing, until a deadline.
"""

import argparse
import json
import os
import re
import select
import shlex
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

DEADLINE = 60  # seconds for what ought to take milliseconds; a machine may be busy

# Where the programs are, what runs the daemon, and evlp-sim: as main() is told.
PROGRAMS = "."
WRAPPER = []
SIMULATOR = ""

REQUEST = b"GET / HTTP/1.1\r\nHost: garden\r\n\r\n"
JSON_REQUEST = b"GET /status.json HTTP/1.1\r\nHost: garden\r\n\r\n"


def until(condition, what):
    """Asks again and again until the condition holds."""
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("in vain: " + what)
        select.select([], [], [], 0.005)


def is_running(pid):
    """Whether there is such a process, and it has not ended: who waits for it may be slow."""
    try:
        with open("/proc/%d/stat" % pid) as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except FileNotFoundError:
        return False


def is_child(descriptor):
    try:
        return os.readlink(descriptor) == "anon_inode:[pidfd]"
    except FileNotFoundError:
        return False


class Daemon:
    """A gardend that has said that it is ready."""

    def __init__(self, folder, *options, wrapper=None, environment=None, prepare=None,
                 listen=("--listen", "127.0.0.1:0")):
        self.control = os.path.join(folder, "control")
        self.log = open(os.path.join(folder, "log"), "w")
        self.process = subprocess.Popen(
            [*(wrapper or WRAPPER), os.path.join(PROGRAMS, "gardend"), *listen, "--socket",
             self.control, "--tick", "10", "--log-stderr", *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self.log,
            env={**os.environ, **(environment or {})}, preexec_fn=prepare)
        ready, _, _ = select.select([self.process.stdout], [], [], DEADLINE)
        self.line = self.process.stdout.readline().decode() if ready else ""
        match = re.fullmatch(r"gardend ready: http://127\.0\.0\.1:(\d+)/ (.*)\n", self.line)
        if not match:
            self.process.kill()
            self.process.wait()
            raise AssertionError("not ready: " + self.line + self.read_log())
        self.port = int(match.group(1))
        self.initial_descriptors = self.descriptors()

    def descriptors(self):
        """How many there are, but for those that stand for children."""
        folder = "/proc/%d/fd" % self.process.pid
        return sum(not is_child(os.path.join(folder, name)) for name in os.listdir(folder))

    def wait(self):
        try:
            return self.process.wait(DEADLINE)
        finally:
            self.process.kill()

    def read_log(self):
        with open(self.log.name) as log:
            return log.read()

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.log.close()


class Client:
    """A connection to the daemon."""

    def __init__(self, address):
        family = socket.AF_UNIX if isinstance(address, str) else socket.AF_INET
        self.socket = socket.socket(family, socket.SOCK_STREAM)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(address)
        self.pending = b""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, data):
        self.socket.sendall(data)
        return self

    def receive(self):
        """Takes more bytes. Returns false at the end of the stream; a reset raises."""
        data = self.socket.recv(65536)
        self.pending += data
        return bool(data)

    def take_until(self, end):
        while end not in self.pending:
            if not self.receive():
                raise AssertionError("the stream ended in: %r" % self.pending)
        taken, self.pending = self.pending.split(end, 1)
        return taken

    def answer(self, has_body=True):
        """Takes one HTTP answer: its status, its fields, its body."""
        lines = self.take_until(b"\r\n\r\n").decode().split("\r\n")
        version, status, _ = lines[0].split(" ", 2)
        assert version == "HTTP/1.1", lines[0]
        fields = {name.lower(): value
                  for name, value in (line.split(": ", 1) for line in lines[1:])}
        length = int(fields["content-length"]) if has_body else 0
        while len(self.pending) < length:
            if not self.receive():
                raise AssertionError("the stream ended in a body")
        body, self.pending = self.pending[:length], self.pending[length:]
        return int(status), fields, body

    def status(self, request):
        """Asks, and takes the answer: its status."""
        return self.send(request).answer()[0]

    def at_end(self):
        """Waits: is there nothing more before the end of the stream?"""
        while self.receive():
            pass
        return self.pending == b""

    def reset(self):
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()


class GardendTest(unittest.TestCase):
    options = ()

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="gardend-")
        self.addCleanup(self.folder.cleanup)
        self.daemon = self.start_daemon()
        self.addCleanup(self.daemon.close)

    def start_daemon(self):
        return Daemon(self.folder.name, *self.options)

    def tearDown(self):
        if self.daemon.process.returncode is None:
            initial = self.daemon.initial_descriptors
            until(lambda: self.daemon.descriptors() == initial, "descriptors of past clients")
            self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.daemon.wait(), self.daemon.read_log())
        self.assertFalse(os.path.exists(self.daemon.control), "the socket is still there")

    def http(self):
        return Client(("127.0.0.1", self.daemon.port))

    def ctl(self):
        return Client(self.daemon.control)

    def gardenctl(self, *arguments, control=None, environment=None, programs=None):
        """Runs gardenctl: its exit status, its output, its complaint."""
        done = subprocess.run(
            [os.path.join(programs or PROGRAMS, "gardenctl"), "--socket",
             control or self.daemon.control, *arguments], capture_output=True, encoding="utf-8",
            timeout=DEADLINE, check=False,
            env={**os.environ, **(environment or {"LC_ALL": "C"})})
        return done.returncode, done.stdout, done.stderr

    def json(self):
        with self.http() as client:
            _, _, body = client.send(JSON_REQUEST).answer()
        return json.loads(body)

    def zone(self, name):
        return next(zone for zone in self.json()["zones"] if zone["name"] == name)

    def ask(self, request):
        """Sends request lines, and takes everything that comes back until the daemon ends it."""
        with self.ctl() as client:
            client.send(request)
            client.socket.shutdown(socket.SHUT_WR)
            client.at_end()
            return client.pending.decode()


class VirtualTime(GardendTest):
    """The daemon under a clock that moves only when it is told to, from a Monday on."""

    def setUp(self):
        if not SIMULATOR:
            self.skipTest("needs evlp-sim (--simulator), which does not go with sanitizers and "
                          "valgrind")
        super().setUp()

    def start_daemon(self):
        self.clock = os.path.join(self.folder.name, "clock")
        return Daemon(self.folder.name, "--tick", "1000", *self.options,
                      wrapper=[SIMULATOR, "run", "--control", self.clock, "--date",
                               "2026-11-16 00:00:00", "--"],
                      environment={"TZ": "UTC0"})

    def evlp_sim(self, *arguments):
        subprocess.run([SIMULATOR, "--control", self.clock, *arguments], check=True,
                       stdout=subprocess.DEVNULL, timeout=DEADLINE)

    def advance(self, seconds):
        self.evlp_sim("advance", str(seconds))

    def to(self, date):
        self.evlp_sim("to", date)

    def line(self, request, start):
        """The rest of the line of an answer that has this start."""
        return re.search("(?m)^%s (.*)$" % start, self.ask(request)).group(1)

    def roses(self):
        return self.line(b"zones\n", "roses")

    def litres(self):
        return self.line(b"status\n", "litres")


def main():
    """Runs the tests of the program, with the options that all of them have."""
    global PROGRAMS, WRAPPER, SIMULATOR
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--programs", required=True)
    parser.add_argument("--wrapper", default="")
    parser.add_argument("--simulator", default="")
    arguments, rest = parser.parse_known_args()
    PROGRAMS = os.path.abspath(arguments.programs)
    WRAPPER = shlex.split(arguments.wrapper)
    SIMULATOR = arguments.simulator and os.path.abspath(arguments.simulator)
    unittest.main(argv=[sys.argv[0], *rest])
