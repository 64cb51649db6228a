#!/usr/bin/env python3
"""What the SNMP library would do of its own accord, and is kept from.

usage: PTPSNMPD=/path/to/ptpsnmpd library_test.py [unittest options]
"""

import contextlib
import os
import re
import socket
import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).parent.parent
sys.path.insert(0, str(ROOT / "end_to_end"))
sys.path.insert(0, str(ROOT.parent / "bench"))

import replay_file  # noqa: E402
from clock_model import PTPBASE  # noqa: E402
from harness import Daemon, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import GET, GETBULK, NULL, OCTETS, SEQUENCE, VERSION_3, ask, element, elements, integer, object_identifier, \
    reading, tlv, udp_socket  # noqa: E402
from snmp_version3 import engine_of  # noqa: E402

SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
ENGINE_ID = (1, 3, 6, 1, 6, 3, 10, 2, 1, 1, 0)
LOCAL_ENGINE = b"\x80\0\0\0\6"  # which a probe asks for (RFC 5343)
AUTHENTICATED, USER_BASED, LARGEST = b"\5", 3, 65507
PORTS, MESSAGES, CONNECTIONS, ASKED = (2000 if SANITIZED else 20000), 400, 3, 5
LONG_CONNECTIONS, LONG_MESSAGES = 8, 10
SILENCE = 60  # seconds


@contextlib.contextmanager
def configured(*lines, source="demo", arguments=()):
    with scratch_folder() as folder:
        configuration = folder / "ptpsnmpd.conf"
        configuration.write_text("".join(line + "\n" for line in ("rocommunity public 127.0.0.1", *lines)), encoding="utf-8")
        with Daemon(folder, "--config", configuration, "--source", source, *arguments) as daemon:
            yield daemon


def probe(engine, user):
    """For the engine's ID, with a digest that is not the user's."""
    header = integer(1) + integer(LARGEST) + tlv(OCTETS, AUTHENTICATED) + integer(USER_BASED)
    security = (tlv(OCTETS, engine) + integer(1) + integer(1) + tlv(OCTETS, user) + tlv(OCTETS, b"\x11" * 12)
                + tlv(OCTETS, b""))
    varbind = tlv(SEQUENCE, object_identifier(ENGINE_ID) + tlv(NULL, b""))
    pdu = tlv(GET, integer(5) + integer(0) + integer(0) + tlv(SEQUENCE, varbind))
    scoped = tlv(SEQUENCE, tlv(OCTETS, LOCAL_ENGINE) + tlv(OCTETS, b"") + pdu)
    return tlv(SEQUENCE, integer(VERSION_3) + tlv(SEQUENCE, header) + tlv(OCTETS, tlv(SEQUENCE, security)) + scoped)


def digest(message):
    """What authenticates it."""
    _, _, (_, security), _ = elements(element(message, 0)[1])
    return elements(element(security, 0)[1])[4][1]


