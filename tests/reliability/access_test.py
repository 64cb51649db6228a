#!/usr/bin/env python3
"""Who is answered with the configurations that are shipped, asked from this machine and from another one.

usage: PTPSNMPD=/path/to/ptpsnmpd PTPSNMP_BUILD=/path/to/build access_test.py [unittest options]
"""

import contextlib
import os
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from harness import (Daemon, Network, Process, Snmp, daemon_program, run_tests, scratch_folder,  # noqa: E402
                     skip_unless_possible, wait_for)
from snmp_client import NULL, OCTETS, SET, Request, ask, udp_socket  # noqa: E402
from snmp_client import COUNTER32, COUNTER64, GAUGE32, INTEGER, OID  # noqa: E402

PACKAGING = Path(__file__).parents[2] / "packaging"
V3_EXAMPLE = PACKAGING / "config" / "ptpsnmpd-v3.conf"
PORT = 1161  # the shipped configurations', in namespaces of their own
TABLES = ".".join(map(str, PTPBASE))
PRIORITY1 = f"{TABLES}.1.2.3.1.6.0.2.1"
AUTHENTICATED = ["-a", "SHA", "-A", "authentication passphrase"]
ENCRYPTED = ["-x", "AES", "-X", "encryption passphrase"]
MONITOR = ["-v3", "-u", "monitor", "-l", "authPriv", *AUTHENTICATED, *ENCRYPTED]
NO_ACCESS, AUTHORIZATION_ERROR, NOT_WRITABLE = 6, 16, 17


def shipped_configuration():
    return Path(os.environ["PTPSNMP_BUILD"]) / "packaging" / "config" / "ptpsnmpd.conf"


def asks(host, address, *access, oid=PRIORITY1, program="snmpget", seconds=0.5):
    """Whether a host gets a value from an address."""
    asking = host.inside(program, f"-t{seconds}", "-r0", "-m", "", "-OnU", *access, f"{address}:{PORT}", oid)
    result = subprocess.run(asking, capture_output=True, text=True, timeout=20)
    return result.returncode == 0 and "= No " not in result.stdout and bool(result.stdout.strip())


class TwoHosts(unittest.TestCase):
    """The daemon on one of two connected hosts."""

    def setUp(self):
        stack = contextlib.ExitStack()
        self.addCleanup(stack.close)
        self.folder = stack.enter_context(scratch_folder())
        (self.here, self.there), _ = stack.enter_context(Network()).pair(1)
        self.stack = stack

    def serve(self, configuration, *options):
        daemon = self.stack.enter_context(Process(self.folder, "ptpsnmpd", self.here.inside(
            daemon_program(), "--config", configuration, "--source", "demo", "--trace", "Snmp/off", *options)))
        wait_for("the daemon is ready", lambda: "is ready" in daemon.output())

    def assert_answered(self, host, address, *access, **asked):
        self.assertTrue(asks(host, address, *access, seconds=10, **asked), (host.name, address, access))

    def assert_not_answered(self, host, address, *access, **asked):
        self.assertFalse(asks(host, address, *access, **asked), (host.name, address, access))


class ShippedConfiguration(TwoHosts):
    def test_this_machine_alone_is_answered(self):
        self.serve(shipped_configuration())
        self.assert_answered(self.here, "udp:127.0.0.1", "-v2c", "-c", "public")
        for community in ("public", "private", ""):
            for version in ("-v1", "-v2c"):
                self.assert_not_answered(self.there, "udp:10.77.1.1", version, "-c", community)
        self.assert_not_answered(self.here, "udp:10.77.1.1", "-v2c", "-c", "public")

    def test_an_address_that_is_opened_alone_opens_nothing(self):
        self.serve(shipped_configuration(), "--listen", f"udp:{PORT}", "--listen", f"udp6:{PORT}",
                   "--listen", f"tcp:{PORT}")
        self.assert_answered(self.here, "udp:127.0.0.1", "-v2c", "-c", "public")
        self.assert_answered(self.here, "udp6:[::1]", "-v2c", "-c", "public")
        for address in ("udp:10.77.1.1", "tcp:10.77.1.1"):
            self.assert_not_answered(self.there, address, "-v2c", "-c", "public")
        # Nor does this machine by another of its addresses.
        self.assert_not_answered(self.here, "udp:10.77.1.1", "-v2c", "-c", "public")

    def test_another_community_or_a_user_is_not_answered(self):
        self.serve(shipped_configuration())
        for community in ("private", "Public", "public ", ""):
            for version in ("-v1", "-v2c"):
                self.assert_not_answered(self.here, "udp:127.0.0.1", version, "-c", community)
        self.assert_not_answered(self.here, "udp:127.0.0.1", *MONITOR)
        self.assert_not_answered(self.here, "udp:127.0.0.1", "-v3", "-u", "public", "-l", "noAuthNoPriv")


