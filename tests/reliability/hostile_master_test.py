#!/usr/bin/env python3
"""An AgentX master that sends what no master should: each message is answered or dropped, and the next one is served on
the same connection.

usage: PTPSNMPD=/path/to/ptpsnmpd hostile_master_test.py [unittest options]
"""

import contextlib
import os
import re
import select
import struct
import sys
import threading
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from harness import Process, daemon_program, run_tests, scratch_folder, wait_for  # noqa: E402
from peers_test import AGENTX_RESPONSE, NETWORK_ORDER, REGISTER, OddMaster, answer_at_once  # noqa: E402

GET, GETNEXT, GETBULK, TEST_SET, COMMIT_SET, UNDO_SET, CLEANUP_SET = range(5, 12)
NON_DEFAULT_CONTEXT = 0x08
INTEGER, OCTETS = 2, 4
NO_ERROR, NOT_WRITABLE, PARSE_ERROR, PROCESSING_ERROR = 0, 17, 266, 268
HEADER, RESPONSE = 20, 28  # octets
PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)
COLUMN = PRIORITY1[:-3]
SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
SILENCE = 10  # seconds
TEST_SETS = 100_000
AT_ONCE = 500  # of these
TABLES = 12


class Writer:
    """Messages of RFC 2741, octet by octet, in one of the two orders."""

    def __init__(self, flags=NETWORK_ORDER):
        self._flags = flags
        self._order = ">" if flags & NETWORK_ORDER else "<"
        self._packet = 0

    def pack(self, form, *values):
        return struct.pack(self._order + form, *values)

    def name(self, oid, prefix=0):
        return bytes([len(oid), prefix, 0, 0]) + self.pack(f"{len(oid)}I", *oid)

    def octets(self, content):
        return self.pack("I", len(content)) + content + bytes(-len(content) % 4)

    def varbind(self, oid, kind, value):
        return self.pack("HH", kind, 0) + self.name(oid) + value

    def message(self, kind, payload, flags=0):
        self._packet += 1
        header = bytes([1, kind, self._flags | flags, 0])
        return header + self.pack("IIII", 7, self._packet, self._packet, len(payload)) + payload

    def get(self, *oids, kind=GET, prefix=0):
        return self.message(kind, b"".join(self.name(oid, prefix) + self.name(()) for oid in oids))


class TalkingMaster(OddMaster):
    """Once it has tables it runs `talk(ask)`; ask(messages) gives the answers to as many as are said to have one."""

    def __init__(self, path, talk):
        super().__init__(path, answer_at_once)
        self._talk = talk
        self.done, self.failure = threading.Event(), None

    def idle(self, connection):
        if REGISTER not in self.heard or self.done.is_set():
            return
        connection.settimeout(SILENCE)
        try:
            self._talk(lambda messages, answers: self._ask(connection, messages, answers))
        except BaseException as failure:  # the test's, which another thread waits for
            self.failure = failure
        self.done.set()
        connection.settimeout(0.1)

    @staticmethod
    def _ask(connection, messages, answers):
        received, complete, left = b"", [], messages
        while left or len(complete) < answers:
            _, writable, _ = select.select([], [connection] if left else [], [], 0)
            if writable:
                left = left[connection.send(left):]
            if left and not select.select([connection], [], [], 0.01)[0]:
                continue
            read = connection.recv(1 << 20)
            if not read:
                raise ConnectionResetError("the daemon has closed the connection")
            received += read
            while len(received) >= HEADER:
                order = ">" if received[2] & NETWORK_ORDER else "<"
                size = HEADER + struct.unpack_from(order + "I", received, 16)[0]
                if len(received) < size:
                    break
                if received[1] == AGENTX_RESPONSE:  # and not one of its pings
                    complete.append(received[:size])
                received = received[size:]
        return complete