class Library(unittest.TestCase):
    def test_who_does_not_know_a_users_passphrase_is_sent_nothing_that_is_made_with_it(self):
        with configured("createUser reader SHA authentication", "rouser reader auth") as daemon, \
                udp_socket(daemon.port) as asking:
            engine = engine_of(asking)
            asking.send(probe(engine, b"reader"))
            asking.settimeout(SILENCE)
            answers = [asking.recv(65535)]  # a report
            asking.send(reading(GET, [(*PTPBASE, 1)]).message)
            while not answers[-1].startswith(b"\x30") or b"public" not in answers[-1]:
                answers.append(asking.recv(65535))
            self.assertEqual(len(answers), 2)
            self.assertEqual(bytes(digest(answers[0])), b"")

    def test_a_getbulk_reserves_no_more_than_an_answer_may_have(self):
        with configured("maxGetbulkResponses -1") as daemon, udp_socket(daemon.port) as asking:
            response = ask(asking, reading(GETBULK, [PTPBASE], 2147483647), SILENCE)
            self.assertEqual(response.error, 0)
            self.assertGreater(len(response.varbinds), 100)
            if not SANITIZED:
                status = Path(f"/proc/{daemon.process_id}/status").read_text(encoding="utf-8")
                self.assertLess(int(re.search(r"^VmHWM:\s+(\d+)", status, re.MULTILINE)[1]), 60000)

    def test_notifications_open_no_socket(self):
        with configured("trap2sink 127.0.0.1", "trapsess -v2c -c public 127.0.0.1", "informsink 127.0.0.1") as daemon:
            listed = subprocess.run(["ss", "-H", "-u", "-a", "-n", "-p"], capture_output=True, text=True, timeout=30).stdout
            own = [line for line in listed.splitlines() if f"pid={daemon.process_id}," in line]
            self.assertEqual(len(own), 1, own)
            for directive in ("trap2sink", "trapsess", "informsink"):
                self.assertIn(f"configuration: {directive}: ptpsnmpd sends no notifications", daemon.output())

    @contextlib.contextmanager
    def streams(self, count, names, messages):
        """With so many connections, each of which has asked for rows that are not there: the connections, and what asks
        over UDP for one that is. For each such name the library walks over the table."""
        with scratch_folder() as folder, contextlib.ExitStack() as stack:
            replay_file.write(folder / "status.jsonl", PORTS)
            with socket.create_server(("127.0.0.1", 0)) as free:
                tcp = free.getsockname()[1]
            daemon = stack.enter_context(configured(source=f"replay:{folder / 'status.jsonl'}",
                                                    arguments=("--listen", f"tcp:127.0.0.1:{tcp}")))
            client = stack.enter_context(udp_socket(daemon.port))
            there = reading(GET, [(*PTPBASE, 1, 2, 9, 1, 6, 0, 2, 1, PORTS)])
            wait_for("all rows", lambda: ask(client, there, SILENCE).varbinds[0][2])
            absent = reading(GET, [(*PTPBASE, 1, 2, 9, 1, 6, 0, 2, 1, PORTS + 10 + row) for row in range(names)])
            streams = [stack.enter_context(socket.create_connection(("127.0.0.1", tcp))) for _ in range(count)]
            for stream in streams:
                stream.sendall(absent.message * messages)
            yield streams, lambda: ask(client, there, SILENCE)

    def test_costly_messages_over_streams_leave_datagrams_their_turns(self):
        """Dozens of them come in one packet."""
        with self.streams(CONNECTIONS, 1, MESSAGES) as (streams, ask_over_udp):
            for _ in range(ASKED):
                self.assertIsNotNone(ask_over_udp())
            self.assertLess(sum(self.answers(stream) for stream in streams), CONNECTIONS * MESSAGES / 6)

    def test_after_a_message_that_took_long_datagrams_are_next_and_then_who_has_waited_longest(self):
        with self.streams(LONG_CONNECTIONS, 20, LONG_MESSAGES) as (streams, ask_over_udp):
            for _ in range(ASKED):
                self.assertIsNotNone(ask_over_udp())
            served = [self.answers(stream) for stream in streams]
            self.assertLess(sum(served), ASKED * LONG_CONNECTIONS / 2)

            def some_rounds():
                served[:] = [before + self.answers(stream) for before, stream in zip(served, streams)]
                return sum(served) >= 4 * LONG_CONNECTIONS
            wait_for("some rounds", some_rounds)
            self.assertLessEqual(max(served) - min(served), 2, served)

    def answers(self, stream):
        """That have come since it was last asked."""
        stream.setblocking(False)
        received = b""
        with contextlib.suppress(BlockingIOError):
            while part := stream.recv(1 << 20):
                received += part
        count = at = 0
        while at < len(received):
            at = element(received, at)[2]
            count += 1
        return count


if __name__ == "__main__":
    run_tests()
