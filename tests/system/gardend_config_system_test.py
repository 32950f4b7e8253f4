#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Visits gardend with a configuration file: how it starts with one, reads it again, and what it
remembers. Options as of gardend_system_test.py."""

import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import gardend_visit as visit
from gardend_visit import DEADLINE, REQUEST, Client, Daemon, GardendTest, VirtualTime, until

GARDEN = """
zone lawn on line 0, 200 ml/s;
zone roses on line 1, 60 ml/s;
water roses on mon, wed at 06:30 for 20 minutes;
"""


class Configured(GardendTest):
    text = GARDEN

    def start_daemon(self):
        self.path = self.file("garden.conf")
        self.write(self.text)
        return Daemon(self.folder.name, "--config", self.path, *self.options)

    def file(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, text):
        with open(self.path, "w") as file:
            file.write(text)

    def reload(self, text):
        self.write(text)
        return self.gardenctl("reload")

    def hang_up(self, text, until_logged):
        self.write(text)
        before = self.daemon.read_log().count(until_logged)
        self.daemon.process.send_signal(signal.SIGHUP)
        until(lambda: self.daemon.read_log().count(until_logged) > before, until_logged)

    def restart(self):
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.daemon.wait(), self.daemon.read_log())
        self.daemon.close()
        self.daemon = Daemon(self.folder.name, "--config", self.path, *self.options)
        self.addCleanup(self.daemon.close)

    def restart_after_kill(self):
        self.daemon.close()
        self.daemon = Daemon(self.folder.name, "--config", self.path, *self.options)
        self.addCleanup(self.daemon.close)

    def names(self):
        return [zone["name"] for zone in self.json()["zones"]]

    def schedules(self):
        return self.gardenctl("schedule", "list")[1]


class Reload(Configured):
    def test_changes_the_garden(self):
        self.assertEqual(["lawn", "roses"], self.names())
        self.gardenctl("open", "lawn")
        self.gardenctl("open", "roses", "30")
        until(lambda: self.zone("roses")["litres"] > 0, "water")

        self.assertEqual((0, "", ""), self.reload("""
            zone "gemüse" on line 0, 100 ml/s;
            zone roses on line 1, 60 ml/s;
            water "gemüse" daily at 05:00 for 1 minute;"""))

        self.assertEqual(["gemüse", "roses"], self.names())
        self.assertFalse(self.zone("gemüse")["open"])
        self.assertTrue(self.zone("roses")["open"])
        self.assertGreater(self.zone("roses")["litres"], 0)
        self.assertGreater(self.zone("roses")["secondsLeft"], 1700)
        self.assertEqual("2 gemüse daily 05:00 1\n", self.schedules())
        self.assertEqual((0, "", ""), self.gardenctl("open", "gemüse"))
        self.assertIn("valve of lawn closed", self.daemon.read_log())

    def test_comes_with_a_signal(self):
        self.hang_up("zone hedge on line 7, 1 ml/s;", "the configuration has been read again")

        self.assertEqual(["hedge"], self.names())

    def test_of_a_bad_file_changes_nothing(self):
        self.gardenctl("open", "lawn")

        self.assertEqual(
            (1,
             "{0}:1:23: the line must be from 0 to 7\n"
             "    zone lawn   on   line 8\n"
             "                          ^\n"
             "{0}:2:7: there is no zone hedge above\n"
             "    water hedge\n"
             "          ^~~~~\n".format(self.path),
             "gardenctl: the configuration is not good, and stays as it was\n"),
            self.reload("zone lawn   on   line 8, 200 ml/s;\n"
                        "water hedge daily at 06:30 for 20 minutes;\n"))

        self.assertEqual(["lawn", "roses"], self.names())
        self.assertTrue(self.zone("lawn")["open"])
        self.assertEqual("1 roses mon,wed 06:30 20\n", self.schedules())
        log = self.daemon.read_log()
        self.assertIn("configuration parser (line=2, col=7): %s: up to 2 11 - there is no zone "
                      "hedge above" % self.path, log)
        self.assertIn("the configuration stays as it was", log)

    def test_of_a_file_that_has_gone_changes_nothing(self):
        os.unlink(self.path)

        self.assertEqual(
            (1, self.path + " cannot be read: No such file or directory\n",
             "gardenctl: the configuration is not good, and stays as it was\n"),
            self.gardenctl("reload"))

        self.assertEqual(["lawn", "roses"], self.names())

    def test_is_refused_in_the_language_of_the_user(self):
        self.write("")
        for language, complaint in (("de", "die Konfiguration"), ("fr", "la configuration")):
            self.assertIn(complaint, self.gardenctl("--lang", language, "reload")[2])

    def test_says_what_waits_for_the_next_start(self):
        change = "sample every 7 seconds; job a 'true'; hook 'b'; drivers 'c'; state file 'd';"

        self.assertEqual(
            (0, "".join("%s: the change waits for the next start\n" % what for what in (
                "the drivers", "the hook", "the jobs", "the time between samples",
                "the state file")), ""),
            self.reload(GARDEN + change))

        self.assertIn("the jobs: the change waits", self.daemon.read_log())

    def test_keeps_what_the_command_line_says(self):
        self.assertEqual((0, "", ""),
                         self.reload(GARDEN + "listen 127.0.0.1:1; tick every 9 seconds;"))
        with self.http() as client:
            self.assertEqual(200, client.status(REQUEST))

    def test_lets_in_whom_the_file_says(self):
        self.assertEqual(0, self.reload(GARDEN + "user 'anna' password 'secret';")[0])
        with self.http() as client:
            self.assertEqual(401, client.status(REQUEST))
            self.assertEqual(0, self.reload(GARDEN)[0])
            self.assertEqual(200, client.status(REQUEST))

    def test_takes_many_of_them(self):
        for i in range(50):
            self.assertEqual(0, self.reload(GARDEN + "zone z%d on line 2, 1 ml/s;" % i)[0])
        self.assertEqual(["lawn", "roses", "z49"], self.names())

    def test_without_descriptors_changes_nothing(self):
        # All once before, a tick included: sanitizers need descriptors when they see something for
        # the first time.
        self.hang_up(GARDEN, "the configuration has been read again")
        self.hang_up("", "the configuration stays as it was")
        self.assertEqual((0, "", ""), self.gardenctl("open", "lawn"))
        until(lambda: self.json()["zones"][0]["litres"] > 0, "a tick")
        self.assertEqual((0, "", ""), self.gardenctl("close", "lawn"))
        process = self.daemon.process.pid
        limits = resource.prlimit(process, resource.RLIMIT_NOFILE)
        used = set(map(int, os.listdir("/proc/%d/fd" % process)))
        free = min(set(range(len(used) + 1)) - used)

        resource.prlimit(process, resource.RLIMIT_NOFILE, (free, limits[1]))
        self.hang_up("zone hedge on line 7, 1 ml/s;", "the configuration stays as it was")
        resource.prlimit(process, resource.RLIMIT_NOFILE, limits)

        self.assertIn("cannot be read: Too many open files", self.daemon.read_log())
        self.assertEqual(["lawn", "roses"], self.names())
        self.assertEqual((0, "", ""), self.gardenctl("reload"))
        self.assertEqual(["hedge"], self.names())


class ReloadOfAddresses(Configured):
    """All of them are in the file."""

    text = GARDEN + "listen 127.0.0.1:0;"

    def start_daemon(self):
        self.path = self.file("garden.conf")
        self.write(self.text)
        return Daemon(self.folder.name, "--config", self.path, listen=())

    def refused(self, address):
        with socket.socket() as client:
            return client.connect_ex(address) != 0

    def test_opens_further_ones(self):
        port = self.daemon.port  # on another address it is free, as good as surely

        self.assertEqual((0, "", ""), self.reload(self.text + "listen 127.0.0.2:%d;" % port))
        with Client(("127.0.0.1", port)) as old, Client(("127.0.0.2", port)) as new:
            self.assertEqual(200, old.status(REQUEST))
            self.assertEqual(200, new.status(REQUEST))
            self.assertEqual((0, "", ""), self.reload(GARDEN + "listen 127.0.0.2:%d;" % port))
            self.assertTrue(old.at_end())
            self.assertEqual(200, new.status(REQUEST))

        self.assertTrue(self.refused(("127.0.0.1", port)))

    def test_keeps_the_old_ones_when_one_is_taken(self):
        with socket.socket() as other:
            other.bind(("127.0.0.1", 0))
            other.listen()
            port = other.getsockname()[1]
            reason = "cannot listen on 127.0.0.1:%d: Address already in use" % port

            self.assertEqual(
                (1, reason + "\n",
                 "gardenctl: the configuration is not good, and stays as it was\n"),
                self.reload("zone hedge on line 7, 1 ml/s; listen 127.0.0.2:0, 127.0.0.1:%d;"
                            % port))

        self.assertIn(reason, self.daemon.read_log())
        self.assertEqual(["lawn", "roses"], self.names())
        with self.http() as client:
            self.assertEqual(200, client.status(REQUEST))


class AddressesOfTheCommandLine(GardendTest):
    def start_daemon(self):
        return Daemon(self.folder.name, "--listen", "127.0.0.2:0")

    def test_may_be_several(self):
        other = re.search(r" http://127\.0\.0\.2:(\d+)/ ", self.daemon.line).group(1)
        with self.http() as one, Client(("127.0.0.2", int(other))) as two:
            self.assertEqual(200, one.status(REQUEST))
            self.assertEqual(200, two.status(REQUEST))


class StateFile(Configured):
    def start_daemon(self):
        self.text = GARDEN + "state file '%s';" % self.file("state")
        return super().start_daemon()

    def test_brings_back_schedules_and_litres(self):
        self.gardenctl("schedule", "add", "lawn", "daily", "05:00", "10")
        self.gardenctl("schedule", "remove", "1")
        self.gardenctl("open", "lawn")
        until(lambda: self.zone("lawn")["litres"] > 0, "water")
        self.gardenctl("close", "lawn")
        litres = self.zone("lawn")["litres"]

        self.restart()

        self.assertEqual("2 lawn daily 05:00 10\n", self.schedules())
        self.assertEqual(litres, self.zone("lawn")["litres"])

    def test_is_written_soon_after_a_change(self):
        self.gardenctl("schedule", "add", "lawn", "daily", "05:00", "10")

        until(lambda: os.path.exists(self.file("state")), "the state file")
        self.restart_after_kill()  # no time for anything

        self.assertIn(" lawn daily 05:00 10\n", self.schedules())

    def test_that_is_damaged_is_put_aside(self):
        with open(self.file("state"), "wb") as file:
            file.write(b"gardend state" + os.urandom(5000))

        self.restart_after_kill()

        self.assertEqual(5013, os.path.getsize(self.file("state.bad")))
        self.assertIn("it is put aside as .bad", self.daemon.read_log())
        self.assertEqual("1 roses mon,wed 06:30 20\n", self.schedules())


class StateFileOfSomebodyElse(unittest.TestCase):
    def test_is_left_alone(self):
        with tempfile.TemporaryDirectory(prefix="gardend-") as folder:
            path = os.path.join(folder, "garden.conf")
            text = GARDEN + "state file '%s';" % path  # itself
            with open(path, "w") as file:
                file.write(text)
            done = subprocess.run(
                [*visit.WRAPPER, os.path.join(visit.PROGRAMS, "gardend"), "--config", path,
                 "--listen", "127.0.0.1:0", "--socket", path + ".sock"],
                stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", timeout=DEADLINE,
                check=False)
            with open(path) as file:
                self.assertEqual(text, file.read())
        self.assertEqual((1, ""), (done.returncode, done.stdout))
        self.assertIn("gardend: the state file %s cannot be read: it is not a state of gardend\n"
                      % path, done.stderr)


class MoistureLogs(Configured):
    def start_daemon(self):
        self.text = GARDEN + ("log folder '%s'; sample every 1 second; "
                              "download key 'k' for 1 minute;" % self.folder.name)
        return super().start_daemon()

    def test_have_the_samples(self):
        def lines():
            with open(self.file("moisture.log")) as file:
                return file.read().splitlines()

        until(lambda: len(lines()) >= 4, "two samples of two zones")
        for line, zone in zip(lines(), ("lawn", "roses") * 2):
            self.assertRegex(line, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ %s \d+\.\d$" % zone)

    def test_are_to_be_downloaded(self):
        with self.http() as client:
            _, _, page = client.send(REQUEST).answer()
            address = re.search(rb'href="(/log/[^"]*/moisture\.log)"', page).group(1)
            status, _, body = client.send(REQUEST.replace(b" / ", b" " + address + b" ")).answer()
        self.assertEqual(200, status)
        self.assertIn(b" roses ", body)


class Rules(VirtualTime):
    text = GARDEN + """
        rule dry = moisture below 30 %;
        water roses only when dry and not lawn is open;
        water lawn daily at 06:00 for 60 minutes;
        sample every 3600 seconds;
    """

    def start_daemon(self):
        path = os.path.join(self.folder.name, "garden.conf")
        with open(path, "w") as file:
            file.write(self.text)
        self.options = ("--config", path)
        return super().start_daemon()

    def test_keep_waterings_back(self):
        self.assertEqual("none", self.line(b"status\n", "skipped"))

        self.to("2026-11-16 06:30:00")
        self.assertTrue(self.roses().startswith("closed"))
        self.assertEqual("roses mon 06:30", self.line(b"status\n", "skipped"))
        self.assertIn("schedule 1: roses is skipped, as its rule says", self.daemon.read_log())

        self.ask(b"schedule remove 2\n")
        self.to("2026-11-18 06:30:00")
        self.assertTrue(self.roses().startswith("open"))
        self.assertEqual("roses mon 06:30", self.line(b"status\n", "skipped"))


class Check(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="gardend-")
        self.addCleanup(self.folder.cleanup)
        self.path = os.path.join(self.folder.name, "garden.conf")

    def check(self, text, *options):
        with open(self.path, "w") as file:
            file.write(text)
        done = subprocess.run(
            [*visit.WRAPPER, os.path.join(visit.PROGRAMS, "gardend"), "--config", self.path,
             *(options or ("--check",))],
            stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", timeout=DEADLINE,
            check=False)
        return done.returncode, done.stdout, done.stderr

    def test_says_nothing_of_a_good_file(self):
        self.assertEqual((0, "", ""), self.check(GARDEN))

    def test_says_what_is_wrong(self):
        self.assertEqual(
            (1, "", self.path + ":1:1: lawn is not expected here\n    lawn\n    ^~~~\n"),
            self.check("lawn;" + GARDEN))

    def test_counts_the_addresses_of_the_command_line(self):
        addresses = ["--listen=127.0.0.1:%d" % port for port in range(1, 10)]
        self.assertEqual((2, "", "gardend: --listen: one address too many: 127.0.0.1:9\n"),
                         self.check(GARDEN, "--check", *addresses))

    def test_comes_before_every_start(self):
        status, output, complaint = self.check("lawn;" + GARDEN, "--socket", self.path + ".sock")
        self.assertEqual((1, ""), (status, output))
        self.assertIn(":1:1: lawn is not expected here\n", complaint)


if __name__ == "__main__":
    visit.main()
