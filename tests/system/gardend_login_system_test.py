#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Logs in to gardend, downloads its logs, and looks at its display.

    gardend_login_system_test.py --programs FOLDER [--wrapper COMMAND] [--simulator EVLP_SIM]
                                 [unittest options]

The options are those of gardend_system_test.py. Clients are curl and Chromium, each test skipped
where the one that it needs is missing; and bytes on a socket, for what those do not do.
"""

import hashlib
import os
import re
import shutil
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import gardend_visit as visit
from gardend_visit import DEADLINE, Daemon, GardendTest, VirtualTime, until

LOG = "2026-11-16T06:30:00Z roses opened\n"


def md5(*parts):
    return hashlib.md5(":".join(parts).encode()).hexdigest()


def head(target, authorization=None, method="GET"):
    field = "Authorization: %s\r\n" % authorization if authorization is not None else ""
    return ("%s %s HTTP/1.1\r\nHost: garden\r\n%s\r\n" % (method, target, field)).encode()


class LoginTest(GardendTest):
    configuration = ("zone roses on line 0, 60 ml/s;\n"
                     'user "Mufasa" password "Circle Of Life";\n'
                     'user "Simba" ha1 "%s";\n' % md5("Simba", "gardend", "Hakuna Matata"))

    def configure(self):
        path = os.path.join(self.folder.name, "gardend.conf")
        with open(path, "w") as file:
            file.write(self.configuration)
        return path

    def start_daemon(self):
        return Daemon(self.folder.name, "--config", self.configure(), *self.options)

    def url(self, target, login=""):
        return "http://%s127.0.0.1:%d%s" % (login and login + "@", self.daemon.port, target)

    def nonce(self, client):
        """Asks, and takes the nonce out of the answer."""
        status, fields, _ = client.send(head("/")).answer()
        self.assertEqual(401, status)
        return self.nonce_of(fields)

    def nonce_of(self, fields):
        return re.search('nonce="([^"]*)"', fields["www-authenticate"]).group(1)

    def say(self, nonce, count=1, target="/", user="Mufasa", password="Circle Of Life",
            method="GET"):
        """What a client says to a nonce. Without a count it knows no qop."""
        ha1 = md5(user, "gardend", password)
        ha2 = md5(method, target)
        if count is None:
            response, more = md5(ha1, nonce, ha2), ""
        else:
            response = md5(ha1, nonce, "%08x" % count, "0a4f113b", "auth", ha2)
            more = ', qop=auth, nc=%08x, cnonce="0a4f113b"' % count
        return ('Digest username="%s", realm="gardend", nonce="%s", uri="%s", response="%s"%s'
                % (user, nonce, target, response, more))

    def check_stale(self, client, authorization):
        """The password is right, and the nonce is not: clients try again with the new one."""
        status, fields, _ = client.send(head("/", authorization)).answer()
        self.assertEqual(401, status)
        self.assertIn("stale=true", fields["www-authenticate"])
        return self.nonce_of(fields)


class Login(LoginTest):
    def test_is_asked_for(self):
        with self.http() as client:
            for target in ("/", "/?a=b", "/status.json"):
                status, fields, body = client.send(head(target)).answer()
                self.assertEqual((401, b"401 Unauthorized\n"), (status, body))
                self.assertRegex(fields["www-authenticate"],
                                 r'\ADigest realm="gardend", nonce="[^"]+", qop="auth", '
                                 r"algorithm=MD5\Z")
            status, fields, _ = client.send(head("/", method="HEAD")).answer(has_body=False)
            self.assertIn("www-authenticate", fields)
            self.assertEqual(404, client.status(head("/favicon.ico")))

    def test_is_possible_with_each_of_the_passwords(self):
        with self.http() as client:
            self.assertEqual(200, client.status(head("/", self.say(self.nonce(client)))))
            self.assertEqual(200, client.status(head("/", self.say(
                self.nonce(client), user="Simba", password="Hakuna Matata"))))
            for user, password in (("Mufasa", "Hakuna Matata"), ("Scar", "Circle Of Life"),
                                   ("", ""), ("mufasa", "Circle Of Life")):
                status, fields, _ = client.send(head("/", self.say(
                    self.nonce(client), user=user, password=password))).answer()
                self.assertEqual(401, status)
                self.assertNotIn("stale", fields["www-authenticate"])

    def test_goes_on_with_one_nonce_on_any_connection(self):
        with self.http() as client:
            nonce = self.nonce(client)
        for count in range(1, 20):
            with self.http() as client:
                target = "/?visit=%d" % count
                self.assertEqual(200, client.status(head(target, self.say(nonce, count, target))))

    def test_is_not_possible_again_with_the_same_count(self):
        with self.http() as client:
            nonce = self.nonce(client)
            self.assertEqual(200, client.status(head("/", self.say(nonce, 2))))
            self.check_stale(client, self.say(nonce, 2))
            fresh = self.check_stale(client, self.say(nonce, 1))
            self.assertEqual(200, client.status(head("/", self.say(nonce, 3))))
            self.assertEqual(200, client.status(head("/", self.say(fresh))))

    def test_without_qop_is_possible_once_for_each_nonce(self):
        with self.http() as client:
            nonce = self.nonce(client)
            self.assertEqual(200, client.status(head("/", self.say(nonce, None))))
            fresh = self.check_stale(client, self.say(nonce, None))
            self.assertEqual(200, client.status(head("/", self.say(fresh, None))))

    def test_is_for_one_target_and_one_method(self):
        with self.http() as client:
            said = self.say(self.nonce(client))
            self.assertEqual(400, client.status(head("/?a", said)))
            self.assertEqual(400, client.status(head("/status.json", said)))
            self.assertEqual(401, client.status(head("/", said, method="POST")))
            self.assertEqual(200, client.status(head("/", said)))

    def test_comes_before_every_other_refusal(self):
        with self.http() as client:
            self.assertEqual(401, client.status(head("/", method="POST")))
            said = self.say(self.nonce(client), method="POST")
            self.assertEqual(405, client.status(head("/", said, method="POST")))

    def test_of_another_daemon_is_stale(self):
        with self.http() as client:
            nonce = self.nonce(client)
            self.check_stale(client, self.say(nonce[:-1] + ("0" if nonce[-1] != "0" else "1")))
            self.check_stale(client, self.say("dcd98b7102dd2f0e8b11d0f600bfb0c093"))

    def test_changes_with_the_configuration(self):
        with self.http() as client:
            nonce = self.nonce(client)
            self.assertEqual(200, client.status(head("/", self.say(nonce))))
            self.configuration = self.configuration.replace("Circle Of Life", "Be Prepared")
            self.configure()
            self.assertEqual(0, self.gardenctl("reload")[0])
            self.assertEqual(401, client.status(head("/", self.say(nonce, 2))))
            self.assertEqual(200, client.status(head("/", self.say(nonce, 2,
                                                                   password="Be Prepared"))))

    def test_may_be_tried_in_any_hostile_way(self):
        with self.http() as client:
            for field in ("Digest", "Digest ,,,", "Digest username", 'Digest username="',
                          "Digest =", 'Digest username="\\', "Digest a=b", "Digest " + "a=b," * 1900,
                          self.say("x") + ", qop=auth", self.say("x").replace("qop=auth", "qop=x"),
                          self.say("x") + ", algorithm=SHA-256", self.say("x") + ', username="b"',
                          self.say("x").replace("username=", "username*="), "Digest \xff=\xff",
                          self.say("x").replace("00000001", "1")):
                self.assertEqual(400, client.status(head("/", field)), field)
            for field in ("", "Basic TXVmYXNhOkNpcmNsZSBPZiBMaWZl", "Bearer x", "\"Digest\" a=b"):
                self.assertEqual(401, client.status(head("/", field)), field)
            self.assertEqual(200, client.status(head("/", self.say(self.nonce(client)))))

    def test_is_not_disturbed_by_who_asks_for_thousands_of_nonces(self):
        with self.http() as client, self.http() as other:
            nonce = self.nonce(client)
            self.assertEqual(200, client.status(head("/", self.say(nonce))))
            unused = self.nonce(client)
            for _ in range(20):
                other.send(head("/") * 100)
                self.assertEqual({401}, {other.answer()[0] for _ in range(100)})
            self.assertEqual(200, client.status(head("/", self.say(nonce, 2))))
            self.assertEqual(200, client.status(head("/", self.say(unused))))


class WrongLogin(LoginTest):
    def test_has_to_wait_after_sixty_in_a_minute(self):
        with self.http() as client:
            nonce = self.nonce(client)
            self.assertEqual(200, client.status(head("/", self.say(nonce))))
            wrong = head("/", self.say(nonce, 2, password="Be Prepared"))
            self.assertEqual([401] * 60, [client.status(wrong) for _ in range(60)])
            status, fields, _ = client.send(wrong).answer()
            self.assertEqual(503, status)
            self.assertRegex(fields["retry-after"], r"\A[1-6]?[0-9]\Z")
            self.assertEqual(503, client.status(head("/", self.say(self.nonce(client)))))
            self.assertEqual(200, client.status(head("/", self.say(nonce, 2))))
        log = self.daemon.read_log()
        self.assertEqual(1, log.count("wrong logins: "), log)
        self.assertIn('wrong logins: 1, the last one as "Mufasa"\n', log)


class LoginWithCurl(LoginTest):
    def setUp(self):
        if shutil.which("curl") is None:
            self.skipTest("needs curl")
        super().setUp()

    def curl(self, login, target, *options):
        """The status of the last answer, how many connections were made, and the body."""
        done = subprocess.run(
            ["curl", "-q", "--noproxy", "*", "--silent", "--digest", "--user", login,
             "--write-out", "\n%{http_code} %{num_connects}", *options, self.url(target)],
            capture_output=True, encoding="utf-8", timeout=DEADLINE, check=True)
        body, end = done.stdout.rsplit("\n", 1)
        status, connections = end.split()
        return int(status), int(connections), body

    def test_is_let_in_on_one_connection(self):
        for target in ("/", "/?a=b&c", "/status.json"):
            status, connections, body = self.curl("Mufasa:Circle Of Life", target)
            self.assertEqual((200, 1), (status, connections))
            self.assertIn("roses" if target == "/status.json" else "</html>", body)

    def test_is_let_in_for_the_head_alone(self):
        self.assertEqual(200, self.curl("Simba:Hakuna Matata", "/", "--head")[0])

    def test_is_refused_with_a_wrong_password(self):
        status, _, body = self.curl("Mufasa:Hakuna Matata", "/")
        self.assertEqual((401, "401 Unauthorized\n"), (status, body))


class LoginWithChromium(LoginTest):
    def setUp(self):
        self.browser = shutil.which("chromium")
        if self.browser is None:
            self.skipTest("needs chromium")
        super().setUp()

    def visit(self, login, language="en"):
        """What the browser shows in the end."""
        options = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                   "--no-first-run", "--disable-background-networking",
                   "--disable-component-update", "--disable-sync", "--no-proxy-server",
                   "--accept-lang=" + language,
                   "--user-data-dir=" + os.path.join(self.folder.name, "browser")]
        done = subprocess.run([self.browser, *options, "--dump-dom", self.url("/", login)],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              encoding="utf-8", timeout=DEADLINE, check=False)
        return done.stdout

    def test_shows_the_page(self):
        self.assertIn("<td>roses</td>", self.visit("Mufasa:Circle%20Of%20Life"))
        self.assertIn("<h1>Der Garten", self.visit("Simba:Hakuna%20Matata", "de"))

    def test_shows_nothing_without_the_password(self):
        self.assertNotIn("roses", self.visit(""))
        self.assertNotIn("roses", self.visit("Mufasa:Hakuna%20Matata"))
        self.assertIn('wrong logins: 1, the last one as "Mufasa"', self.daemon.read_log())
        self.assertIn("roses", self.visit("Mufasa:Circle%20Of%20Life"))


class LoginInVirtualTime(LoginTest, VirtualTime):
    def start_daemon(self):
        self.options = ("--config", self.configure())
        return VirtualTime.start_daemon(self)

    def test_goes_on_with_one_nonce_for_five_minutes(self):
        with self.http() as client:
            nonce = self.nonce(client)
        self.advance(300)
        with self.http() as client:
            self.assertEqual(200, client.status(head("/", self.say(nonce, 1))))
        self.advance(1)
        with self.http() as client:
            fresh = self.check_stale(client, self.say(nonce, 2))
            self.assertEqual(200, client.status(head("/", self.say(fresh))))


class DownloadTest(LoginTest):
    def configure(self, key="secret"):
        self.logs = os.path.join(self.folder.name, "logs")
        os.makedirs(self.logs, exist_ok=True)
        self.write("valves.log", LOG)
        self.configuration = (LoginTest.configuration + 'log folder "%s";\n' % self.logs +
                              'download key "%s" for 10 minutes;\n' % key)
        return super().configure()

    def write(self, name, content):
        with open(os.path.join(self.logs, name), "w") as file:
            file.write(content)

    def addresses(self):
        """The addresses of the downloads that the page links to, by the names of the files."""
        with self.http() as client:
            said = self.say(self.nonce(client))
            status, _, body = client.send(head("/", said)).answer()
        self.assertEqual(200, status)
        return {address.rsplit("/", 1)[1]: address
                for address in re.findall('href="(/log/[^"]*)"', body.decode())}

    def get(self, address):
        with self.http() as client:
            status, _, body = client.send(head(address)).answer()
        return status, body.decode()


class Download(DownloadTest):
    def test_needs_an_address_and_no_login(self):
        address = self.addresses()["valves.log"]
        self.assertRegex(address, r"\A/log/[0-9a-f]{32}/[0-9a-f]{8}/valves\.log\Z")
        for _ in range(2):
            self.assertEqual((200, LOG), self.get(address))

    def test_is_a_file_of_text_to_be_saved(self):
        with self.http() as client:
            _, fields, _ = client.send(head(self.addresses()["valves.log"])).answer()
        self.assertEqual(("text/plain; charset=utf-8", "attachment", "no-store"),
                         (fields["content-type"], fields["content-disposition"],
                          fields["cache-control"]))

    def test_is_refused_at_an_address_that_was_not_made_here(self):
        address = self.addresses()["valves.log"]
        other = address.replace("/log/" + address[5], "/log/" + ("0" if address[5] != "0" else "1"))
        self.assertEqual(403, self.get(other)[0])
        self.write("secret.log", "secret")
        self.assertEqual(403, self.get(address.replace("valves.log", "secret.log"))[0])

    def test_is_refused_at_an_address_that_is_none(self):
        address = self.addresses()["valves.log"]
        for other in (address + "/", address + "x", address.replace("valves", "../valves"),
                      address.replace("valves.log", "../gardend.conf"), "/log/", "/log/valves.log",
                      address.replace("valves.log", "")):
            self.assertEqual(404, self.get(other)[0], other)

    def test_is_refused_once_the_key_is_another_one(self):
        address = self.addresses()["valves.log"]
        self.configure("another secret")
        self.assertEqual(0, self.gardenctl("reload")[0])
        self.assertEqual(403, self.get(address)[0])
        self.assertEqual((200, LOG), self.get(self.addresses()["valves.log"]))

    def test_is_of_the_moisture_too(self):
        status, body = self.get(self.addresses()["moisture.log"])
        self.assertEqual(200, status)
        self.assertRegex(body, r"\A\S+ roses [0-9.]+\n")

    def test_is_gone_with_the_file(self):
        address = self.addresses()["valves.log"]
        os.remove(os.path.join(self.logs, "valves.log"))
        self.assertEqual(404, self.get(address)[0])
        self.assertNotIn("valves.log", self.addresses())

    def test_of_a_large_file_is_its_end(self):
        self.write("large.log", "0123456789\n" * 100000 + "end\n")
        status, body = self.get(self.addresses()["large.log"])
        self.assertEqual(200, status)
        self.assertEqual(("0123456789\n", "0123456789\nend\n"), (body[:11], body[-15:]))
        self.assertLess(131000, len(body))
        self.assertLessEqual(len(body), 131072)

    def test_is_kept_for_four_clients_that_do_not_read(self):
        self.write("large.log", "x" * 131072)
        addresses = self.addresses()
        request = head(addresses["large.log"])
        clients = [self.http().send(request * 40) for _ in range(4)]
        until(lambda: self.get(addresses["large.log"])[0] == 503, "clients that are kept waiting")
        self.assertEqual((200, LOG), self.get(addresses["valves.log"]))
        for client in clients:
            for _ in range(40):
                self.assertIn(client.answer()[0], (200, 503))
            client.socket.close()
        self.assertEqual(200, self.get(addresses["large.log"])[0])


class DownloadInVirtualTime(DownloadTest, VirtualTime):
    def start_daemon(self):
        self.options = ("--config", self.configure())
        return VirtualTime.start_daemon(self)

    def test_is_possible_for_the_time_that_was_configured(self):
        address = self.addresses()["valves.log"]
        self.assertIn("/6afa4780/", address)  # the clock stands at 2026-11-16 00:00:00
        self.advance(600)
        self.assertEqual((200, LOG), self.get(address))
        self.advance(1)
        self.assertEqual((410, "410 Gone\n"), self.get(address))
        self.assertEqual((200, LOG), self.get(self.addresses()["valves.log"]))


class DisplayOfTheDevice(GardendTest):
    def test_speaks_plain_ascii_in_every_language(self):
        self.gardenctl("schedule", "add", "vegetables", "daily", "06:30", "20")
        for language, first in (("en", "all valves closed"), ("de", "Ventile geschlossen"),
                                ("fr", "vannes fermees")):
            status, output, _ = self.gardenctl("--lang", language, "display")
            lines = output.split("\n")
            self.assertEqual((0, 3, first), (status, len(lines), lines[0]))
            self.assertRegex(lines[1], r"\A[A-Za-z.]+ 06:30 vegetable")
            self.assertTrue(output.isascii())
            self.assertLessEqual(len(lines[1]), 20)

    def test_follows_the_valves(self):
        self.gardenctl("open", "vegetables")
        for language, first in (("en", "vegetables open"), ("de", "lauft: vegetables"),
                                ("fr", "ouverte : vegetables")):
            self.assertEqual(first, self.gardenctl("--lang", language, "display")[1].split("\n")[0])
        self.gardenctl("open", "lawn")
        self.assertEqual("2 valves open\nnothing scheduled\n", self.gardenctl("display")[1])


if __name__ == "__main__":
    visit.main()
