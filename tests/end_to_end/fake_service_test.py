#!/usr/bin/env python3
"""The daemon beside a PTP service that refuses, lies, falls silent and floods.

usage: PTPSNMPD=/path/to/ptpsnmpd fake_service_test.py [unittest options]
"""

import contextlib
import json
import subprocess
import sys
import unittest
from pathlib import Path

from harness import Daemon, Failed, run_tests, scratch_folder, wait_for

PTPBASE = "1.3.6.1.2.1.241"
TABLES = f"{PTPBASE}.1.2"
SERVICE = Path(__file__).parent / "fake_ptp_service.py"
STATE_OF_PORT_1 = f"{TABLES}.9.1.6.0.2.1.1"
POLL_MS = 50
WHOLE_ANSWER = 300  # longer than any

CLOCK_DESCRIPTION, DEFAULT_DATA_SET, CURRENT_DATA_SET, PARENT_DATA_SET, TIME_PROPERTIES, PORT_DATA_SET = (
    0x0001, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004)
SUBSCRIBE_EVENTS, PORT_PROPERTIES, PORT_STATS = 0xc003, 0xc004, 0xc005
COUNTERS = {"4.5", "4.6", "9.13", "9.14"}


def column_of(oid):
    table, _, column = oid.removeprefix(TABLES + ".").split(".")[:3]
    return f"{table}.{column}"


class FakeService:
    def __init__(self, path):
        self.path = path

    def __enter__(self):
        self._process = subprocess.Popen([sys.executable, SERVICE, self.path], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)
        self.tell()
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        self._process.wait(10)
        self._process.stdout.close()
        Path(self.path).unlink(missing_ok=True)

    def tell(self, **change):
        self._process.stdin.write(json.dumps(change) + "\n")
        self._process.stdin.flush()
        if self._process.stdout.readline() != "applied\n":
            raise Failed(f"the fake service has ended on {change}")


