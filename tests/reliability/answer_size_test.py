#!/usr/bin/env python3
"""Answers fit: into what the receiver takes (SNMPv3's msgMaxSize), into a datagram, into what the configuration says.

usage: PTPSNMPD=/path/to/ptpsnmpd answer_size_test.py [unittest options]
"""

import contextlib
import json
import socket
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from harness import Daemon, command, parse_varbinds, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import (GET, GETBULK, GETNEXT, LARGEST_MESSAGE, VERSION_1, Response, ask, element, reading,  # noqa: E402
                         udp_socket)
from snmp_version3 import LEAST_MAX_SIZE, Version3Request, engine_of  # noqa: E402
from udp_relay import UdpRelay  # noqa: E402

CLOCK = (*PTPBASE, 1, 2)
TABLES = [(*CLOCK, table) for table in range(1, 11)]
BOUNDARY_CLOCK, TRANSPARENT_CLOCK = (0, 2, 1), (24, 3, 1)  # domain, type, instance
PARENT_IDENTITY = (*CLOCK, 3, 1, 5, *TRANSPARENT_CLOCK)  # 8 octets
BEFORE_IT = (*CLOCK, 3, 1, 4, *TRANSPARENT_CLOCK)  # the cell whose next one it is
PORT_NAME = (*CLOCK, 8, 1, 5, *BOUNDARY_CLOCK, 1)
SILENT_DROPS = (1, 3, 6, 1, 2, 1, 11, 31, 0)
NO_ERROR, TOO_BIG = 0, 1
MAX_SIZES = (LEAST_MAX_SIZE, 600, 900, 1472, 65507)
LARGEST_DATAGRAM = 65507
MANY_CELLS = 2700  # whose names fit into a datagram, and whose values do not
KIB = 1024
SILENCE = 10  # seconds
AUTHENTICATION = ("MD5", "SHA", "SHA-224", "SHA-256", "SHA-384", "SHA-512")
PRIVACY = ("DES", "AES")
NAMELESS = "createUser nob\nrouser nob noauth\nrocommunity public 127.0.0.1\n"
UNIX = ('com2secunix here default public\ngroup readers v2c here\nview everything included .1\n'
        'access readers "" any noauth exact everything none none\n')


def names(response):
    return [oid for oid, _, _ in response.varbinds]


def long_name(folder):
    """A status with one port, whose name has 60 octets."""
    identity = "001122.fffe.334455"
    status = {"defaultDS": {"clockIdentity": identity, "clockMode": "boundary", "numberPorts": 1},
              "ports": {f"{identity}-1": {"interface": "E" * 60}}, "interfaces": {"E" * 60: 101}}
    (folder / "status.jsonl").write_text(json.dumps({"at": 0, "status": status}) + "\n")
    return f"replay:{folder / 'status.jsonl'}"


class Answers(unittest.TestCase):
    @contextlib.contextmanager
    def daemon(self, configuration, *options, source="demo:transparent"):
        """And a client's socket. The daemon obeys in the end."""
        with scratch_folder() as folder:
            (folder / "ptpsnmpd.conf").write_text(configuration)
            source = source(folder) if callable(source) else source
            options = [option.format(folder=folder) for option in options]
            with Daemon(folder, "--config", folder / "ptpsnmpd.conf", "--source", source, "--trace", "Snmp/off",
                        *options) as daemon, udp_socket(daemon.port) as asking:
                self.folder = folder
                yield daemon, asking
                self.assertEqual(daemon.stop(), 0)

    def assert_too_big(self, response, varbinds=()):
        self.assertIsNotNone(response)
        self.assertEqual((response.error, response.error_index, names(response)), (TOO_BIG, 0, list(varbinds)))


