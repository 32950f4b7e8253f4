#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Visits gardend from outside, as browsers, attackers and gardenctl do.

    gardend_system_test.py --programs FOLDER [--wrapper COMMAND] [--simulator EVLP_SIM]
                           [unittest options]

FOLDER holds gardend and gardenctl. COMMAND, "valgrind -q" for instance, runs the daemon. EVLP_SIM
is the command evlp-sim, for the tests in virtual time; without it they are skipped.
"""

import os
import re
import resource
import select
import shutil
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import gardend_visit as visit
from gardend_visit import (DEADLINE, JSON_REQUEST, REQUEST, Client, Daemon, GardendTest,
                           VirtualTime, is_running, until)


class Page(GardendTest):
    def test_is_html_with_all_zones(self):
        with self.http() as client:
            status, fields, body = client.send(REQUEST).answer()
        self.assertEqual(200, status)
        self.assertEqual("text/html; charset=utf-8", fields["content-type"])
        for zone in ("lawn", "roses", "vegetables", "hedge"):
            self.assertIn(b"<td>" + zone.encode() + b"</td>", body)

    def test_has_a_length_but_no_body_for_head(self):
        with self.http() as client:
            _, got, _ = client.send(REQUEST).answer()
            _, headed, _ = client.send(REQUEST.replace(b"GET", b"HEAD")).answer(has_body=False)
            self.assertEqual(got["content-length"], headed["content-length"])
            self.assertEqual(200, client.status(REQUEST))

    def test_shows_the_water_that_flows(self):
        self.gardenctl("open", "roses")
        until(lambda: self.zone("roses")["litres"] > 0, "water")
        self.assertTrue(self.zone("roses")["open"])
        self.assertEqual(0, self.zone("lawn")["litres"])

    def test_is_not_to_be_written(self):
        with self.http() as client:
            post = b"POST / HTTP/1.1\r\nHost: garden\r\nContent-Length: 5\r\n\r\nhello"
            status, fields, _ = client.send(post).answer()
            self.assertEqual((405, "GET, HEAD"), (status, fields["allow"]))
            self.assertEqual(200, client.status(REQUEST))

    def test_is_the_only_one(self):
        with self.http() as client:
            self.assertEqual(404, client.status(REQUEST.replace(b"/ ", b"/../../etc/passwd ")))
            self.assertEqual(200, client.status(REQUEST))


class Connection(GardendTest):
    def connected(self, count):
        """Connects clients, one when the one before has been served: in a crowd they overrun the
        queue of the system, and have to try again a second later."""
        clients = []
        for _ in range(count):
            clients.append(self.http())
            self.assertEqual(200, clients[-1].status(REQUEST))
        return clients

    def test_stays_for_further_requests(self):
        with self.http() as client:
            for _ in range(5):
                status, fields, _ = client.send(REQUEST).answer()
                self.assertEqual((200, "keep-alive"), (status, fields["connection"]))

    def test_ends_when_the_client_says_so(self):
        with self.http() as client:
            client.send(REQUEST.replace(b"\r\n\r\n", b"\r\nConnection: close\r\n\r\n"))
            _, fields, _ = client.answer()
            self.assertEqual("close", fields["connection"])
            self.assertTrue(client.at_end())

    def test_ends_after_a_request_of_http_1_0(self):
        with self.http() as client:
            client.send(b"GET / HTTP/1.0\r\n\r\n").answer()
            self.assertTrue(client.at_end())

    def test_stays_after_a_request_of_http_1_0_that_wants_it(self):
        with self.http() as client:
            for _ in range(2):
                request = b"GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"
                _, fields, _ = client.send(request).answer()
                self.assertEqual("keep-alive", fields["connection"])

    def test_answers_requests_that_come_together_in_their_order(self):
        with self.http() as client:
            client.send(REQUEST + REQUEST.replace(b"/ ", b"/none ") + JSON_REQUEST + REQUEST)
            self.assertEqual([200, 404, 200, 200], [client.answer()[0] for _ in range(4)])

    def test_answers_what_came_before_the_end_of_the_stream(self):
        with self.http() as client:
            client.send(REQUEST * 3)
            client.socket.shutdown(socket.SHUT_WR)
            self.assertEqual([200] * 3, [client.answer()[0] for _ in range(3)])
            self.assertTrue(client.at_end())

    def test_takes_requests_byte_by_byte(self):
        with self.http() as client:
            client.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            for byte in REQUEST * 2:
                client.send(bytes([byte]))
            self.assertEqual([200] * 2, [client.answer()[0] for _ in range(2)])

    def test_waits_for_a_client_that_does_not_read(self):
        with self.http() as client:
            client.send(REQUEST * 1000)  # the answers are more than the line and its ends hold
            with self.http() as other:
                self.assertEqual(200, other.status(REQUEST))
            for _ in range(1000):
                self.assertEqual(200, client.answer()[0])

    def test_is_one_of_sixty(self):
        clients = self.connected(60)
        for client in clients:
            client.send(REQUEST[:20])
        for client in reversed(clients):
            client.send(REQUEST[20:])
        for client in clients:
            self.assertEqual(200, client.answer()[0])
            client.socket.close()

    def test_is_hung_up_when_there_are_too_many(self):
        clients = self.connected(64)
        with self.http() as further:
            self.assertTrue(further.at_end())
        clients.pop().socket.close()
        until(lambda: self.daemon.descriptors() == self.daemon.initial_descriptors + 63, "a place")
        with self.http() as further:
            self.assertEqual(200, further.status(REQUEST))
        for client in clients:
            client.socket.close()

    def test_may_be_reset_at_any_moment(self):
        for data in (b"", REQUEST[:10], REQUEST, REQUEST * 50, b"bad\r\n", b"GET / HTTP/1.0\r\n\r\n"):
            for _ in range(10):
                self.http().send(data).reset()
            with self.http() as client:
                self.assertEqual(200, client.status(REQUEST))


class HttpOnTwoAddresses(GardendTest):
    def start_daemon(self):
        return Daemon(self.folder.name, listen=("--listen", "127.0.0.1:0",
                                                "--listen", "127.0.0.2:0"))

    def test_is_for_so_many_clients_in_all(self):
        addresses = re.findall(r"http://([0-9.]+):(\d+)/", self.daemon.line)
        clients = []
        for host, port in addresses * 32:
            clients.append(Client((host, int(port))))
            self.assertEqual(200, clients[-1].status(REQUEST))
        for host, port in addresses:
            with Client((host, int(port))) as further:
                self.assertTrue(further.at_end())
        self.assertEqual(0, self.gardenctl("status")[0])
        for client in clients:
            client.socket.close()


class Hostile(GardendTest):
    def check(self, status, request):
        """Expects an error, and after it an orderly end, not a reset that eats the answer."""
        with self.http() as client:
            answer, fields, _ = client.send(request).answer()
            self.assertEqual((status, "close"), (answer, fields["connection"]), request[:100])
            self.assertTrue(client.at_end())

    def test_request_lines(self):
        for line in (b"GET /", b"GET  / HTTP/1.1", b"GET / HTTP/1.1 x", b"GET nowhere HTTP/1.1",
                     b"G@T / HTTP/1.1", b"GET / http/1.1", b"GET / HTTP/1.x", b"hello"):
            self.check(400, line + b"\r\n\r\n")
        self.check(505, b"GET / HTTP/2.0\r\n\r\n")

    def test_header_fields(self):
        start = b"GET / HTTP/1.1\r\nHost: garden\r\n"
        for field in (b"no colon", b"Name : value", b" folded: value", b": value",
                      b"Host: twice", b"A: b\rc", b"A: \x01"):
            self.check(400, start + field + b"\r\n\r\n")
        self.check(400, b"GET / HTTP/1.1\r\n\r\n")

    def test_control_bytes(self):
        self.check(400, b"GET /\0 HTTP/1.1\r\n")
        self.check(400, b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03")

    def test_bodies(self):
        start = b"POST / HTTP/1.1\r\nHost: garden\r\n"
        self.check(400, start + b"Content-Length: -1\r\n\r\n")
        self.check(400, start + b"Content-Length: 1\r\nContent-Length: 2\r\n\r\n")
        self.check(501, start + b"Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n")
        self.check(417, start + b"Expect: 100-continue\r\nContent-Length: 9\r\n\r\n")
        self.check(413, start + b"Content-Length: 65537\r\n\r\n")
        self.check(413, start + b"Content-Length: 99999999999999999999\r\n\r\n")

    def test_a_large_body_on_its_way_does_not_eat_the_answer(self):
        self.check(413, b"POST / HTTP/1.1\r\nHost: garden\r\nContent-Length: 1000000\r\n\r\n" +
                   b"x" * 1000000)

    def test_heads_that_are_too_large(self):
        self.check(431, b"GET /" + b"x" * 9000)
        self.check(431, b"GET / HTTP/1.1\r\nHost: garden\r\nA: " + b"x" * 9000)
        self.check(431, b"GET / HTTP/1.1\r\nHost: garden\r\n" + b"A: b\r\n" * 2000)

    def test_good_requests_before_it_are_answered(self):
        with self.http() as client:
            client.send(REQUEST + b"bad\r\n" + REQUEST)
            self.assertEqual([200, 400], [client.answer()[0] for _ in range(2)])
            self.assertTrue(client.at_end())


class TimeLimitOfAnExchange(GardendTest):
    options = ("--timeout", "2000")

    def test_begins_anew_with_each_request(self):
        with self.http() as client:
            end = time.monotonic() + 3
            while time.monotonic() < end:
                self.assertEqual(200, client.status(REQUEST))


class TimeLimit(GardendTest):
    options = ("--timeout", "300")

    def check_end(self, client):
        try:
            self.assertTrue(client.at_end())
        except ConnectionResetError:
            pass

    def test_ends_a_connection_that_asks_nothing(self):
        with self.http() as client:
            self.check_end(client)

    def test_ends_a_connection_that_stays_for_nothing(self):
        with self.http() as client:
            client.status(REQUEST)
            self.check_end(client)

    def test_ends_a_request_that_comes_drop_by_drop(self):
        with self.http() as client:
            sent = 0
            while not select.select([client.socket], [], [], 0.02)[0]:
                client.send(b"x")
                sent += 1
                self.assertLess(sent, 3000)
            self.check_end(client)

    def test_ends_a_client_that_does_not_read(self):
        with self.http() as client:
            client.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            with self.assertRaises((ConnectionResetError, BrokenPipeError)):
                while True:
                    client.send(REQUEST * 100)

    def test_ends_a_client_that_does_not_close_after_the_last_answer(self):
        with self.http() as client:
            client.send(b"bad\r\n").answer()
            initial = self.daemon.initial_descriptors
            until(lambda: self.daemon.descriptors() == initial, "the end of the connection")

    def test_holds_for_control_connections_too(self):
        with self.ctl() as client:
            client.send(b"sta")
            self.check_end(client)


class ControlProtocol(GardendTest):
    def test_takes_many_requests(self):
        self.assertRegex(self.ask(b"open lawn\nopen lawn\nclose ivy\nstatus\n"),
                         r"\AOK\nOK\nERROR no such zone\nzones 4\nopen 1\nlitres 0\.\d+\n"
                         r"clock synchronized\nschedules 0\nnext none\nskipped none\nOK\n\Z")

    def test_takes_requests_byte_by_byte(self):
        with self.ctl() as client:
            for byte in b"close lawn\n" * 2:
                client.send(bytes([byte]))
            self.assertEqual([b"OK"] * 2, [client.take_until(b"\n") for _ in range(2)])

    def test_lists_the_zones(self):
        self.assertRegex(self.ask(b"zones\n"),
                         r"\A([a-z]+ (open|closed) \d+\.\d \d+\.\d{3}\n){4}OK\n\Z")

    def test_refuses_what_it_does_not_know(self):
        for request in (b"", b" ", b"open", b"OPEN lawn", b"status now", b"quit ", b"zones\r"):
            self.assertEqual("ERROR unknown request\n", self.ask(request + b"\n"))
        for request in (b"open ", b"open lawn\r", b"close \xff", b"close lawn\t", b"open ivy 5"):
            self.assertEqual("ERROR no such zone\n", self.ask(request + b"\n"))
        self.assertEqual("ERROR the line is not a text\n", self.ask(b"open lawn\0\n"))

    def test_ends_after_a_line_that_is_too_long(self):
        self.assertEqual("ERROR the line is too long\n", self.ask(b"x" * 128 + b"\nstatus\n"))
        self.assertEqual("ERROR the line is too long\n", self.ask(b"x" * 100000))
        self.assertEqual("ERROR unknown request\nOK\n", self.ask(b"x" * 127 + b"\nopen lawn\n"))

    def test_is_for_the_owner_only(self):
        self.assertEqual(0, stat.S_IMODE(os.stat(self.daemon.control).st_mode) & 0o077)


class Gardenctl(GardendTest):
    def test_opens_and_closes_valves(self):
        self.assertEqual((0, "", ""), self.gardenctl("open", "roses"))
        self.assertTrue(self.zone("roses")["open"])
        self.assertEqual((0, "", ""), self.gardenctl("close", "roses"))
        self.assertFalse(self.zone("roses")["open"])

    def test_prints_the_status(self):
        self.assertEqual(
            (0, "zones 4\nopen 0\nlitres 0.000\nclock synchronized\nschedules 0\nnext none\n"
                "skipped none\n", ""),
            self.gardenctl("status"))

    def test_prints_the_zones(self):
        status, output, _ = self.gardenctl("zones")
        self.assertEqual((0, 4), (status, output.count("\n")))

    def test_answers_1_when_the_daemon_refuses(self):
        self.assertEqual((1, "", "gardenctl: no such zone\n"), self.gardenctl("open", "ivy"))

    def test_answers_1_when_there_is_no_daemon(self):
        status, output, complaint = self.gardenctl("status", control=self.daemon.control + "x")
        self.assertEqual((1, ""), (status, output))
        self.assertIn("no gardend", complaint)

    def answered(self, answers):
        """Runs gardenctl against a daemon that sends this, whatever it is asked."""
        path = os.path.join(self.folder.name, "other")
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(path)
            listener.listen()
            listener.settimeout(DEADLINE)

            def serve():
                connection, _ = listener.accept()
                with connection:
                    connection.settimeout(DEADLINE)
                    connection.recv(4096)
                    connection.sendall(answers)

            server = threading.Thread(target=serve)
            server.start()
            done = self.gardenctl("--lang", "en", "summary", control=path)
            server.join()
        os.remove(path)
        return done

    def test_looks_for_the_status_at_the_start_of_a_line(self):
        for length in (510, 511, 512, 1022, 5000):
            for look_alike in ("OK", "ERROR no"):
                line = "x" * length + look_alike + "\n"
                self.assertEqual((0, line, ""),
                                 self.answered(b"en\nOK\n" + line.encode() + b"OK\n"))
                self.assertEqual((0, "open\n", ""),
                                 self.answered(line.encode() + b"OK\nopen\nOK\n"))

    def test_prints_the_whole_of_a_complaint(self):
        complaint = "x" * 5000 + "\n"
        self.assertEqual((1, "", "gardenctl: " + complaint),
                         self.answered(b"OK\nERROR " + complaint.encode()))

    def test_misses_an_answer_without_a_status(self):
        for answer, shown in ((b"", ""), (b"OK\n", ""), (b"OK\nopen\n", "open\n"),
                              (b"OK\nOK", "OK")):
            self.assertEqual((1, shown, "gardenctl: gardend did not answer\n"),
                             self.answered(answer), answer)

    def test_answers_2_to_wrong_usage(self):
        for arguments in ((), ("water",), ("open",), ("open", "a", "b"), ("status", "now"),
                          ("--bad",), ("open", "lawn\nquit"), ("open", "x" * 200), ("",),
                          ("open", "lawn", "0"), ("open", "lawn 5"), ("open", "lawn", ""),
                          ("schedule",), ("schedule", "remove"), ("schedule", "list", "all"),
                          ("schedule", "add", "lawn", "daily", "06:30"), ("clock",)):
            self.assertEqual(2, self.gardenctl(*arguments)[0], arguments)

    def test_helps(self):
        status, output, _ = self.gardenctl("--help")
        self.assertEqual((0, "Usage:"), (status, output[:6]))


class RunTime(GardendTest):
    def test_is_shown_until_the_valve_closes_by_itself(self):
        self.assertEqual((0, "", ""), self.gardenctl("open", "roses", "1440"))
        self.assertRegex(self.ask(b"zones\n"), r"(?m)^roses open \d+\.\d \d+\.\d{3} 8\d{4}$")
        self.assertLess(80000, self.zone("roses")["secondsLeft"])

    def test_ends_when_the_valve_is_closed_or_opened_for_good(self):
        self.assertEqual("OK\nOK\n", self.ask(b"open roses 5\nclose roses\n"))
        self.assertEqual(0, self.zone("roses")["secondsLeft"])
        self.assertEqual("OK\nOK\n", self.ask(b"open roses 5\nopen roses\n"))
        self.assertEqual(0, self.zone("roses")["secondsLeft"])
        self.assertTrue(self.zone("roses")["open"])

    def test_must_be_of_one_to_1440_minutes(self):
        for minutes in (b"0", b"1441", b"-1", b"", b"soon", b"1.5", b"9" * 50):
            self.assertEqual("ERROR the minutes must be a number from 1 to 1440\n",
                             self.ask(b"open roses " + minutes + b"\n"), minutes)
        self.assertFalse(self.zone("roses")["open"])


class Schedules(GardendTest):
    def test_are_numbered_listed_and_removed(self):
        self.assertEqual((0, "1\n", ""),
                         self.gardenctl("schedule", "add", "roses", "mon,wed,fri", "06:30", "20"))
        self.assertEqual((0, "2\n", ""),
                         self.gardenctl("schedule", "add", "lawn", "daily", "21:00", "1440"))
        self.assertEqual((0, "1 roses mon,wed,fri 06:30 20\n2 lawn daily 21:00 1440\n", ""),
                         self.gardenctl("schedule", "list"))

        self.assertEqual((0, "", ""), self.gardenctl("schedule", "remove", "1"))

        self.assertEqual((0, "2 lawn daily 21:00 1440\n", ""), self.gardenctl("schedule", "list"))
        self.assertEqual((1, "", "gardenctl: no such schedule\n"),
                         self.gardenctl("schedule", "remove", "1"))

    def test_are_shown_with_what_comes_next(self):
        self.ask(b"schedule add hedge sat 05:07 9\n")
        with self.http() as client:
            _, _, page = client.send(REQUEST).answer()
        self.assertIn(b"<tr><td>hedge</td><td>sat</td><td>05:07</td>", page)
        self.assertIn(b"next: hedge on sat at 05:07", page)
        self.assertEqual([{"number": 1, "zone": "hedge", "days": "sat", "time": "05:07",
                           "minutes": 9}], self.json()["schedules"])
        self.assertIn("schedules 1\nnext hedge sat 05:07\n", self.ask(b"status\n"))

    def test_must_be_well_formed(self):
        bad_days = "the days must be daily, or a list such as mon,wed,fri"
        for words, complaint in (
                (b"ivy daily 06:30 20", "no such zone"),
                (b"roses mon,,fri 06:30 20", bad_days),
                (b"roses monday 06:30 20", bad_days),
                (b"roses daily 24:00 20", "the time must be between 00:01 and 23:59"),
                (b"roses daily 00:00 20", "the time must be between 00:01 and 23:59"),
                (b"roses daily 6:30 20", "the time must be between 00:01 and 23:59"),
                (b"roses daily 06:30 0", "the minutes must be a number from 1 to 1440"),
                (b"roses daily 06:30 20 ", "a schedule needs ZONE DAYS HH:MM MINUTES"),
                (b"roses daily 06:30", "a schedule needs ZONE DAYS HH:MM MINUTES"),
                (b"\xff daily 06:30 20", "no such zone"),
                (b"roses " + b"mon," * 30, "the line is too long")):
            self.assertEqual("ERROR %s\n" % complaint, self.ask(b"schedule add " + words + b"\n"))
        for number in (b"0", b"-1", b"one", b"1 2", b"99999999999"):
            self.assertEqual("ERROR a schedule is known by its number, from 1 on\n",
                             self.ask(b"schedule remove " + number + b"\n"))
        self.assertEqual("ERROR no such schedule\n", self.ask(b"schedule remove 1\n"))
        self.assertEqual("OK\n", self.ask(b"schedule list\n"))

    def test_are_sixty_four_at_most(self):
        answer = self.ask(b"schedule add roses daily 06:30 20\n" * 65)
        self.assertEqual("".join("%d\nOK\n" % number for number in range(1, 65)) +
                         "ERROR there are too many schedules\n", answer)
        self.assertEqual(65, self.ask(b"schedule list\n").count("\n"))
        self.assertEqual("OK\n65\nOK\n", self.ask(b"schedule remove 9\n"
                                                  b"schedule add roses daily 06:30 20\n"))


class Clock(GardendTest):
    options = ("--wait-for-clock",)

    def test_is_taken_for_right_once_somebody_says_so(self):
        self.ask(b"schedule add roses daily 06:30 20\n")
        self.assertIn("clock unsynchronized\nschedules 1\nnext none\n", self.ask(b"status\n"))
        self.assertFalse(self.json()["clockSynchronized"])
        with self.http() as client:
            _, fields, page = client.send(REQUEST).answer()
        self.assertNotIn("date", fields)
        self.assertIn(b"the clock is not set", page)

        self.assertEqual((0, "", ""), self.gardenctl("clock", "synchronized"))

        status = self.ask(b"status\n")
        self.assertIn("clock synchronized\nschedules 1\nnext roses ", status)
        self.assertTrue(self.json()["clockSynchronized"])
        with self.http() as client:
            self.assertIn("date", client.send(REQUEST).answer()[1])


class Moisture(GardendTest):
    options = ("--sample", "1")

    def test_is_sampled_again_and_again(self):
        """At midnight the count begins anew, so it may be small twice."""
        def count():
            return int(re.search(r"(?m)^roses (\d+) ", self.ask(b"moisture\n")).group(1))
        self.assertRegex(self.ask(b"moisture\n"),
                         r"\A([a-z]+ \d+ \d+\.\d \d+\.\d \d+\.\d\n){4}OK\n\Z")
        until(lambda: count() > 1, "a second sample")


class Drivers(GardendTest):
    """Drivers in a folder of the test."""

    def start_daemon(self):
        self.drivers = os.path.join(self.folder.name, "drivers")
        os.mkdir(self.drivers)
        for file in os.listdir(os.path.join(visit.PROGRAMS, "drivers")):
            if file.startswith("sim_"):
                shutil.copy(os.path.join(visit.PROGRAMS, "drivers", file), self.drivers)
        self.prepare()
        return Daemon(self.folder.name, "--drivers", os.path.join(self.drivers, "*.so"))

    def prepare(self):
        pass

    def test_are_listed_after_what_they_depend_on(self):
        self.assertEqual((0, "sim_soil.so -\nsim_sensor.so sensors\nsim_valve.so valves\n", ""),
                         self.gardenctl("plugins"))


class DriversThatAreBroken(Drivers):
    def prepare(self):
        with open(os.path.join(self.drivers, "a_note.so"), "w") as file:
            file.write("no library")
        with open(os.path.join(self.drivers, "sim_sensor.so.dep"), "a") as file:
            file.write(":nowhere.so")

    def test_are_missed_and_logged(self):
        log = self.daemon.read_log()
        self.assertIn(os.path.join(self.drivers, "a_note.so"), log)
        self.assertIn(os.path.join(self.drivers, "nowhere.so"), log)


class DriversWithOddNames(Drivers):
    def prepare(self):
        for name in ("z\nOK\n.so", "z\x1b[2J.so", "z a\u00e9.so"):
            shutil.copy(os.path.join(self.drivers, "sim_soil.so"), os.path.join(self.drivers, name))

    def test_are_listed_after_what_they_depend_on(self):
        lines = self.ask(b"plugins\n").splitlines()
        self.assertEqual(["sim_soil.so -", "sim_sensor.so sensors", "sim_valve.so valves"],
                         lines[:3])
        self.assertEqual(["? -", "? -", "z a\u00e9.so -"], sorted(lines[3:-1]))
        self.assertEqual("OK", lines[-1])


class DriversThatAreThereTwice(Drivers):
    def prepare(self):
        for name in ("sim_valve.so", "sim_valve.so.dep"):
            shutil.copy(os.path.join(self.drivers, name),
                        os.path.join(self.drivers, name.replace("valve", "valve_again")))

    def test_are_listed_after_what_they_depend_on(self):
        self.assertEqual((0, "sim_soil.so -\nsim_sensor.so sensors\nsim_valve.so valves\n"
                          "sim_valve_again.so -\n", ""), self.gardenctl("plugins"))


class Children(GardendTest):
    """What gardend starts leaves traces in the folder of the test."""

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def read(self, name):
        try:
            with open(self.path(name)) as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def script(self, name, *lines):
        with open(self.path(name), "w") as file:
            file.write("\n".join(("#!/bin/sh", "cd '%s' || exit" % self.folder.name, *lines)) + "\n")
        os.chmod(self.path(name), 0o700)
        return self.path(name)

    def job(self, name):
        """What follows the name of a job: state, pid, runs, failures, last."""
        return re.search("(?m)^%s (.*)$" % name, self.ask(b"jobs\n")).group(1).split(" ")


class Jobs(Children):
    def start_daemon(self):
        self.script("test", "echo x >>ran", '[ "$(cat ran)" != x ]')
        self.script("helper", "sleep 1000 & echo $! >sleeper; wait")
        daemon = Daemon(self.folder.name, "--job", "test=" + self.path("test"),
                        "--job", "helper=exec " + self.path("helper"), "--job", "quiet=echo noise")
        until(lambda: "job quiet started" in daemon.read_log(), "the start of the last job")
        daemon.initial_descriptors = daemon.descriptors()
        return daemon

    def test_are_started_again_until_they_succeed(self):
        until(lambda: self.job("test") == ["idle", "-", "2", "1", "0"], "a second run")
        self.assertEqual("x\nx\n", self.read("ran"))
        log = self.daemon.read_log()
        self.assertIn("job test failed (1); again in 1 s", log)
        self.assertIn("job test done", log)

    def test_are_run_when_somebody_asks(self):
        until(lambda: self.job("quiet")[0] == "idle", "the end of a job")
        self.assertEqual((0, "", ""), self.gardenctl("run", "quiet"))
        until(lambda: self.job("quiet") == ["idle", "-", "2", "0", "0"], "the end of a job")
        self.assertEqual((1, "", "gardenctl: no such job\n"), self.gardenctl("run", "ivy"))
        self.assertEqual((1, "", "gardenctl: diesen Auftrag gibt es nicht\n"),
                         self.gardenctl("--lang", "de", "run", "ivy"))
        self.assertEqual((1, "", "gardenctl: la tâche est déjà en cours\n"),
                         self.gardenctl("--lang", "fr", "run", "helper"))

    def test_are_started_again_when_they_are_killed(self):
        state, pid, runs, failures, last = self.job("helper")
        self.assertEqual(("running", "1", "0", "-"), (state, runs, failures, last))
        until(lambda: self.read("sleeper").endswith("\n"), "its child")
        os.kill(int(pid), signal.SIGKILL)
        os.kill(int(self.read("sleeper")), signal.SIGKILL)  # which has lived on
        until(lambda: re.fullmatch(r"running \d+ 2 1 signal-9", " ".join(self.job("helper"))),
              "another run")

    def test_are_ended_with_their_process_groups(self):
        until(lambda: self.read("sleeper").endswith("\n"), "its child")
        sleeper = int(self.read("sleeper"))
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.daemon.wait())
        until(lambda: not is_running(sleeper), "the end of what a job has started")

    def test_do_not_write_where_scripts_read(self):
        until(lambda: self.job("quiet")[0] == "idle", "the end of a job")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.daemon.wait())
        self.assertEqual(b"", self.daemon.process.stdout.read())


class JobsUnderAParentThatIgnoresItsChildren(Children):
    """Who ignores SIGCHLD hands that on to what it starts."""

    def start_daemon(self):
        return Daemon(self.folder.name, "--job", "test=exit 0",
                      prepare=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))

    def test_tell_how_they_have_ended(self):
        until(lambda: self.job("test")[0] == "idle", "the end of a job")
        self.assertEqual(["idle", "-", "1", "0", "0"], self.job("test"))


class Hook(Children):
    def start_daemon(self):
        return Daemon(self.folder.name, "--hook", self.script("it's a hook", 'echo "$#: $*" >>told'))

    def test_hears_what_the_valves_do(self):
        self.ask(b"open roses\nopen roses\nclose roses\nopen lawn\nclose lawn\n")
        until(lambda: self.read("told").splitlines() == [
            "2: roses open", "2: roses closed", "2: lawn open", "2: lawn closed"], "the hook")

    def test_hears_of_the_valves_that_are_closed_at_the_end(self):
        self.ask(b"open roses\nopen lawn\n")
        until(lambda: self.read("told").count("open\n") == 2, "the hook")
        self.daemon.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.daemon.wait())
        until(lambda: sorted(self.read("told").splitlines()) == [
            "2: lawn closed", "2: lawn open", "2: roses closed", "2: roses open"], "the hook")


class HookThatIsNotThere(GardendTest):
    options = ("--hook", "/nowhere/hook")

    def test_is_logged(self):
        self.assertEqual("OK\n", self.ask(b"open roses\n"))
        self.assertIn("the hook cannot be started: No such file", self.daemon.read_log())


class Week(VirtualTime):
    def test_waters_by_the_calendar(self):
        self.ask(b"schedule add roses mon,wed,fri 06:30 20\n"  # 72 litres each time
                 b"schedule add lawn daily 21:00 30\n"         # 360 litres
                 b"schedule add lawn sun 21:20 30\n")          # ends 20 minutes later: 240 litres

        total = []
        for _ in range(7):
            self.advance(86400)
            total.append(self.litres())

        self.assertEqual(["432.000", "792.000", "1224.000", "1584.000", "2016.000", "2376.000",
                          "2976.000"], total)
        log = self.daemon.read_log()
        self.assertEqual(3, log.count("schedule 1: roses for 20 minutes"))
        self.assertEqual(3, log.count("valve of roses opened"))
        self.assertEqual(8, log.count(": lawn for 30 minutes"))
        self.assertEqual(7, log.count("valve of lawn closed"))

    def test_opens_and_closes_to_the_second(self):
        self.ask(b"schedule add roses mon 06:30 20\n")

        self.to("2026-11-16 06:29:59")
        self.assertEqual("closed 0.0 0.000", self.roses())
        self.advance(1)
        self.assertEqual("open 0.0 0.000 1200", self.roses())
        self.advance(600)
        self.assertEqual("open 100.0 36.000 600", self.roses())
        self.advance(599)
        self.assertEqual("open 100.0 71.940 1", self.roses())
        self.advance(1)
        self.assertEqual("closed 100.0 72.000", self.roses())

    def test_leaves_time_to_what_is_opened_by_hand(self):
        self.ask(b"schedule add roses mon 06:30 20\nopen roses 420\n")
        self.to("2026-11-16 06:59:59")
        self.assertEqual("open 100.0 1511.940 1", self.roses())
        self.advance(1)
        self.assertEqual("closed 100.0 1512.000", self.roses())

    def test_does_nothing_more_for_a_schedule_that_is_removed(self):
        self.ask(b"schedule add roses daily 06:30 20\nschedule add lawn daily 06:30 1\n")
        self.advance(86400)
        self.assertEqual("84.000", self.litres())

        self.ask(b"schedule remove 1\n")
        self.advance(86400)

        self.assertEqual("96.000", self.litres())

    def test_keeps_the_moisture_since_midnight(self):
        self.ask(b"schedule add roses mon 06:30 20\n")
        self.to("2026-11-16 23:59:00")
        self.assertEqual("1440 0.0 7.6 100.0", self.line(b"moisture\n", "roses"))
        self.advance(60)
        self.assertEqual("1 0.0 0.0 0.0", self.line(b"moisture\n", "roses"))


class WeekWithoutClock(VirtualTime):
    options = ("--wait-for-clock",)

    def test_waters_only_once_the_clock_is_right(self):
        self.ask(b"schedule add roses daily 06:30 20\n")
        self.advance(86400)
        self.assertEqual("0.000", self.litres())

        self.ask(b"clock synchronized\n")
        self.advance(86400)

        self.assertEqual("72.000", self.litres())


def request_in(languages):
    """A request with this header field Accept-Language."""
    return REQUEST.replace(b"\r\n\r\n", b"\r\nAccept-Language: " + languages + b"\r\n\r\n")


class LanguageTest(GardendTest):
    def page(self, languages):
        """The page as somebody who wants these languages gets it, and its language."""
        with self.http() as client:
            status, fields, body = client.send(request_in(languages)).answer()
        self.assertEqual((200, "text/html; charset=utf-8"), (status, fields["content-type"]))
        self.assertEqual("Accept-Language", fields["vary"])
        language = fields["content-language"]
        self.assertIn(b'<html lang="%s">' % language.encode(), body)
        return language, body.decode(errors="replace")


class Language(LanguageTest):
    def test_of_the_page_is_the_one_of_its_reader(self):
        self.ask(b"schedule add hedge sat 05:07 9\n")
        language, page = self.page(b"de-AT, en;q=0.5")
        self.assertEqual("de", language)
        self.assertIn("<h1>Der Garten 🌱</h1>", page)
        self.assertIn("<td>geschlossen</td>", page)
        self.assertIn("<tr><td>hedge</td><td>Sa</td><td>05:07</td>", page)
        self.assertIn("0 von 4 Ventilen offen · 0,000\u00a0l Wasser abgegeben · "
                      "nächste Bewässerung: hedge, Sa 05:07\u00a0Uhr", page)

        language, page = self.page(b"fr")
        self.assertEqual("fr", language)
        self.assertIn("<h1>Le jardin 🌱</h1>", page)
        self.assertIn("vannes ouvertes\u00a0: 0 sur 4 · eau distribuée\u00a0: 0,000\u00a0l · "
                      "prochain arrosage\u00a0: hedge, sam. à 05:07", page)

        language, page = self.page(b"ja, en")
        self.assertEqual("en", language)
        self.assertIn("0 of 4 valves open · 0.000 l delivered · next: hedge on sat at 05:07", page)

    def test_of_the_page_is_english_for_who_says_nothing(self):
        with self.http() as client:
            _, fields, body = client.send(REQUEST).answer()
        self.assertEqual("en", fields["content-language"])
        self.assertIn(b'<html lang="en">', body)

    def test_is_chosen_anew_for_each_request(self):
        with self.http() as client:
            client.send(request_in(b"de") + request_in(b"fr") + REQUEST)
            self.assertEqual(["de", "fr", "en"],
                             [client.answer()[1]["content-language"] for _ in range(3)])

    def test_is_weighed(self):
        for languages, chosen in ((b"fr;q=0.2, de;q=0.3", "de"), (b"de;q=0, fr;q=0.001", "fr"),
                                  (b"*", "en"), (b"en;q=0, *", "fr"), (b"*;q=0", "en"),
                                  (b"de;q=0", "en"), (b"fr, de", "fr"), (b"DE", "de"),
                                  (b"de-CH-1996", "de"), (b"de\r\nAccept-Language: fr", "de")):
            self.assertEqual(chosen, self.page(languages)[0], languages)

    def test_may_be_wished_for_in_any_hostile_way(self):
        for languages in (b"", b",", b";;;", b"de;q=", b"de;q=9", b"../../../etc", b"*;q=x",
                          b"%s%s%n", b"[a-z]*", b"de\xff", b"\xff\xfe", b"q=1", b"-", b"d\te",
                          b"de;q=0.5;q=1", b"x" * 8000, b"," * 8000, b"de-" * 2600):
            self.assertIn(self.page(languages)[0], ("de", "en"), languages)
        self.assertEqual("fr", self.page(b"de;q=0.1" + b",fr-CA;q=0.9" * 600)[0])
        with self.http() as client:
            self.assertEqual(431, client.status(request_in(b"de," * 10000)))
        self.assertEqual("de", self.page(b"de")[0])

    def test_does_not_matter_to_programs(self):
        with self.http() as client:
            one = client.send(JSON_REQUEST).answer()[1]
            self.assertNotIn("content-language", one)
            self.assertNotIn("vary", one)
        self.assertIn("clock synchronized\nschedules 0\nnext none\n",
                      self.gardenctl("--lang", "de", "status")[1])

    def test_of_gardenctl_is_that_of_its_user(self):
        english = (0, "0 of 4 valves open · 0.000 l delivered · nothing is scheduled\n", "")
        german = (0, "0 von 4 Ventilen offen · 0,000\u00a0l Wasser abgegeben · "
                  "keine Bewässerung geplant\n", "")
        french = (0, "vannes ouvertes\u00a0: 0 sur 4 · eau distribuée\u00a0: 0,000\u00a0l · "
                  "aucun arrosage prévu\n", "")
        for language, answer in (("en", english), ("de", german), ("de_AT.UTF-8", german),
                                 ("fr-CA", french), ("ja", english), ("C", english)):
            self.assertEqual(answer, self.gardenctl("--lang", language, "summary"), language)
            self.assertEqual(answer, self.gardenctl("summary", environment={"LC_ALL": language}))
        none = {"LC_ALL": "", "LC_MESSAGES": "", "LANG": ""}
        self.assertEqual(english, self.gardenctl("summary", environment=none))
        self.assertEqual(german, self.gardenctl("summary", environment={**none, "LANG": "de_DE"}))
        self.assertEqual(french, self.gardenctl("summary", environment={
            "LC_ALL": "", "LC_MESSAGES": "fr_FR", "LANG": "de_DE"}))
        self.assertEqual(english, self.gardenctl("summary", environment={
            "LC_ALL": "C", "LC_MESSAGES": "fr_FR", "LANG": "de_DE"}))
        self.assertEqual(german, self.gardenctl("--lang", "de", "summary",
                                                environment={"LC_ALL": "fr_FR.UTF-8"}))

    def test_of_complaints_is_that_of_the_user(self):
        self.assertEqual((1, "", "gardenctl: diese Zone gibt es nicht\n"),
                         self.gardenctl("--lang", "de", "open", "ivy"))
        self.assertEqual((1, "", "gardenctl: cette zone n’existe pas\n"),
                         self.gardenctl("--lang", "fr", "open", "ivy"))
        self.assertEqual((2, "", "gardenctl: unbekannte Anfrage\nSiehe gardenctl --help.\n"),
                         self.gardenctl("--lang", "de", "water", "everything"))
        status, _, complaint = self.gardenctl("--lang", "de", "status", control="nowhere")
        self.assertEqual((1, "gardenctl: kein gardend unter nowhere"), (status, complaint[:37]))
        for language in ("", "d e", "de\n", "../de", "x" * 36, "é", "de,fr"):
            self.assertEqual((2, "", "gardenctl: %s: neither a language nor a locale\n"
                              "Try gardenctl --help.\n" % language),
                             self.gardenctl("--lang", language, "status"), language)
        self.assertEqual((2, "", "gardenctl: de,fr: weder eine Sprache noch eine Locale\n"
                          "Siehe gardenctl --help.\n"),
                         self.gardenctl("--lang", "de,fr", "status", environment={"LC_ALL": "de"}))

    def test_of_a_control_connection_stays_until_it_is_changed(self):
        self.assertEqual("ERROR no such zone\n"
                         "de\nOK\nERROR diese Zone gibt es nicht\n"
                         "fr\nOK\nERROR cette zone n’existe pas\nERROR requête inconnue\n"
                         "en\nOK\nERROR no such zone\n",
                         self.ask(b"open ivy\n"
                                  b"language de-AT\nopen ivy\n"
                                  b"language ja,fr;q=0.5\nopen ivy\nlanguage\n"
                                  b"language \xff%s\nopen ivy\n"))
        self.assertEqual("ERROR no such zone\n", self.ask(b"open ivy\n"))

    def test_of_the_log_is_english(self):
        self.gardenctl("--lang", "de", "open", "roses")
        self.assertIn("valve of roses opened", self.daemon.read_log())


class Catalogs(LanguageTest):
    """Catalogs in a folder of the test."""

    def start_daemon(self):
        self.texts = os.path.join(self.folder.name, "texts [1] 100%")
        for language in ("en", "fr", "de"):
            os.makedirs(os.path.dirname(self.catalog(language)))
            shutil.copy(self.original(language), self.catalog(language))
        self.prepare()
        return Daemon(self.folder.name, "--texts",
                      os.path.join(self.folder.name, "texts ?1? 100%%/%s/gardend.cat"))

    def prepare(self):
        pass

    def catalog(self, language):
        return os.path.join(self.texts, language, "gardend.cat")

    def original(self, language):
        return os.path.join(visit.PROGRAMS, "texts", language, "gardend.cat")

    def check_page(self, language):
        """Whatever has happened to its language, the page is whole."""
        got, page = self.page(language)
        for zone in ("lawn", "roses", "vegetables", "hedge"):
            self.assertIn("<td>" + zone + "</td>", page)
        self.assertRegex(page, r"<h1>[^<]+</h1>")
        self.assertTrue(page.endswith("</footer>\n</body>\n</html>\n"))
        return got, page


class CatalogsElsewhere(Catalogs):
    def test_are_found_where_the_option_says(self):
        self.assertEqual("de", self.page(b"de")[0])
        self.assertNotIn("no message catalog", self.daemon.read_log())

    def test_are_found_by_gardenctl_where_the_option_says(self):
        programs = os.path.join(self.folder.name, "programs")
        os.mkdir(programs)
        shutil.copy(os.path.join(visit.PROGRAMS, "gardenctl"), programs)
        pattern = os.path.join(self.folder.name, "texts ?1? 100%%/%s/gardend.cat")
        self.assertEqual((2, "", "gardenctl: unbekannte Anfrage\nSiehe gardenctl --help.\n"),
                         self.gardenctl("--lang", "de", "--texts", pattern, "water",
                                        programs=programs))

    def test_are_loaded_at_the_start(self):
        shutil.rmtree(self.texts)
        for language in ("en", "fr", "de"):
            self.assertEqual(language, self.page(language.encode())[0])

    def test_are_there_in_a_moment_without_descriptors(self):
        with self.http() as client:
            client.status(REQUEST)
            pid = self.daemon.process.pid
            limits = resource.prlimit(pid, resource.RLIMIT_NOFILE)
            resource.prlimit(pid, resource.RLIMIT_NOFILE, (3, limits[1]))
            language = client.send(request_in(b"de")).answer()[1]["content-language"]
            resource.prlimit(pid, resource.RLIMIT_NOFILE, limits)
        self.assertEqual("de", language)
        self.assertEqual("de", self.page(b"de")[0])


class CatalogsOfAProgram(GardendTest):
    def check_found(self, program, texts):
        """A program finds its catalogs from where it is, whatever the folders are called."""
        folder = os.path.join(self.folder.name, "it's [1] 100% *?\\")
        program, texts = os.path.join(folder, program), os.path.join(folder, texts)
        os.makedirs(program)
        os.makedirs(texts)
        shutil.copy(os.path.join(visit.PROGRAMS, "gardenctl"), program)
        shutil.copy(os.path.join(visit.PROGRAMS, "texts", "de", "gardend.cat"), texts)
        self.assertEqual((1, "", "gardenctl: diese Zone gibt es nicht\n"),
                         self.gardenctl("--lang", "de", "open", "ivy", programs=program))
        self.assertEqual((2, "", "gardenctl: unbekannte Anfrage\nSiehe gardenctl --help.\n"),
                         self.gardenctl("--lang", "de", "water", programs=program))

    def test_are_found_where_it_was_built(self):
        self.check_found("build", "build/texts/de")

    def test_are_found_where_it_was_installed(self):
        self.check_found("bin", "share/gardend/de")


class CatalogsThatAreMissing(Catalogs):
    def prepare(self):
        shutil.rmtree(self.texts)

    def test_are_made_up_for_in_english(self):
        self.assertIn("no message catalog of English: see --texts", self.daemon.read_log())
        language, page = self.check_page(b"de, fr")
        self.assertEqual("en", language)
        self.assertIn("0 of 4 valves open · 0.000 l delivered · nothing is scheduled", page)
        self.assertEqual("en\nOK\nERROR no such zone\n", self.ask(b"language de\nopen ivy\n"))

    def test_are_missed_by_gardenctl_no_less(self):
        programs = os.path.join(self.folder.name, "programs")
        os.mkdir(programs)
        shutil.copy(os.path.join(visit.PROGRAMS, "gardenctl"), programs)
        self.assertEqual((1, "", "gardenctl: no such zone\n"),
                         self.gardenctl("--lang", "de", "open", "ivy", programs=programs))
        self.assertEqual((2, "", "gardenctl: unknown request\nTry gardenctl --help.\n"),
                         self.gardenctl("--lang", "de", "water", programs=programs))


class CatalogsThatAreDamaged(Catalogs):
    def prepare(self):
        with open(self.catalog("en"), "wb") as file:
            file.write(b"garbage")
        with open(self.catalog("de"), "r+b") as file:
            file.truncate(os.path.getsize(self.catalog("de")) // 2)
        with open(self.catalog("fr"), "wb") as file:
            file.write(os.urandom(5000))

    def test_are_made_up_for_in_english(self):
        self.assertIn("no message catalog", self.daemon.read_log())
        self.assertEqual("en", self.check_page(b"en")[0])
        self.assertEqual("en", self.check_page(b"fr")[0])
        language, page = self.check_page(b"de")
        self.assertEqual("de", language)
        self.assertIn("<h1>Der Garten 🌱</h1>", page)
        self.assertEqual("de\nOK\nERROR no such zone\n", self.ask(b"language de\nopen ivy\n"))


class CatalogsThatAreChanged(Catalogs):
    """Never do this: a catalog is replaced by rename."""

    def test_while_they_are_open_harm_nobody(self):
        self.assertEqual("de", self.page(b"de")[0])
        size = os.path.getsize(self.catalog("de"))
        for filling in (b"<script>", b"%n%1$s%s%9$s", b"\n", b"\0", b"\xff\0", b"\0\xff"):
            with open(self.catalog("de"), "r+b") as file:
                file.write((filling * size)[:size])
            _, page = self.check_page(b"de")
            self.assertNotIn("<script", page)
            self.assertRegex(self.ask(b"language de\nopen ivy\nsummary\n"),
                             r"\A[a-z]{2}\nOK\nERROR [^\n]+\n[^\n]+\nOK\n\Z")
        with open(self.catalog("de"), "r+b") as file:
            file.truncate(0)
        _, page = self.check_page(b"de")
        self.assertIn("<h1>The garden 🌱</h1>", page)


class End(GardendTest):
    def test_comes_with_sigterm_while_clients_are_connected(self):
        with self.http() as one, self.http() as other, self.ctl() as third:
            one.status(REQUEST)
            other.send(REQUEST[:9])
            third.send(b"open roses\n").take_until(b"\n")
            self.daemon.process.send_signal(signal.SIGTERM)
            self.assertEqual(0, self.daemon.wait())
        self.assertIn("valve of roses closed", self.daemon.read_log())

    def test_comes_with_sigint(self):
        self.daemon.process.send_signal(signal.SIGINT)
        self.assertEqual(0, self.daemon.wait())

    def test_comes_with_quit(self):
        self.assertEqual((0, "", ""), self.gardenctl("quit"))
        self.assertEqual(0, self.daemon.wait())


class Start(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="gardend-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.path = os.path.join(self.folder, "control")

    def gardend(self, *arguments):
        """Runs gardend, which must end by itself: its exit status, its output, its complaint."""
        done = subprocess.run(
            [*visit.WRAPPER, os.path.join(visit.PROGRAMS, "gardend"), *arguments],
            capture_output=True, text=True, timeout=DEADLINE, check=False)
        return done.returncode, done.stdout, done.stderr

    def test_is_refused_with_wrong_options(self):
        for arguments in (("--listen", "8080"), ("--listen", "127.0.0.1:65536"),
                          ("--listen", "localhost:80"), ("--listen", "127.0.0.1:"),
                          ("--listen", "127.0.0.1:-1"), ("--tick", "0"), ("--tick", "1s"),
                          ("--tick", "99999999999999999999"), ("--timeout", " 1"), ("--tick",),
                          ("--socket", ""), ("--socket", "/" + "x" * 108), ("--bad",), ("word",),
                          ("--sample", "0"), ("--sample", "86401"), ("--sample", ""),
                          ("--wait-for-clock=yes",), ("--texts", ""), ("--texts",),
                          ("--drivers", ""), ("--hook", ""), ("--job", "test"), ("--job", "test="),
                          ("--job", "=true"), ("--job", "a test=true"), ("--job", "é=true"),
                          ("--job", "x" * 32 + "=true"), ("--job", "a=true", "--job", "a=false"),
                          tuple(word for i in range(17) for word in ("--job", "a%d=true" % i)),
                          ("--job-user", ""), ("--job-user", "nobody at all"),
                          ("--job-user", "x" * 40)):
            status, output, complaint = self.gardend(*arguments)
            self.assertEqual((2, ""), (status, output), arguments)
            self.assertTrue(complaint)

    def test_helps(self):
        status, output, _ = self.gardend("--help")
        self.assertEqual((0, "Usage:"), (status, output[:6]))

    def test_is_refused_without_drivers(self):
        for file, missing in (("sim_sensor.so", "valves"), ("sim_valve.so", "sensors")):
            status, output, complaint = self.gardend(
                "--drivers", os.path.join(visit.PROGRAMS, "drivers", file), "--socket", self.path)
            self.assertEqual((1, ""), (status, output))
            self.assertIn("no driver for the %s: see --drivers" % missing, complaint)
        status, output, complaint = self.gardend("--drivers", os.path.join(self.folder, "*.so"))
        self.assertEqual((1, ""), (status, output))
        self.assertIn("no driver for the valves", complaint)

    def test_is_refused_with_the_reason(self):
        twice = ("--job", "a=true", "--job", "a=false")
        many = tuple(word for i in range(17) for word in ("--job", "a%d=true" % i))
        for arguments, reason in ((twice, "there is a job of that name already: a=false"),
                                  (many, "one job too many: a16=true"),
                                  (("--job-user", "nobody at all"), "no such user: nobody at all")):
            self.assertIn(reason, self.gardend(*arguments)[2])

    def test_is_refused_for_jobs_of_somebody_else_without_privilege(self):
        user = {"user": "nobody"} if os.geteuid() == 0 else {}
        try:
            done = subprocess.run([os.path.join(visit.PROGRAMS, "gardend"), "--job-user", "root"],
                                  **user, capture_output=True, text=True, timeout=DEADLINE,
                                  check=False)
        except PermissionError:
            self.skipTest("nobody may run the programs")
        self.assertEqual((2, "", "gardend: --job-user: only root runs jobs as somebody else: root\n"),
                         (done.returncode, done.stdout, done.stderr))

    def test_finds_no_drivers_in_a_folder_with_a_colon(self):
        """It separates patterns: drivers of another folder could be found."""
        folder = os.path.join(self.folder, "a:b")
        shutil.copytree(os.path.join(visit.PROGRAMS, "drivers"), os.path.join(folder, "drivers"))
        shutil.copy(os.path.join(visit.PROGRAMS, "gardend"), folder)

        done = subprocess.run([os.path.join(folder, "gardend"), "--socket", self.path],
                              capture_output=True, text=True, timeout=DEADLINE, check=False)

        self.assertEqual((1, "gardend: no driver for the valves: see --drivers\n"),
                         (done.returncode, done.stderr))

    def test_does_not_remove_a_file_that_is_no_socket(self):
        with open(self.path, "w") as file:
            file.write("precious")

        status, _, complaint = self.gardend("--listen", "127.0.0.1:0", "--socket", self.path)

        self.assertEqual(1, status)
        self.assertIn("is in the way", complaint)
        with open(self.path) as file:
            self.assertEqual("precious", file.read())

    def test_does_not_take_the_place_of_another_daemon(self):
        daemon = Daemon(self.folder)
        self.addCleanup(daemon.close)

        status, _, complaint = self.gardend("--listen", "127.0.0.1:0", "--socket", daemon.control)
        self.assertEqual(1, status)
        self.assertIn("another one", complaint)
        status, _, complaint = self.gardend("--listen", "127.0.0.1:%d" % daemon.port, "--socket",
                                            daemon.control + "x")
        self.assertEqual(1, status)
        self.assertIn("cannot listen", complaint)

        with Client(daemon.control) as client:
            self.assertEqual(b"OK", client.send(b"open lawn\n").take_until(b"\n"))

    def test_leaves_the_drivers_to_the_daemon_that_runs(self):
        daemon = Daemon(self.folder)
        self.addCleanup(daemon.close)
        drivers = os.path.join(self.folder, "note.so")  # loading it would be complained about
        with open(drivers, "w") as file:
            file.write("no library")

        status, _, complaint = self.gardend("--listen", "127.0.0.1:0", "--socket", daemon.control,
                                            "--drivers", drivers, "--log-stderr")

        self.assertEqual((1, "gardend: another one listens on %s\n" % daemon.control),
                         (status, complaint))

    def test_takes_the_place_of_a_daemon_that_was_killed(self):
        first = Daemon(self.folder)
        first.close()
        self.assertTrue(os.path.exists(self.path))

        second = Daemon(self.folder)
        self.addCleanup(second.close)

        with Client(self.path) as client:
            self.assertEqual(b"OK", client.send(b"open lawn\n").take_until(b"\n"))


if __name__ == "__main__":
    visit.main()
