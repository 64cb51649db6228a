#!/usr/bin/env python3
"""The daemon as an operator starts it: what it serves, and how it ends.

usage: PTPSNMPD=/path/to/ptpsnmpd daemon_test.py [unittest options]
"""

import json
import signal
import subprocess
import unittest

from harness import Daemon, Failed, Snmp, command, daemon_program, run_tests, scratch_folder, wait_for

PTPBASE = "1.3.6.1.2.1.241"
TABLES = [f"{PTPBASE}.1.1.{n}" for n in (1, 2)] + [f"{PTPBASE}.1.2.{n}" for n in range(1, 11)]
# What a clock that is not transparent has no rows of.
TRANSPARENT_ONLY = [f"{PTPBASE}.1.2.6", f"{PTPBASE}.1.2.10"]
PRIORITY1 = f"{PTPBASE}.1.2.3.1.6.0.2.1"
RUN_FAILED, BAD_INPUT = 1, 2


def run(*options):
    """A run that ends by itself: its exit status and what it said."""
    result = subprocess.run([daemon_program(), *options], capture_output=True, text=True, timeout=20,
                            stdin=subprocess.DEVNULL)
    return result.returncode, result.stdout + result.stderr


def key_of(oid):
    return [int(number) for number in oid.split(".")]


def tables_of(cells):
    return [table for table in TABLES if any(oid.startswith(table + ".") for oid in cells)]


def status(**default_ds):
    return {"defaultDS": {"clockIdentity": "001122.fffe.334455", "clockMode": "boundary", **default_ds}}


def replay_file(folder, *lines):
    file = folder / "status.jsonl"
    file.write_text("".join(line if isinstance(line, str) else json.dumps(line) + "\n" for line in lines))
    return file