class Version3(Answers):
    @contextlib.contextmanager
    def asking(self):
        """What asks for a user without authentication, and gives the answer and its size."""
        with self.daemon(NAMELESS) as (_, client):
            engine = engine_of(client)

            def asking(request, max_size):
                client.send(Version3Request(request, engine, "nob", max_size).message)
                answer = client.recv(LARGEST_MESSAGE)
                return Response(answer), len(answer)
            yield asking

    def test_a_getbulk_is_answered_with_what_its_receiver_takes(self):
        with self.asking() as asking:
            for tables in (TABLES[:1], TABLES[:3], TABLES):
                for repetitions in (10, 10000):
                    request = reading(GETBULK, tables, repetitions)
                    whole, _ = asking(request, LARGEST_DATAGRAM)
                    for max_size in MAX_SIZES:
                        with self.subTest(tables=len(tables), repetitions=repetitions, max_size=max_size):
                            response, size = asking(request, max_size)
                            self.assertEqual(response.error, NO_ERROR)
                            self.assertLessEqual(size, max_size)
                            self.assertGreater(len(response.varbinds), 0)
                            self.assertEqual(names(response), names(whole)[:len(response.varbinds)])

    def test_a_get_and_a_getnext_whose_answer_its_receiver_does_not_take_get_too_big(self):
        with self.asking() as asking:
            for kind, name in ((GET, PARENT_IDENTITY), (GETNEXT, BEFORE_IT)):
                for max_size in MAX_SIZES:
                    with self.subTest(kind=kind, max_size=max_size):
                        response, size = asking(reading(kind, [name] * min(MANY_CELLS, max_size // 28)), max_size)
                        self.assert_too_big(response)
                        self.assertLessEqual(size, max_size)

    def test_thousands_of_answers_that_do_not_fit_leave_the_daemon_sound(self):
        requests = [reading(GETBULK, TABLES, 10), reading(GET, [PARENT_IDENTITY] * 40), reading(GETNEXT, [BEFORE_IT] * 40),
                    reading(GETBULK, TABLES[:2], 10000)]
        with self.asking() as asking:
            for number in range(2000):
                max_size = LEAST_MAX_SIZE + number % 400
                response, size = asking(requests[number % len(requests)], max_size)
                self.assertLessEqual(size, max_size)
                self.assertIn(response.error, (NO_ERROR, TOO_BIG))


class Version3Commands(Answers):
    """net-snmp's own, with each algorithm."""

    def test_every_algorithm_and_level_gets_right_answers_of_any_size(self):
        users = [(f"{authentication}{privacy}", authentication, privacy) for authentication in AUTHENTICATION
                 for privacy in PRIVACY]
        configuration = "rocommunity public 127.0.0.1\n" + "".join(
            f"createUser {user} {authentication} authentication {privacy} encryption\nrouser {user} auth\n"
            for user, authentication, privacy in users)
        with self.daemon(configuration, source=long_name) as (daemon, _), UdpRelay(daemon.port) as relay:
            cells = list(daemon.snmp.walk(".".join(map(str, CLOCK))).items())
            for user, authentication, privacy in users:
                access = ["-v3", "-u", user, "-a", authentication, "-A", "authentication"]
                if privacy == PRIVACY[0]:
                    self.assert_right_answers(relay, cells, *access, "-l", "authNoPriv")
                self.assert_right_answers(relay, cells, *access, "-l", "authPriv", "-x", privacy, "-X", "encryption")

    def assert_right_answers(self, relay, cells, *access):
        def asked(program, *arguments):
            relay.answers.clear()
            return list(parse_varbinds(command(program, "-t5", "-r0", "-OneUx", "-m", "", *access, *arguments[:-1],
                                               f"udp:127.0.0.1:{relay.port}", arguments[-1])).items())
        with self.subTest(access):
            self.assertEqual(asked("snmpget", cells[3][0]), cells[3:4])
            self.assertEqual(asked("snmpgetnext", cells[3][0]), cells[4:5])
            for max_size in (LEAST_MAX_SIZE, 900, LARGEST_DATAGRAM):
                answered = asked("snmpbulkget", f"--sendMessageMaxSize={max_size}", "-Cr30", cells[3][0])
                self.assertLessEqual(max(map(len, relay.answers)), max_size)
                self.assertGreater(len(answered), 0)
                self.assertEqual(answered, cells[4:4 + len(answered)])
            self.assertEqual(len(answered), 30)


class Datagrams(Answers):
    def test_what_exceeds_a_datagram_is_too_big_or_in_a_getbulk_left_out(self):
        cells = [PARENT_IDENTITY] * MANY_CELLS
        with self.daemon(NAMELESS) as (_, client):
            self.assert_too_big(ask(client, reading(GET, cells), SILENCE))
            self.assert_too_big(ask(client, reading(GETNEXT, [BEFORE_IT] * MANY_CELLS), SILENCE))
            self.assert_too_big(ask(client, reading(GET, cells, version=VERSION_1), SILENCE), cells)
            bulk = ask(client, reading(GETBULK, [BEFORE_IT] * MANY_CELLS, non_repeaters=MANY_CELLS), SILENCE)
            self.assertEqual(bulk.error, NO_ERROR)
            self.assertGreater(len(bulk.varbinds), 2000)
            self.assertEqual(set(names(bulk)), {PARENT_IDENTITY})

    def test_the_configured_size_is_kept_to(self):
        with self.daemon(NAMELESS + "[snmp] sendMessageMaxSize 2000\n") as (_, client):
            cells = [PARENT_IDENTITY] * 80
            self.assert_too_big(ask(client, reading(GET, cells), SILENCE))
            self.assert_too_big(ask(client, reading(GET, cells, version=VERSION_1), SILENCE), cells)
            client.send(reading(GETBULK, TABLES, 1000).message)
            answer = client.recv(LARGEST_MESSAGE)
            self.assertLessEqual(len(answer), 2000)
            self.assertGreater(len(Response(answer).varbinds), 50)

    def test_what_does_not_even_fit_as_too_big_is_dropped_and_counted(self):
        with self.daemon(NAMELESS + "[snmp] sendMessageMaxSize 2000\n") as (_, client):
            (_, _, before), = ask(client, reading(GET, [SILENT_DROPS]), SILENCE).varbinds
            client.send(reading(GET, [PARENT_IDENTITY] * 200, version=VERSION_1).message)
            client.send((after := reading(GET, [SILENT_DROPS])).message)
            response = Response(client.recv(LARGEST_MESSAGE))
            self.assertEqual(response.identifier, after.identifier)
            self.assertEqual(response.varbinds[0][2], before + 1)


class Streams(Answers):
    def test_an_answer_of_100_kib_arrives_whole(self):
        port = self.free_tcp_port()
        cells = [PORT_NAME] * 1300
        with self.daemon(NAMELESS + UNIX, "--listen", f"tcp:127.0.0.1:{port}", "--listen", "unix:{folder}/snmp",
                         source=long_name) as (_, client):
            wait_for("rows", lambda: ask(client, reading(GET, [PORT_NAME]), SILENCE).varbinds[0][2])
            for family, address in ((socket.AF_INET, ("127.0.0.1", port)), (socket.AF_UNIX, f"{self.folder}/snmp")):
                with self.subTest(family), socket.socket(family) as connection:
                    connection.settimeout(SILENCE)
                    connection.connect(address)
                    connection.sendall(reading(GET, cells).message)
                    answer = self.receive(connection)
                    self.assertGreater(len(answer), 100 * KIB)
                    self.assertEqual(Response(answer).varbinds, Response(answer).varbinds[:1] * len(cells))
                    self.assertEqual(names(Response(answer)), cells)

    @staticmethod
    def free_tcp_port():
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            return probe.getsockname()[1]

    @staticmethod
    def receive(connection):
        """One message."""
        received = b""
        while part := connection.recv(1 << 20):
            received += part
            with contextlib.suppress(IndexError):
                element(received, 0)
                return received
        raise ConnectionResetError


if __name__ == "__main__":
    run_tests()
