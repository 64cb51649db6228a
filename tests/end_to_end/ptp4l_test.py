#!/usr/bin/env python3
"""What SNMP says of a live ptp4l equals what pmc says.

usage: PTPSNMPD=/path/to/ptpsnmpd ptp4l_test.py [unittest options]
"""

import contextlib
import os
import signal
import sys
import unittest
from dataclasses import dataclass
from typing import Callable

from harness import (Failed, Namespace, Network, Process, Snmp, clock_identity, free_udp_port, pmc, scratch_folder,
                     skip_unless_possible, wait_for)

PTPBASE = "1.3.6.1.2.1.241"
TABLES = f"{PTPBASE}.1.2"
DOMAIN = 0
CLOCK = f"{DOMAIN}.2.1"  # domain, boundary clock, first instance
PORT = f"{CLOCK}.1"
CURRENT, PARENT, DEFAULT, RUNNING, TIME, PORTS, PORT_DS, PORT_RUNNING = 1, 2, 3, 4, 5, 7, 8, 9
TRANSPORT_ETHERNET = f"{TABLES}.12.3"
STATES = "INITIALIZING FAULTY DISABLED LISTENING PRE_MASTER MASTER PASSIVE UNCALIBRATED SLAVE".split()

# Fast enough for a test, and no interval is its default. The servo is told to follow at once; it cannot touch this
# host's clock, since ptp4l runs without the capability for it.
COMMON = """
[global]
time_stamping software
network_transport L2
use_syslog 0
verbose 1
uds_address {folder}/{name}.socket
logAnnounceInterval -2
logSyncInterval -3
logMinDelayReqInterval -3
pi_proportional_const 0.7
pi_integral_const 0.3
"""
MASTER = COMMON + "priority1 100\npriority2 101\n[{interface}]\n"
# As a grandmaster's time service does it; every value differs from its default.
GRANDMASTER = ("SET GRANDMASTER_SETTINGS_NP clockClass 6 clockAccuracy 0x21 offsetScaledLogVariance 0x4e5d "
               "currentUtcOffset 38 leap61 1 leap59 0 currentUtcOffsetValid 1 ptpTimescale 1 timeTraceable 1 "
               "frequencyTraceable 0 timeSource 0x20")
SLAVE = COMMON + "slaveOnly 1\npriority1 200\npriority2 201\n[{interface}]\n"


def oid(table, column, index):
    return f"{TABLES}.{table}.1.{column}.{index}"


def number(text):
    return int(text, 0)


def truth(text):
    return 1 if number(text) else 2


def identity(text):
    return bytes.fromhex(text.replace(".", ""))


def state(text):
    return STATES.index(text) + 1


def role(text):
    return 2 if text in ("SLAVE", "UNCALIBRATED") else 1


def associated_ports(text):
    return 1 if text in ("SLAVE", "UNCALIBRATED") else 0


def interval(text):
    """A time interval in whole nanoseconds, as its 8 octets of 2^-16 ns."""
    return (int(float(text)) << 16).to_bytes(8, "big", signed=True)


@dataclass
class Cell:
    """One column, and where pmc shows the same."""

    name: str
    table: int
    column: int
    message: str
    field: str
    convert: Callable = number

    def oid(self):
        return oid(self.table, self.column, PORT if self.table >= PORTS else CLOCK)