class Serving(unittest.TestCase):
    def test_the_demo_shows_a_boundary_clock_in_order(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            cells = daemon.snmp.walk(PTPBASE)
            self.assertEqual(list(cells), sorted(cells, key=key_of))
            self.assertEqual(tables_of(cells), [table for table in TABLES if table not in TRANSPARENT_ONLY])
            self.assertEqual(daemon.stop(), 0)

    def test_the_demo_moves(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            offset = f"{PTPBASE}.1.2.1.1.5.0.2.1"
            first = daemon.snmp.get(offset)
            wait_for("another offset", lambda: daemon.snmp.get(offset) != first)

    def test_the_transparent_demo_has_rows_in_all_twelve_tables(self):
        with scratch_folder() as folder, Daemon(folder, "--source", "demo:transparent") as daemon:
            self.assertEqual(tables_of(daemon.snmp.walk(PTPBASE)), TABLES)

    def test_the_command_that_it_suggests_works(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            suggestion = next(line for line in daemon.output().splitlines() if line.startswith("Try: "))
            self.assertIn(f".{PTPBASE}.1.1.1", command(*suggestion.removeprefix("Try: ").split()))

    def test_another_community_is_not_answered(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            with self.assertRaises(Failed):
                Snmp(daemon.port, community="private").get(PRIORITY1)

    def test_nothing_can_be_set(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            before = daemon.snmp.get(PRIORITY1)
            with self.assertRaises(Failed):
                command("snmpset", "-v2c", "-cpublic", "-r0", f"udp:127.0.0.1:{daemon.port}", PRIORITY1, "u", "1")
            self.assertEqual(daemon.snmp.get(PRIORITY1), before)

    def test_an_unknown_transport_does_not_end_a_walk(self):
        ports = {f"001122.fffe.334455-{n}": {"transport": 7} for n in (1, 2)}
        with scratch_folder() as folder:
            file = replay_file(folder, {"at": 0, "status": {**status(), "ports": ports}})
            with Daemon(folder, "--source", f"replay:{file}") as daemon:
                column = f"{PTPBASE}.1.2.9.1.9"
                self.assertEqual(list(daemon.snmp.walk(column)), [f"{column}.0.2.1.{n}" for n in (1, 2)])

    def test_traces_are_chosen_on_the_command_line(self):
        with scratch_folder() as folder, Daemon(folder, "--trace", "PtpSnmp/8") as daemon:
            daemon.snmp.walk(PTPBASE)
            self.assertIn("\nPtpSnmp/8 Enter void PtpSnmp::Agent::PtpSnmpSm::handlePtpTablesIndex()", daemon.output())
            self.assertNotIn("Snmp/0", daemon.output().replace("PtpSnmp", ""))


class BadInput(unittest.TestCase):
    def test_a_replay_that_is_not_there_is_said_in_one_line(self):
        self.assertEqual(run("--source", "replay:/nonexistent"),
                         (BAD_INPUT, "ptpsnmpd: error: /nonexistent: cannot be opened: No such file or directory\n"))

    def test_a_bad_value_is_named_with_file_line_and_field(self):
        with scratch_folder() as folder:
            for value in (256, -1, 1.5, "high", None, []):
                file = replay_file(folder, "\n", {"at": 0, "status": {"defaultDS": {"priority1": value}}})
                if value is None:
                    continue  # deletes a member that is not there
                code, text = run("--source", f"replay:{file}")
                self.assertEqual((code, text.count("\n")), (BAD_INPUT, 1), text)
                self.assertIn(f"{file}:2: ", text)

    def test_two_ports_with_one_number_are_refused_by_both_keys(self):
        ports = {"001122.fffe.334455-1": {}, "001122.fffe.334455-2": {"portIdentity": "001122.fffe.334455-1"}}
        with scratch_folder() as folder:
            file = replay_file(folder, {"at": 0, "status": {**status(), "ports": ports}})
            code, text = run("--source", f"replay:{file}")
            self.assertEqual(code, BAD_INPUT)
            self.assertIn(f'{file}:1: ports["001122.fffe.334455-1"] and ports["001122.fffe.334455-2"]', text)

    def test_a_bad_line_leaves_the_last_good_state(self):
        with scratch_folder() as folder:
            file = replay_file(folder, {"at": 0, "status": status(priority1=7)},
                               {"at": 0.1, "status": {"defaultDS": {"priority1": 8, "priority2": 256}}},
                               "not JSON\n",
                               {"at": 0.2, "status": {"defaultDS": {"priority2": 9}}})
            with Daemon(folder, "--source", f"replay:{file}") as daemon:
                priority2 = f"{PTPBASE}.1.2.3.1.7.0.2.1"
                wait_for("the last line", lambda: daemon.snmp.get(priority2) == {priority2: 9})
                self.assertEqual(daemon.snmp.get(PRIORITY1), {PRIORITY1: 7})
                self.assertIn(f"{file}:2: defaultDS.priority2: 256", daemon.output())
                self.assertIn(f"{file}:3: ", daemon.output())

    def test_an_address_in_use_is_said(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            code, text = run("--listen", f"udp:127.0.0.1:{daemon.port}")
            self.assertEqual(code, RUN_FAILED)
            self.assertIn(f"cannot listen on udp:127.0.0.1:{daemon.port}: Address already in use\n", text)

    def test_a_wrong_option_is_a_usage_error(self):
        for options in (["--nonsense"], ["--source", "nowhere"], ["--source", "replay:"], ["--trace", "Snmp"]):
            self.assertEqual(run(*options)[0], BAD_INPUT, options)

    def test_help_and_version_are_no_error(self):
        self.assertEqual(run("--version")[0], 0)
        self.assertIn("--source", run("--help")[1])


class Ending(unittest.TestCase):
    def test_it_ends_at_once_after_having_served_a_walk(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            with scratch_folder() as folder, Daemon(folder) as daemon:
                daemon.snmp.walk(PTPBASE)
                self.assertEqual(daemon.stop(how), 0, daemon.output())


if __name__ == "__main__":
    run_tests()
