#!/usr/bin/env python3
"""Inside a stock snmpd: the loader that its dlmod directive loads.

usage: PTPSNMPD=/path/to/ptpsnmpd snmpd_test.py [unittest options]      (ptpsnmp.so and ptpbaseMIB.so beside it)
"""

import os
import signal
import socket
import statistics
import sys
import time
import unittest

from fake_service_test import FakeService
from harness import SKIPPED, Daemon, Snmpd, loader_file, run_tests, scratch_folder, wait_for

PTPBASE = "1.3.6.1.2.1.241"
PRIORITY1 = f"{PTPBASE}.1.2.3.1.6.0.2.1"
PACKETS_SENT = f"{PTPBASE}.1.2.9.1.14.0.2.1.1"
UP_TIME_WITHIN = 0.05  # seconds
RELOADS = 100


def loading(*lines):
    return [f"dlmod ptpsnmp {loader_file()}", *lines, "ptpTrace Snmp/off"]


def rows(snmpd):
    return wait_for("rows", lambda: snmpd.snmp.walk(PTPBASE))


def descriptors(snmpd):
    return sorted(os.readlink(f"/proc/{snmpd.process_id}/fd/{fd}").split(":")[0]
                  for fd in os.listdir(f"/proc/{snmpd.process_id}/fd"))


