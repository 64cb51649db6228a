#!/usr/bin/env python3
"""Messages that are no SNMP, or not for an agent, and addresses that nothing guards: what becomes of them.

usage: PTPSNMPD=/path/to/ptpsnmpd hostile_test.py [unittest options]
"""

import contextlib
import socket
import subprocess
import sys
import unittest
from collections import Counter
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from checks import check  # noqa: E402
from clock_model import PTPBASE  # noqa: E402
from harness import Daemon, daemon_program, free_udp_port, run_tests, scratch_folder  # noqa: E402
from snmp_client import (GET, GETBULK, INTEGER, LARGEST_MESSAGE, NULL, OCTETS, SEQUENCE, VERSION_1, Response, ask,  # noqa: E402
                         encode, integer, object_identifier, reading, tlv, udp_socket)

PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)
SNMP = (1, 3, 6, 1, 2, 1, 11)
BAD_VERSIONS, PARSE_ERRORS = (*SNMP, 3, 0), (*SNMP, 6, 0)
RESPONSE, V1_TRAP, INFORM, V2_TRAP, REPORT = 0xa2, 0xa4, 0xa6, 0xa7, 0xa8
SILENCE = 5  # seconds
SERVED = "only udp, udp6, tcp, tcp6 and unix are served"


def message(pdu, version=1):
    return tlv(SEQUENCE, integer(version) + tlv(OCTETS, b"public") + pdu)


def request(kind=GET, listed=None, name=None):
    if listed is None:
        listed = tlv(SEQUENCE, (name or object_identifier(PRIORITY1)) + encode(NULL, None))
    return tlv(kind, integer(7) + integer(0) + integer(0) + tlv(SEQUENCE, listed))


GOOD = message(request())
TOO_LONG_NAME = object_identifier((1, 3) + 127 * (1,))
MALFORMED = {
    "cut": GOOD[:-1],
    "cut in its header": GOOD[:5],
    "followed by an octet": GOOD + b"\0",
    "a length that is too large": GOOD[:1] + bytes([GOOD[1] + 1]) + GOOD[2:],
    "a length that is too small": GOOD[:1] + bytes([GOOD[1] - 1]) + GOOD[2:],
    "a varbind that is longer than its list": message(request(
        listed=bytes([SEQUENCE, 40]) + object_identifier(PRIORITY1))),
    "a value that is longer than its varbind": GOOD[:-1] + b"\1",
    "a name of 129 sub-identifiers": message(request(name=TOO_LONG_NAME)),
    "a name that does not end": message(request(name=b"\x06\x02\x2b\x86")),
    "a sub-identifier of more than 32 bits": message(request(name=b"\x06\x07\x2b\x90\x80\x80\x80\x00\x01")),
    "an indefinite length": b"\x30\x80" + GOOD[2:] + b"\0\0",
    "a length of 4 GiB": b"\x30\x84\xff\xff\xff\xff" + GOOD[2:],
    "a value of no type": message(request(listed=tlv(SEQUENCE, object_identifier(PRIORITY1) + b"\x1f\0"))),
    "an integer without octets": message(tlv(GET, integer(7) + tlv(INTEGER, b"") + integer(0) + tlv(SEQUENCE, b""))),
    "a community of 300 octets": tlv(SEQUENCE, integer(1) + tlv(OCTETS, bytes(300)) + request()),
    "a GetBulk of version 1": message(request(GETBULK), VERSION_1),
    "no request": message(b""),
    "one octet": b"\x30",
    "no octet": b"",
    "noise": bytes(range(255, 100, -1)),
}
BAD_VERSION = {f"version {version}": message(request(), version) for version in (2, 4, 7, -1, 0x7fffffff)}
NOT_FOR_AN_AGENT = {f"{kind:x}": message(request(kind)) for kind in (RESPONSE, INFORM, V2_TRAP, REPORT)}
NOT_FOR_AN_AGENT["a trap of version 1"] = message(tlv(V1_TRAP, object_identifier(PRIORITY1)), VERSION_1)
NOT_FOR_AN_AGENT["a response of version 1"] = message(request(RESPONSE), VERSION_1)


