#!/usr/bin/env python3
"""The golden lists of both clocks, read from ptpsnmpd by net-snmp's clients over UDP, with SNMPv1, v2c and v3.

Usage: wire_test.py PTPSNMPD GOLDEN_FOLDER
"""

import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

DAEMON = sys.argv[1]
GOLDEN = pathlib.Path(sys.argv[2])
SUBTREE = "1.3.6.1.2.1.241"
V2C = ["-v2c", "-c", "readers"]
V1 = ["-v1", "-c", "readers"]
V3 = ["-v3", "-l", "authPriv", "-u", "reader", "-a", "SHA", "-A", "authsecret", "-x", "AES", "-X", "privsecret"]
TYPES = {
    "INTEGER": "INTEGER",
    "Gauge32": "Gauge32",
    "Counter32": "Counter32",
    "Counter64": "Counter64",
    "OID": "OID",
    "Hex-STRING": "STRING",
}


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def golden(name):
    lines = (GOLDEN / f"{name}.txt").read_text(encoding="ascii").splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def cell(line):
    """A client's "NAME = TYPE: VALUE" as a line of a golden list."""
    name, _, rest = line.partition(" = ")
    kind, _, value = rest.partition(": ")
    kind = TYPES[kind]
    if kind == "STRING":
        value = "".join(value.split()).lower()
    return f"{name.lstrip('.')} {kind} {value.lstrip('.')}"


class Daemon:
    """ptpsnmpd with a clock of the golden folder, in a folder of its own."""

    def __init__(self, clock):
        self.folder = tempfile.TemporaryDirectory(prefix="ptpsnmp-wire-")
        self.address = f"127.0.0.1:{free_port()}"
        configuration = pathlib.Path(self.folder.name) / "agent.conf"
        configuration.write_text(
            'rocommunity readers 127.0.0.1\nrwcommunity writers 127.0.0.1\n'
            'createUser reader SHA "authsecret" AES "privsecret"\nrouser reader priv\n',
            encoding="ascii",
        )
        self.environment = {**os.environ, "MIBS": "", "SNMPCONFPATH": self.folder.name, "HOME": self.folder.name,
                            "SNMP_PERSISTENT_DIR": self.folder.name}
        self.log = open(pathlib.Path(self.folder.name) / "log", "w+", encoding="utf-8")
        arguments = ["--source", f"replay:{GOLDEN / clock}.jsonl", "--listen", f"udp:{self.address}",
                     "--config", str(configuration), "--trace", "Snmp/off"]
        self.process = subprocess.Popen(
            [DAEMON, *arguments], stdout=subprocess.PIPE, stderr=self.log, text=True, env=self.environment
        )
        if "is ready" not in self.process.stdout.readline():
            self.stop()
            raise AssertionError("ptpsnmpd did not start")

    def stop(self):
        self.process.terminate()
        self.process.wait(10)
        self.process.stdout.close()
        self.log.seek(0)
        sys.stderr.write(self.log.read())
        self.log.close()
        self.folder.cleanup()

    def ask(self, program, access, *names):
        """The client's lines and exit status. Names are numeric, strings in hexadecimal digits on one line."""
        result = subprocess.run(
            [program, *access, "-On", "-Oe", "-Ox", "-t", "10", "-r", "0", self.address, *names],
            capture_output=True, text=True, timeout=60, env=self.environment, check=False,
        )
        # Long strings go on in further lines; each variable begins with its name.
        lines = re.split(r"\n(?=\.1\.)", result.stdout.strip()) if result.stdout.strip() else []
        return lines, result.returncode, result.stderr

    def read(self, program, access, *names):
        lines, status, complaint = self.ask(program, access, *names)
        if status != 0:
            raise AssertionError(f"{program} {names}: {complaint}")
        return [cell(line) for line in lines]


class WireTest:
    clock = None

    @classmethod
    def setUpClass(cls):
        cls.daemon = Daemon(cls.clock)
        cls.golden = golden(cls.clock)

    @classmethod
    def tearDownClass(cls):
        cls.daemon.stop()

    def test_a_walk_visits_each_cell_in_order(self):
        for access in (V2C, V3):
            self.assertEqual(self.daemon.read("snmpwalk", access, SUBTREE), self.golden)

    def test_a_bulk_walk_visits_the_same_cells(self):
        for access in (V2C, V3):
            for repetitions in ("1", "10", "50"):
                cells = self.daemon.read("snmpbulkwalk", access + [f"-Cr{repetitions}"], SUBTREE)
                self.assertEqual(cells, self.golden)

    def test_a_version_1_walk_passes_over_counter64(self):
        expected = [line for line in self.golden if " Counter64 " not in line]
        self.assertEqual(self.daemon.read("snmpwalk", V1, SUBTREE), expected)

    def test_a_get_answers_each_cell_asked(self):
        names = [line.split()[0] for line in self.golden]
        for access in (V2C, V3):
            for start in range(0, len(names), 40):
                cells = self.daemon.read("snmpget", access, *names[start : start + 40])
                self.assertEqual(cells, self.golden[start : start + 40])

    def test_get_next_steps_each_cell_asked(self):
        names = [line.split()[0] for line in self.golden]
        for access in (V2C, V3):
            cells = self.daemon.read("snmpgetnext", access, *names[:40])
            self.assertEqual(cells, self.golden[1:41])

    def test_a_set_is_refused(self):
        for line in self.golden[::7]:
            _, status, complaint = self.daemon.ask("snmpset", ["-v2c", "-c", "writers"], line.split()[0], "i", "1")
            self.assertNotEqual(status, 0)
            self.assertIn("notWritable", complaint)
        self.assertEqual(self.daemon.read("snmpbulkwalk", V2C, SUBTREE), self.golden)


class BoundaryClockTest(WireTest, unittest.TestCase):
    clock = "boundary"


class TransparentClockTest(WireTest, unittest.TestCase):
    clock = "transparent"


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
