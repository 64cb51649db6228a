#!/usr/bin/env python3
"""Requests that make the SNMP library walk over thousands of rows, once for each name: the work is bounded, in the
daemon, inside snmpd and beside it, and others are answered.

usage: PTPSNMPD=/path/to/ptpsnmpd bounded_work_test.py [unittest options]
"""

import contextlib
import os
import sys
import unittest
from pathlib import Path

sys.path[:0] = [str(Path(__file__).parents[1] / "end_to_end"), str(Path(__file__).parents[2] / "bench")]

import replay_file  # noqa: E402
from clock_model import PTPBASE  # noqa: E402
from harness import (Daemon, Process, Snmpd, daemon_program, loader_file, run_tests, scratch_folder,  # noqa: E402
                     wait_for)
from snmp_client import (GET, GETBULK, GETNEXT, NO_SUCH_INSTANCE, OCTETS, Response, ask, reading,  # noqa: E402
                         udp_socket)

PORTS = 20000
COLUMN = (*PTPBASE, 1, 2, 8, 1, 6)  # of ptpbaseClockPortDSTable: each name takes a walk over all ports to be missed
NEXT_COLUMN = (*COLUMN[:-1], 7)
CLOCK = (0, 2, 1)  # domain, type, instance
SYS_UP_TIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
MOST_NAMES, FULL_DATAGRAM = 3000, 2700
NO_ERROR, TOO_BIG, GENERAL_ERROR = 0, 1, 5
SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
MOST_SECONDS = 10 if SANITIZED else 0.5  # of CPU for a message; without a bound it was 4
SILENCE = 20  # seconds
VIEW = "view others included .1\nview others excluded .{}\nrocommunity others 127.0.0.1 -V others\n"


def cell(port, column=COLUMN):
    return (*column, *CLOCK, port)


def missing(count):
    return [cell(PORTS + 10000 + number) for number in range(count)]


class BoundedWork(unittest.TestCase):
    def setUp(self):
        stack = contextlib.ExitStack()
        self.addCleanup(stack.close)
        self.stack, self.folder = stack, stack.enter_context(scratch_folder())

    def source(self, ports=PORTS):
        replay_file.write(self.folder / "status.jsonl", ports)
        return f"replay:{self.folder / 'status.jsonl'}"

    def ask_of(self, agent, ports=PORTS):
        """Two clients' sockets, when the last port is there."""
        self.client, self.other = (self.stack.enter_context(udp_socket(agent.port)) for _ in range(2))
        last = reading(GET, [cell(ports)])
        wait_for("all rows", lambda: (response := ask(self.client, last, SILENCE)) and response.varbinds[0][1] == OCTETS)
        self.process_id = agent.process_id

    def answer(self, request):
        """While another client is answered right behind it, and the agent works for some time only."""
        before = self.cpu_seconds()
        self.client.send(request.message)
        self.assertIsNotNone(behind := ask(self.other, reading(GET, [cell(1)]), SILENCE))
        self.assertEqual((behind.error, behind.varbinds[0][1]), (NO_ERROR, OCTETS))
        self.client.settimeout(SILENCE)
        response = Response(self.client.recv(65535))
        self.assertEqual(response.identifier, request.identifier)
        self.assertLess(self.cpu_seconds() - before, MOST_SECONDS)
        return response

    def cpu_seconds(self):
        """Of the agent."""
        fields = Path(f"/proc/{self.process_id}/stat").read_text().rpartition(")")[2].split()
        return sum(map(int, fields[11:13])) / os.sysconf("SC_CLK_TCK")

    def assert_error(self, request, *errors):
        response = self.answer(request)
        self.assertIn(response.error, errors)
        return response