def resident_kilobytes(snmpd):
    with open(f"/proc/{snmpd.process_id}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))


def mapped(snmpd, name):
    with open(f"/proc/{snmpd.process_id}/maps", encoding="ascii") as maps:
        return any(line.rstrip().endswith(name) for line in maps)


def reload(snmpd):
    """Has snmpd read its configuration, and waits until it has."""
    before = snmpd.output().count(" restarted")
    snmpd.signal(signal.SIGHUP)
    wait_for("the configuration was read", lambda: snmpd.output().count(" restarted") > before)


class InsideSnmpd(unittest.TestCase):
    def test_it_serves_the_same_objects_as_the_daemon(self):
        with scratch_folder() as folder, Daemon(folder, "--source", "demo:transparent") as daemon:
            with Snmpd(folder, *loading("ptpSource demo:transparent")) as snmpd:
                self.assertEqual(list(rows(snmpd)), list(daemon.snmp.walk(PTPBASE)))
                self.assertEqual(snmpd.stop(), 0)

    def test_reloading_leaves_nothing_behind(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            with Snmpd(folder, *loading(f"ptpSource ptp4l:{service.path}")) as snmpd:
                rows(snmpd)
                for number in range(RELOADS):
                    reload(snmpd)
                    if number == RELOADS // 5:  # when caches are warm
                        rows(snmpd)
                        files, memory = descriptors(snmpd), resident_kilobytes(snmpd)
                rows(snmpd)
                self.assertEqual(descriptors(snmpd), files)
                self.assertLess(resident_kilobytes(snmpd) - memory, 512)
                self.assertNotIn("duplicate registration: MIB modules ptpbase", snmpd.output())

    def test_unloading_leaves_nothing_behind(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service, Snmpd(folder) as snmpd:
            before = descriptors(snmpd)
            snmpd.configure(*loading(f"ptpSource ptp4l:{service.path}"))
            reload(snmpd)
            rows(snmpd)
            self.assertTrue(mapped(snmpd, "ptpbaseMIB.so"))
            snmpd.configure()
            reload(snmpd)
            self.assertEqual(snmpd.snmp.walk(PTPBASE), {})
            self.assertEqual(descriptors(snmpd), before)
            self.assertFalse(mapped(snmpd, "ptpbaseMIB.so"))
            self.assertEqual(snmpd.stop(), 0)

    def test_a_changed_source_is_followed_after_a_reload(self):
        with scratch_folder() as folder, Snmpd(folder, *loading("ptpSource demo")) as snmpd:
            self.assertNotIn(f"{PTPBASE}.1.2.6", str(list(rows(snmpd))))
            snmpd.configure(*loading("ptpSource demo:transparent"))
            reload(snmpd)
            wait_for("a transparent clock", lambda: f"{PTPBASE}.1.2.6" in str(list(snmpd.snmp.walk(PTPBASE))))

    def test_a_bad_directive_is_named_with_its_line_and_costs_nothing_else(self):
        with scratch_folder() as folder:
            with Snmpd(folder, *loading("ptpSource demo", "ptpPoll soon", "ptpTrace Snmp/99")) as snmpd:
                rows(snmpd)
                for number, complaint in [(6, 'ptpPoll: "soon"'), (7, "ptpTrace: ")]:
                    self.assertRegex(snmpd.output(), f"line {number}: Error: {complaint}")

    def test_a_source_that_nobody_knows_is_no_other_source(self):
        with scratch_folder() as folder, Snmpd(folder, *loading("ptpSource plt4l")) as snmpd:
            wait_for("the complaint", lambda: "the tables stay empty" in snmpd.output())
            self.assertRegex(snmpd.output(), 'line 5: Error: ptpSource: "plt4l"')
            self.assertNotIn("serving", snmpd.output())

    def test_counters_do_not_go_back_when_snmpd_reloads_after_ptp4l_restarted(self):
        with scratch_folder() as folder:
            path = folder / "ptp4l"
            with FakeService(path) as service:
                service.tell(packets=16000)
                snmpd = Snmpd(folder, *loading(f"ptpSource ptp4l:{path}", "ptpPoll 50")).__enter__()
                self.addCleanup(snmpd.stop)
                before = int(rows(snmpd)[PACKETS_SENT])
            self.assertGreater(before, 16000)
            with FakeService(path) as service:
                service.tell(packets=7)
                wait_for("the other run's packets", lambda: int(snmpd.snmp.walk(PTPBASE).get(PACKETS_SENT, 0)) > before)
                shown = int(rows(snmpd)[PACKETS_SENT])
                reload(snmpd)
                self.assertEqual(int(rows(snmpd)[PACKETS_SENT]), shown)

    def test_a_bad_replay_is_said_and_leaves_the_tables_empty(self):
        with scratch_folder() as folder:
            replay = folder / "status.jsonl"
            replay.write_text("{oh\n")
            with Snmpd(folder, *loading(f"ptpSource replay:{replay}")) as snmpd:
                wait_for("the complaint", lambda: f"{replay}:1" in snmpd.output())
                self.assertEqual(snmpd.snmp.walk(PTPBASE), {})


class Blocking(unittest.TestCase):
    """Whatever the source does, snmpd answers others at once."""

    def assert_up_time_at_once(self, folder, source):
        with Snmpd(folder, *loading(f"ptpSource {source}", "ptpPoll 100")) as snmpd:
            wait_for("the source is followed", lambda: "serving" in snmpd.output())
            taken = []
            for _ in range(40):
                start = time.monotonic()
                self.assertTrue(snmpd.up_time())
                taken.append(time.monotonic() - start)
            # Half of them, since the machine may be busy; the client's start is included.
            self.assertLess(statistics.median(taken), UP_TIME_WITHIN)
            return snmpd.output()

    def test_a_service_that_reads_nothing_holds_nobody_up(self):
        with scratch_folder() as folder, socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as hung:
            hung.bind(str(folder / "ptp4l"))
            self.assert_up_time_at_once(folder, f"ptp4l:{folder}/ptp4l")

    def test_a_service_that_stops_answering_holds_nobody_up(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            service.tell(silent=True)
            self.assert_up_time_at_once(folder, f"ptp4l:{service.path}")

    def test_a_state_source_that_would_hang_is_refused(self):
        with scratch_folder() as folder:
            os.mkfifo(folder / "state")
            output = self.assert_up_time_at_once_refused(folder, f"replay:{folder}/state")
            self.assertIn("not a regular file", output)

    def assert_up_time_at_once_refused(self, folder, source):
        with Snmpd(folder, *loading(f"ptpSource {source}")) as snmpd:
            wait_for("the complaint", lambda: "the tables stay empty" in snmpd.output())
            self.assertTrue(snmpd.up_time())
            return snmpd.output()


if __name__ == "__main__":
    if b"__asan_init" in loader_file().read_bytes():
        print("skipped: a module with a sanitizer can only be loaded by a program with one")
        sys.exit(SKIPPED)
    run_tests()