class Malformed(unittest.TestCase):
    @contextlib.contextmanager
    def daemon(self, *options):
        with scratch_folder() as folder, Daemon(folder, "--source", "demo", "--trace", "Snmp/off", *options) as daemon, \
                udp_socket(daemon.port) as asking:
            yield daemon, asking
            self.assertEqual(daemon.stop(), 0)

    def counters(self, asking):
        asking.settimeout(SILENCE)
        asked = reading(GET, [PARSE_ERRORS, BAD_VERSIONS])
        asking.send(asked.message)
        response = Response(asking.recv(LARGEST_MESSAGE))
        self.assertEqual(response.identifier, asked.identifier)
        return [value for _, _, value in response.varbinds]

    def assert_counted(self, messages, parse_errors, bad_versions):
        with self.daemon() as (_, asking):
            for name, sent in messages.items():
                with self.subTest(name):
                    before = self.counters(asking)
                    asking.send(sent)
                    # What comes before the next answer would be the answer to it.
                    counted = [after - once for after, once in zip(self.counters(asking), before)]
                    self.assertEqual(counted, [parse_errors, bad_versions])

    def test_what_is_malformed_gets_no_answer_and_is_counted_once(self):
        self.assert_counted(MALFORMED, 1, 0)

    def test_another_version_gets_no_answer_and_is_counted_once(self):
        self.assert_counted(BAD_VERSION, 0, 1)

    def test_what_is_not_for_an_agent_gets_no_answer(self):
        self.assert_counted(NOT_FOR_AN_AGENT, 0, 0)

    def test_each_reason_is_said_once(self):
        with self.daemon() as (daemon, asking):
            for _ in range(20):
                for sent in [*MALFORMED.values(), *BAD_VERSION.values(), *NOT_FOR_AN_AGENT.values()]:
                    asking.send(sent)
                    self.counters(asking)
            said = Counter(line for line in daemon.output().splitlines() if "warning" in line or "error" in line)
            self.assertEqual(set(said.values()), {1}, said)
            self.assertEqual(len(said), 3, said)  # a line for each verdict

    def test_over_tcp_a_malformed_message_costs_itself_alone(self):
        with self.stream() as connection:
            for name, sent in {**MALFORMED, **BAD_VERSION, **NOT_FOR_AN_AGENT}.items():
                if sent[:2] == bytes([SEQUENCE, (len(sent) - 2) & 0xff]):
                    with self.subTest(name):
                        connection.sendall(sent)
                        self.assertIsNotNone(ask(connection, reading(GET, [PRIORITY1]), SILENCE))

    def test_over_tcp_octets_that_begin_no_message_end_the_connection(self):
        for name, sent in {"another tag": b"\x31" + GOOD[1:], "an indefinite length": MALFORMED["an indefinite length"],
                           "a length of 4 GiB": MALFORMED["a length of 4 GiB"], "noise": MALFORMED["noise"],
                           "a right message and more": GOOD + bytes(100)}.items():
            with self.subTest(name), self.stream() as connection:
                connection.settimeout(SILENCE)
                connection.sendall(sent)
                with contextlib.suppress(ConnectionResetError):
                    while connection.recv(LARGEST_MESSAGE):
                        pass

    @contextlib.contextmanager
    def stream(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        with self.daemon("--listen", f"tcp:127.0.0.1:{port}") as (_, asking):
            with socket.create_connection(("127.0.0.1", port), SILENCE) as connection:
                yield connection
            self.counters(asking)


class OtherTransports(unittest.TestCase):
    def addresses(self):
        return [*(f"{kind}:127.0.0.1:{free_udp_port()}" for kind in ("tlstcp", "dtlsudp", "udpshared")), "alias:other",
                "std:"]

    def test_an_address_that_nothing_guards_ends_the_start_and_is_named(self):
        for address in self.addresses():
            with self.subTest(address), scratch_folder() as folder:
                result = subprocess.run([daemon_program(), "--source", "demo", "--listen", address], capture_output=True,
                                        text=True, timeout=30, stdin=subprocess.DEVNULL, cwd=folder,
                                        env={"SNMPCONFPATH": str(folder)})
                self.assertEqual(result.returncode, 1, result.stderr)
                self.assertRegex(result.stderr, f"cannot listen on {address}: .*{SERVED}")

    def test_check_names_an_address_that_nothing_guards(self):
        for address in self.addresses():
            with self.subTest(address), scratch_folder() as folder:
                status, said = check(folder, "--source", "demo", "--listen", address)
                self.assertEqual(status, 1, said)
                self.assertRegex(said, f"FAILS .*{address}: .*{SERVED}")

    def test_a_daemon_that_is_told_to_be_a_master_passes_over_it(self):
        with scratch_folder() as folder:
            configuration = folder / "ptpsnmpd.conf"
            configuration.write_text(f"rocommunity public 127.0.0.1\nmaster agentx\nagentXSocket {folder}/agentx\n")
            with Daemon(folder, "--config", configuration, "--source", "demo") as daemon:
                self.assertIn("master agentx", daemon.output())
                self.assertTrue(daemon.snmp.get(".".join(map(str, PRIORITY1))))
                self.assertFalse((folder / "agentx").exists())
                self.assertNotIn(f"{folder}/agentx", Path("/proc/net/unix").read_text())


if __name__ == "__main__":
    run_tests()