class Alone(BoundedWork):
    def serve(self, configuration="", ports=PORTS):
        (self.folder / "ptpsnmpd.conf").write_text("rocommunity public 127.0.0.1\n" + configuration)
        self.daemon = self.stack.enter_context(Daemon(self.folder, "--config", self.folder / "ptpsnmpd.conf", "--source",
                                                      self.source(ports), "--trace", "Snmp/off"))
        self.ask_of(self.daemon, ports)

    def test_a_datagram_of_names_of_missing_rows_is_too_big(self):
        self.serve()
        for kind in (GET, GETNEXT):
            with self.subTest(kind=kind):
                self.assertEqual(self.assert_error(reading(kind, missing(FULL_DATAGRAM)), TOO_BIG).varbinds, [])
        self.assertEqual(self.daemon.stop(), 0)

    def test_a_few_missing_rows_are_told_to_be_missing(self):
        self.serve()
        response = self.assert_error(reading(GET, missing(10)), NO_ERROR)
        self.assertEqual(response.varbinds, [(name, NO_SUCH_INSTANCE, None) for name in missing(10)])
        response = self.assert_error(reading(GETNEXT, missing(10)), NO_ERROR)
        self.assertEqual([oid for oid, _, _ in response.varbinds], [cell(1, NEXT_COLUMN)] * 10)

    def test_a_getbulk_ends_where_the_work_does(self):
        self.serve()
        for name, request in {"without repetitions": reading(GETBULK, missing(100), 10, non_repeaters=100),
                              "with repetitions": reading(GETBULK, missing(100), 1)}.items():
            with self.subTest(name):
                varbinds = self.assert_error(request, NO_ERROR).varbinds
                self.assertIn(len(varbinds), range(1, 100))
                self.assertEqual([oid for oid, _, _ in varbinds], [cell(1, NEXT_COLUMN)] * len(varbinds))

    def test_a_getbulk_of_existing_cells_is_not_affected(self):
        self.serve()
        for first in (0, 10000, PORTS - 50):
            varbinds = self.assert_error(reading(GETBULK, [cell(first), cell(first, NEXT_COLUMN)], 50), NO_ERROR).varbinds
            following = range(first + 1, first + 51)
            self.assertEqual([oid for oid, _, _ in varbinds],
                             [cell(port, column) for port in following for column in (COLUMN, NEXT_COLUMN)])

    def test_more_names_than_any_answer_could_have_are_too_big(self):
        self.serve()
        for kind in (GET, GETNEXT, GETBULK):
            with self.subTest(kind=kind):
                self.assertEqual(self.assert_error(reading(kind, [SYS_UP_TIME] * (MOST_NAMES + 1)), TOO_BIG).varbinds, [])
        self.assertEqual(len(self.assert_error(reading(GET, [SYS_UP_TIME] * MOST_NAMES), NO_ERROR).varbinds), MOST_NAMES)

    def test_a_column_that_is_hidden_is_passed_over(self):
        self.serve(VIEW.format(".".join(map(str, COLUMN))), ports := 5000)
        for kind in (GETNEXT, GETBULK):
            for name in (COLUMN, cell(ports, (*COLUMN[:-1], 5))):
                with self.subTest(kind=kind, name=name):
                    response = self.assert_error(reading(kind, [name], 1, community="others"), NO_ERROR)
                    self.assertEqual(response.varbinds[0][0], cell(1, NEXT_COLUMN))


class InsideSnmpd(BoundedWork):
    def test_a_datagram_of_names_of_missing_rows_is_too_big(self):
        if b"__asan_init" in loader_file().read_bytes():
            self.skipTest("a module with a sanitizer can only be loaded by a program with one")
        snmpd = self.stack.enter_context(Snmpd(self.folder, f"dlmod ptpsnmp {loader_file()}", f"ptpSource {self.source()}",
                                               "ptpTrace Snmp/off"))
        self.ask_of(snmpd)
        for kind in (GET, GETNEXT):
            with self.subTest(kind=kind):
                self.assert_error(reading(kind, missing(FULL_DATAGRAM)), TOO_BIG, GENERAL_ERROR)
        self.assertEqual(len(self.assert_error(reading(GET, missing(10)), NO_ERROR).varbinds), 10)
        bulk = self.assert_error(reading(GETBULK, missing(100), 10, non_repeaters=100), NO_ERROR)
        self.assertIn(len(bulk.varbinds), range(1, 100))
        self.assertEqual(snmpd.stop(), 0)


class BesideSnmpd(BoundedWork):
    def test_a_request_for_many_missing_rows_is_too_big(self):
        """What is longer than 64 KiB over AgentX is too big in any case."""
        socket = self.folder / "agentx"
        master = self.stack.enter_context(Snmpd(self.folder, "master agentx", f"agentXSocket {socket}"))
        sub_agent = self.stack.enter_context(Process(self.folder, "ptpsnmpd", [
            daemon_program(), "--agentx", socket, "--source", self.source(), "--trace", "Snmp/off"]))
        self.ask_of(master)
        self.process_id = sub_agent.process_id
        for kind in (GET, GETNEXT):
            for count in (700, FULL_DATAGRAM):
                with self.subTest(kind=kind, count=count):
                    self.assert_error(reading(kind, missing(count)), TOO_BIG, GENERAL_ERROR)
        self.assertEqual(len(self.assert_error(reading(GET, missing(10)), NO_ERROR).varbinds), 10)
        self.assertNotIn("closed", sub_agent.output())
        self.assertEqual(sub_agent.stop(), 0)


if __name__ == "__main__":
    run_tests()