class BesideAFakeService(unittest.TestCase):
    def setUp(self):
        stack = contextlib.ExitStack()
        self.addCleanup(stack.close)
        folder = stack.enter_context(scratch_folder())
        self.service = stack.enter_context(FakeService(str(folder / "ptp")))
        self.service.tell(ports=2, protocol=1)
        self.daemon = stack.enter_context(
            Daemon(folder, "--source", f"ptp4l:{self.service.path}", "--poll", str(POLL_MS), "--trace", "Snmp/off"))
        wait_for("rows", self.walk)

    def walk(self):
        return self.daemon.snmp.walk(TABLES)

    def resting(self):
        """What does not count packets."""
        return {oid: value for oid, value in self.walk().items() if column_of(oid) not in COUNTERS}

    def restart(self):
        """So that refusals are forgotten."""
        self.service.tell(silent=True)
        wait_for("no rows", lambda: not self.walk())
        self.service.tell(silent=False)

    def test_a_refused_message_costs_the_columns_that_need_it_and_no_other(self):
        whole = self.walk()
        needing = {
            CLOCK_DESCRIPTION: {"9.9", "9.10"},
            CURRENT_DATA_SET: {"1.4", "1.5", "1.6"},
            PARENT_DATA_SET: {f"2.{column}" for column in range(4, 14)},
            TIME_PROPERTIES: {f"5.{column}" for column in range(4, 12)},
            PORT_DATA_SET: {f"{table}.{column}" for table, columns in ((7, 11), (8, 16), (9, 15))
                            for column in range(5, columns)},
            PORT_PROPERTIES: {"7.5", "8.5", "9.5", "9.8"},
            PORT_STATS: COUNTERS,
            SUBSCRIBE_EVENTS: set(),
        }
        for message, columns in needing.items():
            self.service.tell(refuse=[message])
            self.restart()
            shown = wait_for("rows", self.walk)
            self.assertEqual(set(shown) - set(whole), set())
            changed = {column_of(oid) for oid, value in whole.items() if shown.get(oid) != value} - COUNTERS
            self.assertLessEqual(changed, columns, hex(message))
            self.assertEqual(bool(changed), bool(columns - COUNTERS), hex(message))
            gone = {column_of(oid) for oid in set(whole) - set(shown)}
            self.assertEqual(bool(gone), message == PORT_DATA_SET, hex(message))
        self.service.tell(refuse=[DEFAULT_DATA_SET])
        wait_for("no rows", lambda: not self.walk())
        self.service.tell(refuse=[])
        wait_for("rows", self.walk)

    def test_each_type_of_clock_has_its_tables(self):
        for clock_type, index, transparent in ((0x8000, 2, False), (0x4000, 2, False), (0x1000, 3, True),
                                               (0x2000, 3, True)):
            self.service.tell(clockType=clock_type)
            clock = f"{TABLES}.3.1.5.0.{index}.1"
            wait_for("its row", lambda: clock in self.walk())
            self.assertEqual(any(oid.startswith(f"{TABLES}.6.") for oid in self.walk()), transparent)
            self.assertEqual(any(oid.startswith(f"{TABLES}.10.") for oid in self.walk()), transparent)

    def test_a_service_that_reads_and_never_answers_is_said_once_and_shows_nothing(self):
        self.service.tell(silent=True)
        wait_for("no rows", lambda: not self.walk())
        wait_for("the line", lambda: "does not answer" in self.daemon.output())
        self.service.tell(silent=False)
        wait_for("rows", self.walk)
        self.assertEqual(self.daemon.output().count("does not answer"), 1)

    def test_answers_that_end_too_soon_show_nothing_and_harm_nothing(self):
        whole = self.resting()
        for cut in (0, 1, 4, 20, 33, 46, 48, 52, 53):
            self.service.tell(cut=cut)
            wait_for(f"no rows with {cut} bytes", lambda: not self.walk())
            self.service.tell(cut=None)
            wait_for("all rows", lambda: self.resting() == whole)

    def test_data_that_end_too_soon_show_nothing_and_harm_nothing(self):
        whole = self.resting()
        for short in (0, 1, 5, 18):
            self.service.tell(short=short)
            wait_for(f"no rows with {short} bytes", lambda: not self.walk())
            self.service.tell(short=None)
            wait_for("all rows", lambda: self.resting() == whole)

    def test_the_clock_has_counted_what_its_ports_have_counted_whichever_came_and_went(self):
        self.service.tell(ports=1, packets=1 << 40)  # more than was counted before
        ports = f"{TABLES}.7.1.5"
        for count in (1, 2, 1, 2):
            self.service.tell(ports=count)
            wait_for(f"{count} ports", lambda: len(self.daemon.snmp.walk(ports)) == count)
        self.assertEqual(self.clock_counters(), [2 * 16 << 40] * 2)
        self.service.tell(identity="0a0b0cfffe0d0e0f")
        wait_for("another run", lambda: self.clock_counters() == [2 * 2 * 16 << 40] * 2)
        self.service.tell(refuse=[PORT_STATS])
        self.restart()
        wait_for("rows", self.walk)
        self.assertEqual(self.clock_counters(), [2 * 2 * 16 << 40] * 2)

    def clock_counters(self):
        return list(self.daemon.snmp.get(f"{TABLES}.4.1.5.0.2.1", f"{TABLES}.4.1.6.0.2.1").values())

    def test_lengths_are_not_believed(self):
        whole = self.resting()
        for length in (0, 1, 2, 3, 1000, 65535):
            self.service.tell(length=length)
            wait_for(f"no rows with length {length}", lambda: not self.walk())
            self.service.tell(length=None)
            wait_for("all rows", lambda: self.resting() == whole)

    def test_noise_and_repetition_between_the_answers_change_nothing(self):
        whole = self.resting()
        lines = self.daemon.output().count("\n")
        self.service.tell(garbage=20, repeat=3)
        counter = f"{TABLES}.4.1.5.0.2.1"
        before = self.walk()[counter]
        wait_for("the polls go on", lambda: self.walk()[counter] > before + 1000)
        self.assertEqual(self.resting(), whole)
        self.assertEqual(self.daemon.output().count("\n"), lines)

    def test_a_flood_from_the_service_does_not_keep_requests_waiting(self):
        whole = self.resting()
        for _ in range(50):  # each shorter than what counts as gone, since meanwhile it answers nothing
            self.service.tell(flood=1000)
            self.assertEqual(self.resting(), whole)

    def test_a_reported_state_is_shown(self):
        wait_for("a subscription", lambda: self.shown_state(9))
        self.assertTrue(self.shown_state(9))

    def shown_state(self, state):
        self.service.tell(states={"1": state})
        return self.daemon.snmp.get(STATE_OF_PORT_1) == {STATE_OF_PORT_1: state}

    def test_ports_that_come_and_go_leave_no_stale_row(self):
        for ports in (64, 1, 7, 2):
            self.service.tell(ports=ports)
            names = f"{TABLES}.7.1.5"
            expected = [f"{names}.0.2.1.{port}" for port in range(1, ports + 1)]
            wait_for(f"{ports} ports", lambda: list(self.daemon.snmp.walk(names)) == expected)

    def test_another_identity_replaces_every_row(self):
        self.service.tell(identity="0a0b0cfffe0d0e0f")
        cells = [f"{TABLES}.8.1.6.0.2.1.{port}" for port in (1, 2)]
        wait_for("the identity", lambda: [self.walk().get(cell) for cell in cells]
                 == [f"0a0b0c.fffe.0d0e0f-{port}".encode() for port in (1, 2)])

    def test_a_clock_of_another_domain_and_profile_is_found(self):
        self.service.tell(domain=24, transportSpecific=1)
        wait_for("its rows", lambda: f"{TABLES}.3.1.5.24.2.1" in self.walk(), seconds=60)


if __name__ == "__main__":
    run_tests()