CELLS = [
    Cell("current stepsRemoved", CURRENT, 4, "CURRENT_DATA_SET", "stepsRemoved"),
    Cell("parent parentPortIdentity", PARENT, 4, "PARENT_DATA_SET", "parentPortIdentity", str.encode),
    Cell("parent parentStats", PARENT, 5, "PARENT_DATA_SET", "parentStats", truth),
    Cell("parent offset", PARENT, 6, "PARENT_DATA_SET", "observedParentOffsetScaledLogVariance"),
    Cell("parent clockPhChRate", PARENT, 7, "PARENT_DATA_SET", "observedParentClockPhaseChangeRate"),
    Cell("parent gmIdentity", PARENT, 8, "PARENT_DATA_SET", "grandmasterIdentity", identity),
    Cell("parent gmPriority1", PARENT, 9, "PARENT_DATA_SET", "grandmasterPriority1"),
    Cell("parent gmPriority2", PARENT, 10, "PARENT_DATA_SET", "grandmasterPriority2"),
    Cell("parent gmClass", PARENT, 11, "PARENT_DATA_SET", "gm.ClockClass"),
    Cell("parent gmAccuracy", PARENT, 12, "PARENT_DATA_SET", "gm.ClockAccuracy"),
    Cell("parent gmOffset", PARENT, 13, "PARENT_DATA_SET", "gm.OffsetScaledLogVariance"),
    Cell("default twoStep", DEFAULT, 4, "DEFAULT_DATA_SET", "twoStepFlag", truth),
    Cell("default clockIdentity", DEFAULT, 5, "DEFAULT_DATA_SET", "clockIdentity", identity),
    Cell("default priority1", DEFAULT, 6, "DEFAULT_DATA_SET", "priority1"),
    Cell("default priority2", DEFAULT, 7, "DEFAULT_DATA_SET", "priority2"),
    Cell("default class", DEFAULT, 9, "DEFAULT_DATA_SET", "clockClass"),
    Cell("default accuracy", DEFAULT, 10, "DEFAULT_DATA_SET", "clockAccuracy"),
    Cell("default offset", DEFAULT, 11, "DEFAULT_DATA_SET", "offsetScaledLogVariance"),
    Cell("time utcOffsetValid", TIME, 4, "TIME_PROPERTIES_DATA_SET", "currentUtcOffsetValid", truth),
    Cell("time utcOffset", TIME, 5, "TIME_PROPERTIES_DATA_SET", "currentUtcOffset"),
    Cell("time leap59", TIME, 6, "TIME_PROPERTIES_DATA_SET", "leap59", truth),
    Cell("time leap61", TIME, 7, "TIME_PROPERTIES_DATA_SET", "leap61", truth),
    Cell("time timeTraceable", TIME, 8, "TIME_PROPERTIES_DATA_SET", "timeTraceable", truth),
    Cell("time freqTraceable", TIME, 9, "TIME_PROPERTIES_DATA_SET", "frequencyTraceable", truth),
    Cell("time ptpTimescale", TIME, 10, "TIME_PROPERTIES_DATA_SET", "ptpTimescale", truth),
    Cell("time source", TIME, 11, "TIME_PROPERTIES_DATA_SET", "timeSource"),
    Cell("port name", PORTS, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Cell("port role", PORTS, 6, "PORT_DATA_SET", "portState", role),
    Cell("port twoStep", PORTS, 7, "DEFAULT_DATA_SET", "twoStepFlag", truth),
    Cell("port associatedPorts", PORTS, 10, "PORT_DATA_SET", "portState", associated_ports),
    Cell("portDS name", PORT_DS, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Cell("portDS portIdentity", PORT_DS, 6, "PORT_DATA_SET", "portIdentity", str.encode),
    Cell("portDS logAnnounceInterval", PORT_DS, 7, "PORT_DATA_SET", "logAnnounceInterval"),
    Cell("portDS announceReceiptTimeout", PORT_DS, 8, "PORT_DATA_SET", "announceReceiptTimeout"),
    Cell("portDS logSyncInterval", PORT_DS, 9, "PORT_DATA_SET", "logSyncInterval"),
    Cell("portDS logMinDelayReqInterval", PORT_DS, 10, "PORT_DATA_SET", "logMinDelayReqInterval"),
    Cell("portDS logMinPdelayReqInterval", PORT_DS, 11, "PORT_DATA_SET", "logMinPdelayReqInterval"),
    Cell("portDS delayMechanism", PORT_DS, 12, "PORT_DATA_SET", "delayMechanism"),
    Cell("portDS peerMeanPathDelay", PORT_DS, 13, "PORT_DATA_SET", "peerMeanPathDelay", interval),
    Cell("portDS version", PORT_DS, 15, "PORT_DATA_SET", "versionNumber"),
    Cell("portRunning name", PORT_RUNNING, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Cell("portRunning state", PORT_RUNNING, 6, "PORT_DATA_SET", "portState", state),
    Cell("portRunning role", PORT_RUNNING, 7, "PORT_DATA_SET", "portState", role),
    Cell("portRunning transport", PORT_RUNNING, 9, "CLOCK_DESCRIPTION", "protocolAddress",
         lambda text: TRANSPORT_ETHERNET if text.startswith("3 ") else text),
    Cell("portRunning encapsulation", PORT_RUNNING, 10, "CLOCK_DESCRIPTION", "protocolAddress",
         lambda text: TRANSPORT_ETHERNET if text.startswith("3 ") else text),
]


@dataclass
class Clock:
    """A ptp4l with one port."""

    name: str
    namespace: Namespace
    interface: str
    folder: str

    def start(self, configuration):
        path = f"{self.folder}/{self.name}.cfg"
        with open(path, "w", encoding="utf-8") as file:
            file.write(configuration.format(folder=self.folder, name=self.name, interface=self.interface))
        unprivileged = ["setpriv", "--bounding-set", "-sys_time", "ptp4l", "-f", path]
        return Process(self.folder, self.name, self.namespace.inside(*unprivileged))

    @property
    def socket(self):
        return f"{self.folder}/{self.name}.socket"

    def ask(self, *messages):
        """The fields of each message, by message."""
        actions = [f"GET {message}" for message in messages]
        return {message: fields for message, _, fields in pmc(self.socket, self.folder, *actions, domain=DOMAIN)}

    def port_state(self):
        return self.ask("PORT_DATA_SET").get("PORT_DATA_SET", {}).get("portState")

    def grandmaster_of_class(self, wanted):
        parent = self.ask("PARENT_DATA_SET").get("PARENT_DATA_SET", {})
        return parent if parent.get("gm.ClockClass") == wanted else None

    def wait_until_it_follows(self):
        """In SLAVE; or still in UNCALIBRATED after that had time to end: ptp4l 4 stays there as long as it may not
        adjust the clock."""
        try:
            wait_for(f"{self.name} in SLAVE", lambda: self.port_state() == "SLAVE", seconds=10)
        except Failed:
            if self.port_state() != "UNCALIBRATED":
                raise


@contextlib.contextmanager
def clocks():
    """A master and a slave, not yet started, and a folder for their files."""
    with scratch_folder() as folder, Network() as network:
        first, second = network.namespace(), network.namespace()
        ends = network.connect(first, second)
        yield Clock("master", first, ends[0], folder), Clock("slave", second, ends[1], folder)


def ptpsnmpd(clock, port):
    """In the clock's namespace, whose interfaces the clock means."""
    arguments = [os.environ["PTPSNMPD"], "--source", f"ptp4l:{clock.socket}", "--listen", f"udp:127.0.0.1:{port}"]
    return Process(clock.folder, "ptpsnmpd", clock.namespace.inside(*arguments))


def compare(clock, snmp):
    """(name, SNMP's value, pmc's value) of each cell."""
    asked = clock.ask(*sorted({cell.message for cell in CELLS}))
    shown = snmp.walk(PTPBASE)
    rows = [(cell.name, shown.get(cell.oid()), cell.convert(asked[cell.message][cell.field])) for cell in CELLS]
    index = clock.namespace.if_index(clock.interface)
    rows.append(("portRunning ifIndex", shown.get(oid(PORT_RUNNING, 8, PORT)), index))
    rows.append(("default slaveOnly (never served as true)", shown.get(oid(DEFAULT, 8, CLOCK)), 2))
    rows.append(("portRunning txMode (multicast)", shown.get(oid(PORT_RUNNING, 11, PORT)), 2))
    rows.append(("portRunning rxMode (multicast)", shown.get(oid(PORT_RUNNING, 12, PORT)), 2))
    port_number = int(asked["PORT_DATA_SET"]["portIdentity"].rpartition("-")[2])
    numbers = [int(o.rpartition(".")[2]) for o in shown if o.startswith(f"{TABLES}.{PORT_DS}.1.6.{CLOCK}.")]
    rows.append(("port numbers", numbers, [port_number]))
    return rows


def print_table(rows):
    def text(value):
        if not isinstance(value, bytes):
            return str(value)
        printable = value.isascii() and value.decode("ascii").isprintable()
        return value.decode("ascii") if printable else value.hex(" ")

    lines = [("cell", "SNMP", "pmc", "equal")]
    lines += [(name, text(shown), text(asked), "yes" if shown == asked else "NO") for name, shown, asked in rows]
    widths = [max(len(line[i]) for line in lines) for i in range(4)]
    print()  # unittest leaves its line open
    for line in lines:
        print("  ".join(part.ljust(width) for part, width in zip(line, widths)).rstrip())


def packets(clock):
    """(received, sent) of the clock's one port, as pmc counts them."""
    counts = clock.ask("PORT_STATS_NP")["PORT_STATS_NP"]
    return tuple(sum(int(value) for name, value in counts.items() if name.startswith(prefix))
                 for prefix in ("rx_", "tx_"))


class Ptp4lTest(unittest.TestCase):
    def check_cells(self, slave, snmp):
        rows = []

        def equal():
            rows[:] = compare(slave, snmp)
            return all(shown == asked for _, shown, asked in rows)

        try:
            wait_for("SNMP and pmc agree", equal, 10)
        finally:
            print_table(rows)

    def check_intervals_are_there(self, snmp):
        for column in (5, 6):
            cell = oid(CURRENT, column, CLOCK)
            self.assertEqual(len(snmp.get(cell)[cell]), 8, cell)

    def check_counters(self, clock, snmp):
        """SNMP's counters reach what pmc has read before, and never what it has not read after."""
        received, sent = oid(PORT_RUNNING, 13, PORT), oid(PORT_RUNNING, 14, PORT)
        clock_sent, clock_received = oid(RUNNING, 5, CLOCK), oid(RUNNING, 6, CLOCK)
        before = packets(clock)
        shown = {}

        def reached():
            shown.update(snmp.get(received, sent, clock_received, clock_sent))
            return shown[received] >= before[0] and shown[sent] >= before[1]

        wait_for("the counters of before", reached, 10)
        after = packets(clock)
        for cells in ((received, sent), (clock_received, clock_sent)):
            for low, cell, high in zip(before, cells, after):
                print(f"{cell}: pmc {low}, SNMP {shown[cell]}, pmc {high}")
                self.assertLessEqual(low, shown[cell])
                self.assertLessEqual(shown[cell], high)

    def test_snmp_says_what_pmc_says(self):
        with clocks() as (master, slave), master.start(MASTER), slave.start(SLAVE):
            slave.wait_until_it_follows()
            pmc(master.socket, master.folder, GRANDMASTER, domain=DOMAIN)
            parent = wait_for("the grandmaster's settings", lambda: slave.grandmaster_of_class("6"))
            self.assertEqual(parent["grandmasterIdentity"], clock_identity(1))
            port = free_udp_port()
            snmp = Snmp(port, slave.namespace)
            with ptpsnmpd(slave, port) as daemon:
                wait_for("rows", lambda: snmp.walk(TABLES))
                self.check_cells(slave, snmp)
                self.check_intervals_are_there(snmp)
                self.check_counters(slave, snmp)
                self.assertEqual(daemon.stop(), 0, "the exit status")

    def test_a_daemon_that_is_gone_empties_the_tables_until_it_is_back(self):
        with clocks() as (_, slave):
            port = free_udp_port()
            snmp = Snmp(port, slave.namespace)
            identity_cell = oid(DEFAULT, 5, CLOCK)
            with ptpsnmpd(slave, port):
                wait_for("an answer by SNMP without rows", lambda: snmp.walk(PTPBASE) == {})
                with slave.start(SLAVE) as daemon:
                    wait_for("rows", lambda: snmp.walk(TABLES))
                    self.assertEqual(snmp.get(identity_cell)[identity_cell], identity(clock_identity(2)))
                    daemon.stop(signal.SIGKILL)
                    wait_for("no rows", lambda: not snmp.walk(PTPBASE))
                with slave.start(SLAVE):
                    wait_for("rows again", lambda: snmp.walk(TABLES))
                    self.assertEqual(snmp.get(identity_cell)[identity_cell], identity(clock_identity(2)))


def main():
    if not os.access(os.environ.get("PTPSNMPD", ""), os.X_OK):
        sys.exit("PTPSNMPD must name the program to test")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    skip_unless_possible("ip", "ptp4l", "pmc", "setpriv", "snmpget", "snmpbulkwalk")
    unittest.main(verbosity=2)


if __name__ == "__main__":
    main()
