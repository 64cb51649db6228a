#!/usr/bin/env python3
"""What managers of several families make of the demo.

usage: PTPSNMPD=/path/to/ptpsnmpd clients_test.py [unittest options]
"""

import re
import unittest
from pathlib import Path

from harness import Daemon, command, parse_varbinds, run_tests, scratch_folder

HERE = Path(__file__).parent
MIBS = HERE.parents[1] / "packaging" / "mibs"
CONFORMANCE = HERE.parents[1] / "docs" / "mib-conformance.md"
PTPBASE = "1.3.6.1.2.1.241"
# The demo that has rows in all twelve tables. It moves: where two walks are compared, its first line alone is served.
DEMO = ("--source", "demo:transparent")
DEMO_RECORDING = HERE.parents[1] / "host" / "demo" / "transparent.jsonl"
NAMED = ("-m", "PTPBASE-MIB", "-M", f"+{MIBS}")

# ASN.1 tags, as Net::SNMP gives them for the types of values.
INTEGER, OCTET_STRING, OBJECT_IDENTIFIER, COUNTER64 = 2, 4, 6, 70


def documented_objects():
    """(table, column number, name, how it is served) of every row of the conformance page."""
    table = None
    for line in CONFORMANCE.read_text(encoding="utf-8").splitlines():
        if heading := re.fullmatch(r"## (ptpbase\w+Table)", line):
            table = heading[1]
        cells = [cell.strip() for cell in line.split("|")[1:-1]]
        if table and cells and cells[0].isdigit():
            yield table, int(cells[0]), cells[1], cells[2]


def resting_clock(folder):
    """The source of a clock in which nothing moves: what the demo begins with."""
    first_line = DEMO_RECORDING.read_text(encoding="utf-8").splitlines()[0]
    file = folder / "resting.jsonl"
    file.write_text(first_line + "\n", encoding="utf-8")
    return "--source", f"replay:{file}"


def client(daemon, program, *arguments, options=()):
    return command(program, "-v2c", "-cpublic", *options, f"udp:127.0.0.1:{daemon.port}", *arguments, timeout=60)


class NetSnmp(unittest.TestCase):
    def test_the_mib_file_names_every_object_of_the_conformance_page(self):
        objects = list(documented_objects())
        names = [f"PTPBASE-MIB::{name}" for _, _, name, _ in objects]
        numbers = command("snmptranslate", *NAMED, "-On", *names).split()
        self.assertEqual(len(numbers), len(objects))
        tables = {}
        for (table, column, name, _), number in zip(objects, numbers):
            entry, _, last = number.rpartition(".")
            self.assertEqual(int(last), column, name)
            tables.setdefault(table, set()).add(entry)
        self.assertEqual([entries for entries in tables.values()],
                         [{f".{PTPBASE}.1.1.{n}.1"} for n in (1, 2)] + [{f".{PTPBASE}.1.2.{n}.1"} for n in range(1, 11)])

    def test_snmptable_prints_every_table_with_every_served_column(self):
        served = {}
        for table, _, name, how in documented_objects():
            if how not in ("index", "no"):
                served.setdefault(table, []).append(name)
        self.assertEqual(len(served), 12)
        with scratch_folder() as folder, Daemon(folder, *DEMO) as daemon:
            for table, columns in served.items():
                text = client(daemon, "snmptable", f"PTPBASE-MIB::{table}", options=(*NAMED, "-Cf", ";"))
                title, _, header, *rows = text.strip().split("\n")
                self.assertEqual(title, f"SNMP table: PTPBASE-MIB::{table}")
                self.assertEqual([name for name in header.split(";") if name in columns], columns)
                self.assertTrue(rows, table)
                for row in rows:
                    cells = dict(zip(header.split(";"), row.split(";")))
                    self.assertNotIn("?", [cells[name] for name in columns], f"{table}: {row}")

    def test_names_and_enumerations_are_printed_as_words(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            text = client(daemon, "snmpwalk", "PTPBASE-MIB::ptpbaseMIBClockInfo", options=NAMED)
            for line in ("ptpbaseClockPortRunningState.0.boundaryClock.1.1 = INTEGER: slave(9)",
                         "ptpbaseClockPortRole.0.boundaryClock.1.1 = INTEGER: slave(2)",
                         "ptpbaseClockParentDSParentStats.0.boundaryClock.1 = INTEGER: false(2)",
                         "ptpbaseClockPortName.0.boundaryClock.1.1 = STRING: Ethernet1"):
                self.assertIn(f"PTPBASE-MIB::{line}\n", text)
            self.assertRegex(text, r"OffsetFromMaster\.0\.boundaryClock\.1 = STRING: -?\d+ 2\*\*-16 nanoseconds\n")

    def test_a_walk_is_the_same_in_steps_of_any_size(self):
        with scratch_folder() as folder, Daemon(folder, *resting_clock(folder)) as daemon:
            numeric = ("-OneUx", "-m", "")
            stepwise = parse_varbinds(client(daemon, "snmpwalk", PTPBASE, options=numeric))
            self.assertGreater(len(stepwise), 66)
            for repetitions in (1, 7, 10, 50, 500):
                bulk = client(daemon, "snmpbulkwalk", PTPBASE, options=(*numeric, f"-Cr{repetitions}"))
                self.assertEqual(list(parse_varbinds(bulk).items()), list(stepwise.items()), repetitions)


class NetSnmpPerl(unittest.TestCase):
    """Net::SNMP of Perl: another implementation of SNMP, another decoder, another idea of how to walk."""

    def walk(self, daemon, version, repetitions=10):
        text = command("perl", str(HERE / "net_snmp_perl_walk.pl"), str(daemon.port), version, str(repetitions), PTPBASE)
        varbinds = {}
        for line in text.splitlines():
            oid, kind, value = (line + " ").split(" ")[:3]
            varbinds[oid] = (int(kind), decoded(int(kind), bytes.fromhex(value)))
        return varbinds

    def test_it_reads_what_net_snmp_reads(self):
        with scratch_folder() as folder, Daemon(folder, *resting_clock(folder)) as daemon:
            expected = daemon.snmp.walk(PTPBASE)
            for repetitions in (1, 10, 50):
                found = {oid: value for oid, (_, value) in self.walk(daemon, "2c", repetitions).items()}
                self.assertEqual(found, expected, repetitions)

    def test_over_version_1_it_reads_all_but_the_64_bit_counters(self):
        with scratch_folder() as folder, Daemon(folder, *DEMO) as daemon:
            second = self.walk(daemon, "2c")
            narrow = {oid for oid, (kind, _) in second.items() if kind != COUNTER64}
            self.assertLess(len(narrow), len(second))
            self.assertEqual(set(self.walk(daemon, "1")), narrow)


def decoded(kind, value):
    if kind == OCTET_STRING:
        return value
    text = value.decode("ascii")
    return text.lstrip(".") if kind == OBJECT_IDENTIFIER else int(text)


if __name__ == "__main__":
    run_tests()