class Version3Example(TwoHosts):
    def setUp(self):
        super().setUp()
        self.serve(V3_EXAMPLE)

    def test_the_user_of_the_example_reads_the_tables_and_the_system_group_alone(self):
        self.assert_answered(self.there, "udp:10.77.1.1", *MONITOR)
        self.assert_answered(self.there, "udp:10.77.1.1", *MONITOR, oid="1.3.6.1.2.1.1.3.0")
        for hidden in ("1.3.6.1.2.1.11", "1.3.6.1.6", "1.3.6.1.4"):
            self.assert_not_answered(self.there, "udp:10.77.1.1", *MONITOR, oid=hidden, program="snmpwalk")

    def test_no_other_user_passphrase_level_or_version_is_answered(self):
        self.assert_answered(self.there, "udp:10.77.1.1", *MONITOR)
        lesser = {
            "another user": ["-v3", "-u", "monitors", "-l", "authPriv", *AUTHENTICATED, *ENCRYPTED],
            "no user": ["-v3", "-u", "", "-l", "noAuthNoPriv"],
            "another passphrase": ["-v3", "-u", "monitor", "-l", "authPriv", "-a", "SHA", "-A", "authentication passphrasE",
                                   *ENCRYPTED],
            "another key": ["-v3", "-u", "monitor", "-l", "authPriv", *AUTHENTICATED, "-x", "AES", "-X",
                            "encryption passphrasE"],
            "another algorithm": ["-v3", "-u", "monitor", "-l", "authPriv", "-a", "MD5", "-A",
                                  "authentication passphrase", *ENCRYPTED],
            "no encryption": ["-v3", "-u", "monitor", "-l", "authNoPriv", *AUTHENTICATED],
            "no authentication": ["-v3", "-u", "monitor", "-l", "noAuthNoPriv"],
            "a community": ["-v2c", "-c", "public"],
            "a community named as the user": ["-v2c", "-c", "monitor"],
            "version 1": ["-v1", "-c", "public"],
        }
        for name, access in lesser.items():
            for host, address in ((self.there, "udp:10.77.1.1"), (self.here, "udp:127.0.0.1"), (self.here, "udp6:[::1]")):
                with self.subTest(name, address=address):
                    self.assert_not_answered(host, address, *access)

    def test_nothing_can_be_set(self):
        before = self.walk()
        self.assertGreater(len(before), 100)
        first = {oid.split(".")[10] + "." + oid.split(".")[12]: oid for oid in reversed(before)}
        for oid in first.values():
            result = subprocess.run(self.there.inside("snmpset", "-t2", "-r0", "-m", "", *MONITOR, f"udp:10.77.1.1:{PORT}", oid,
                                                      "i", "1"), capture_output=True, text=True, timeout=20)
            self.assertNotEqual(result.returncode, 0, oid)
            self.assertRegex(result.stderr, "noAccess|authorizationError", oid)
        self.assertEqual(self.walk(), before)

    def walk(self):
        """The names of all cells."""
        result = subprocess.run(self.there.inside("snmpbulkwalk", "-Onq", "-m", "", *MONITOR, f"udp:10.77.1.1:{PORT}", TABLES),
                                capture_output=True, text=True, timeout=20)
        return [line.split()[0] for line in result.stdout.splitlines() if line.startswith(".1.")]


def encodings(value):
    """A value with each type that it could be set as."""
    if isinstance(value, int):
        return [(tag, value & 0x7fffffff) for tag in (INTEGER, GAUGE32, COUNTER32, COUNTER64)] + [(NULL, None)]
    if isinstance(value, bytes):
        return [(OCTETS, value), (OCTETS, b""), (OCTETS, bytes(1000)), (NULL, None)]
    return [(OID, tuple(map(int, value.split(".")))), (NULL, None)]


class Set(unittest.TestCase):
    """Over all cells, with the types and values that they have."""

    def assert_refused(self, daemon, community, refusals):
        """Where the library does not find the value wrong before, with one of these errors."""
        errors = set()
        snmp = Snmp(daemon.port, community=community)
        before = list(snmp.walk(TABLES))
        self.assertGreater(len(before), 100)
        with udp_socket(daemon.port) as asking:
            for oid, value in snmp.walk(TABLES).items():
                for tag, given in encodings(value):
                    request = Request(SET, [(tuple(map(int, oid.split("."))), tag, given)], community=community)
                    response = ask(asking, request, 5)
                    self.assertIsNotNone(response)
                    self.assertNotEqual(response.error, 0, oid)
                    errors.add(response.error)
        self.assertTrue(errors & refusals, errors)
        self.assertEqual(list(snmp.walk(TABLES)), before)

    def test_with_the_shipped_configuration_no_cell_can_be_set(self):
        with scratch_folder() as folder, Daemon(folder, "--config", shipped_configuration(), "--source", "demo:transparent",
                                                "--trace", "Snmp/off") as daemon:
            self.assert_refused(daemon, "public", {NO_ACCESS, AUTHORIZATION_ERROR})

    def test_whatever_the_configuration_grants_nothing_of_the_system_can_be_set(self):
        writable = [(1, 3, 6, 1, 2, 1, 1, 4, 0), (1, 3, 6, 1, 2, 1, 1, 5, 0), (1, 3, 6, 1, 2, 1, 1, 6, 0)]
        enable_traps = (1, 3, 6, 1, 2, 1, 11, 30, 0)
        with scratch_folder() as folder:
            configuration = folder / "open.conf"
            configuration.write_text("rwcommunity writers 127.0.0.1\n")
            with Daemon(folder, "--config", configuration, "--source", "demo") as daemon, udp_socket(daemon.port) as asking:
                for oid, tag, value in [*((oid, OCTETS, b"other") for oid in writable), (enable_traps, INTEGER, 1)]:
                    response = ask(asking, Request(SET, [(oid, tag, value)], community="writers"), 5)
                    self.assertEqual((response.error, response.error_index), (NOT_WRITABLE, 1), oid)

    def test_whatever_the_configuration_grants_no_cell_can_be_set(self):
        with scratch_folder() as folder:
            configuration = folder / "open.conf"
            configuration.write_text("rwcommunity writers 127.0.0.1\n")
            with Daemon(folder, "--config", configuration, "--source", "demo:transparent", "--trace", "Snmp/off") as daemon:
                self.assert_refused(daemon, "writers", {NOT_WRITABLE})


if __name__ == "__main__":
    skip_unless_possible("ip", "snmpget", "snmpset", "snmpbulkwalk")
    run_tests()