class HostileMaster(unittest.TestCase):
    def talk(self, conversation):
        """Has a master talk to a daemon, which stays on the connection and obeys in the end."""
        with scratch_folder() as folder, contextlib.ExitStack() as stack:
            master = stack.enter_context(TalkingMaster(folder / "agentx", conversation))
            self.process = stack.enter_context(Process(folder, "ptpsnmpd", [
                daemon_program(), "--agentx", folder / "agentx", "--source", "demo", "--trace", "Snmp/off"]))
            self.assertTrue(master.done.wait(120))
            if master.failure is not None:
                raise master.failure
            self.assertEqual(self.process.stop(), 0)

    def both_orders(self):
        return (Writer(), Writer(0))

    def error(self, response):
        """And its index."""
        return struct.unpack_from((">" if response[2] & NETWORK_ORDER else "<") + "HH", response, 24)

    def assert_served(self, writer, ask):
        response, = ask(writer.get(PRIORITY1), 1)
        self.assertEqual(self.error(response), (NO_ERROR, 0))
        self.assertGreater(len(response), RESPONSE)

    def assert_answered(self, ask, message, error, index=0):
        """With no more than the error."""
        response, = ask(message, 1)
        self.assertEqual(len(response), RESPONSE)
        self.assertEqual(self.error(response), (error, index))
        self.assertEqual(response[12:16], message[12:16])

    def test_a_name_of_more_than_128_sub_identifiers_is_refused(self):
        def conversation(ask):
            for writer in self.both_orders():
                for kind in (GET, GETNEXT):
                    for below in (150, 255 - len(COLUMN), 129 - len(COLUMN)):
                        self.assert_answered(ask, writer.get((*COLUMN, *(1,) * below), kind=kind), PARSE_ERROR)
                    behind_the_prefix = (*COLUMN[5:], *(1,) * (129 - len(COLUMN)))  # 124 sub-identifiers
                    self.assert_answered(ask, writer.get(behind_the_prefix, kind=kind, prefix=2), PARSE_ERROR)
                    self.assert_answered(ask, writer.get(PRIORITY1, (*COLUMN, *(1,) * 150), kind=kind), PARSE_ERROR)
                bulk = writer.pack("HH", 0, 10) + writer.name((*COLUMN, *(1,) * 150)) + writer.name(())
                self.assert_answered(ask, writer.message(GETBULK, bulk), PARSE_ERROR)
                self.assert_served(writer, ask)
        self.talk(conversation)

    def test_a_name_of_128_sub_identifiers_is_served(self):
        def conversation(ask):
            for writer in self.both_orders():
                for message in (writer.get((*COLUMN, *(1,) * (128 - len(COLUMN)))),
                                writer.get((*COLUMN[5:], *(1,) * (128 - len(COLUMN))), prefix=2)):
                    response, = ask(message, 1)
                    self.assertEqual(self.error(response), (NO_ERROR, 0))
                    self.assertGreater(len(response), RESPONSE)
        self.talk(conversation)

    def test_a_context_of_nul_octets_is_refused_and_tells_nothing(self):
        def conversation(ask):
            for writer in self.both_orders():
                for size in (1, 16, 1000, 60000):
                    payload = writer.octets(bytes(size)) + writer.name(PRIORITY1) + writer.name(())
                    self.assert_answered(ask, writer.message(GET, payload, NON_DEFAULT_CONTEXT), PARSE_ERROR)
                self.assert_served(writer, ask)
        self.talk(conversation)

    def test_a_message_that_is_not_filled_as_its_kind_calls_for_is_refused(self):
        def conversation(ask):
            for writer in self.both_orders():
                whole = writer.get(PRIORITY1)
                for message in (writer.message(GET, whole[HEADER:-4]), writer.message(GET, whole[HEADER:] + bytes(2)),
                                writer.message(GET, b"\xff" + whole[HEADER + 1:]), writer.message(GETBULK, b"\0\0"),
                                writer.message(GET, writer.octets(b"x" * 60000)[:-50000], NON_DEFAULT_CONTEXT),
                                writer.message(TEST_SET, writer.varbind(PRIORITY1, 99, b"")),
                                writer.message(200, whole[HEADER:])):
                    self.assert_answered(ask, message, PARSE_ERROR)
                self.assert_served(writer, ask)
        self.talk(conversation)

    def test_every_step_of_a_set_is_refused_or_has_no_answer(self):
        def conversation(ask):
            for writer in self.both_orders():
                for varbinds in (writer.varbind(PRIORITY1, INTEGER, writer.pack("I", 1)),
                                 writer.varbind(PRIORITY1, INTEGER, writer.pack("I", 1)) * 100,
                                 writer.varbind((*PRIORITY1, 99), OCTETS, writer.octets(b"value"))):
                    self.assert_answered(ask, writer.message(TEST_SET, varbinds), NOT_WRITABLE, 1)
                    self.assert_answered(ask, writer.message(COMMIT_SET, b""), PROCESSING_ERROR)
                    self.assert_answered(ask, writer.message(UNDO_SET, b""), PROCESSING_ERROR)
                    # What comes next is the answer to the next message.
                    cleanup, get = writer.message(CLEANUP_SET, b""), writer.get(PRIORITY1)
                    response, = ask(cleanup + get, 1)
                    self.assertEqual(response[12:16], get[12:16])
        self.talk(conversation)

    def test_sets_that_are_never_cleaned_up_cost_no_memory(self):
        grown = []

        def conversation(ask):
            writer = Writer()
            varbinds = writer.varbind(PRIORITY1, OCTETS, writer.octets(b"x" * 100))

            def test_sets(count):
                for _ in range(count // AT_ONCE):
                    ask(b"".join(writer.message(TEST_SET, varbinds) for _ in range(AT_ONCE)), AT_ONCE)
            test_sets(TEST_SETS // 10)
            before = self.resident_kilobytes()
            test_sets(TEST_SETS)
            grown.append(self.resident_kilobytes() - before)
            self.assert_served(writer, ask)
        self.talk(conversation)
        if not SANITIZED:
            self.assertLess(grown[0], 500)

    def test_sets_before_an_answer_to_a_registration_cost_no_memory(self):
        writer = Writer()
        large = writer.message(TEST_SET, writer.varbind(PRIORITY1, OCTETS, writer.octets(b"x" * 60000)))
        sent = []

        def answer(kind, response):
            if kind != REGISTER or sent:
                return 0, response, True
            sent.append(kind)
            return 0, large * 100 + response, True

        with scratch_folder() as folder, OddMaster(folder / "agentx", answer) as master, \
                Process(folder, "ptpsnmpd", [daemon_program(), "--agentx", folder / "agentx", "--source", "demo"]) as daemon:
            self.process = daemon
            wait_for("all tables", lambda: master.heard.count(REGISTER) == TABLES, 60)
            if not SANITIZED:
                self.assertLess(self.resident_kilobytes(), 30000)
            self.assertEqual(daemon.stop(), 0)

    def resident_kilobytes(self):
        status = Path(f"/proc/{self.process.process_id}/status").read_text()
        return int(re.search(r"^VmRSS:\s+(\d+)", status, re.MULTILINE)[1])


if __name__ == "__main__":
    run_tests()
