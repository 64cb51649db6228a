"""Live ptp4l clocks in network namespaces, and what pmc says of every column that SNMP serves of them."""

import os
from dataclasses import dataclass, field
from typing import Callable

from harness import Failed, Namespace, Process, Snmp, free_udp_port, pmc, wait_for

PTPBASE = "1.3.6.1.2.1.241"
TABLES = f"{PTPBASE}.1.2"
SYSTEM = f"{PTPBASE}.1.1.1"
SYSTEM_DOMAIN = f"{PTPBASE}.1.1.2"
CURRENT, PARENT, DEFAULT, RUNNING, TIME, PORTS, PORT_DS, PORT_RUNNING = 1, 2, 3, 4, 5, 7, 8, 9
BOUNDARY_CLOCK = 2
STATES = "INITIALIZING FAULTY DISABLED LISTENING PRE_MASTER MASTER PASSIVE UNCALIBRATED SLAVE".split()

# Fast enough for a test. The servo is told to follow at once; it cannot touch this host's clock, since ptp4l runs
# without the capability for it.
COMMON = """
[global]
time_stamping software
use_syslog 0
verbose 1
uds_address {folder}/{name}.socket
logAnnounceInterval -2
logMinDelayReqInterval -3
fault_reset_interval -2
pi_proportional_const 0.7
pi_integral_const 0.3
"""


def configuration(*ports, **options):
    """Of a ptp4l, with braces where the test's own names go."""
    lines = [f"{name} {value}" for name, value in options.items()]
    return COMMON + "\n".join(lines) + "\n" + "".join(f"[{port}]\n" for port in ports)


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


def transport(text):
    """protocolAddress: the network protocol's number and the address."""
    return f"{TABLES}.12.{text.split()[0]}"


def constant(value):
    return lambda _: value


@dataclass
class Column:
    """A column, and where pmc shows the same."""

    name: str
    table: int
    column: int
    message: str
    field: str
    convert: Callable = number
    moves: bool = False  # pmc is asked before and after, and either will do

    def per_port(self):
        return self.table >= PORTS

    def oid(self, index):
        return f"{TABLES}.{self.table}.1.{self.column}.{index}"


COLUMNS = [
    Column("current stepsRemoved", CURRENT, 4, "CURRENT_DATA_SET", "stepsRemoved"),
    Column("current offsetFromMaster", CURRENT, 5, "CURRENT_DATA_SET", "offsetFromMaster", interval, True),
    Column("current meanPathDelay", CURRENT, 6, "CURRENT_DATA_SET", "meanPathDelay", interval, True),
    Column("parent parentPortIdentity", PARENT, 4, "PARENT_DATA_SET", "parentPortIdentity", str.encode),
    Column("parent parentStats", PARENT, 5, "PARENT_DATA_SET", "parentStats", truth),
    Column("parent offset", PARENT, 6, "PARENT_DATA_SET", "observedParentOffsetScaledLogVariance"),
    Column("parent clockPhChRate", PARENT, 7, "PARENT_DATA_SET", "observedParentClockPhaseChangeRate"),
    Column("parent gmIdentity", PARENT, 8, "PARENT_DATA_SET", "grandmasterIdentity", identity),
    Column("parent gmPriority1", PARENT, 9, "PARENT_DATA_SET", "grandmasterPriority1"),
    Column("parent gmPriority2", PARENT, 10, "PARENT_DATA_SET", "grandmasterPriority2"),
    Column("parent gmClass", PARENT, 11, "PARENT_DATA_SET", "gm.ClockClass"),
    Column("parent gmAccuracy", PARENT, 12, "PARENT_DATA_SET", "gm.ClockAccuracy"),
    Column("parent gmOffset", PARENT, 13, "PARENT_DATA_SET", "gm.OffsetScaledLogVariance"),
    Column("default twoStep", DEFAULT, 4, "DEFAULT_DATA_SET", "twoStepFlag", truth),
    Column("default clockIdentity", DEFAULT, 5, "DEFAULT_DATA_SET", "clockIdentity", identity),
    Column("default priority1", DEFAULT, 6, "DEFAULT_DATA_SET", "priority1"),
    Column("default priority2", DEFAULT, 7, "DEFAULT_DATA_SET", "priority2"),
    Column("default slaveOnly (never reported)", DEFAULT, 8, "DEFAULT_DATA_SET", "slaveOnly", constant(2)),
    Column("default class", DEFAULT, 9, "DEFAULT_DATA_SET", "clockClass"),
    Column("default accuracy", DEFAULT, 10, "DEFAULT_DATA_SET", "clockAccuracy"),
    Column("default offset", DEFAULT, 11, "DEFAULT_DATA_SET", "offsetScaledLogVariance"),
    Column("time utcOffsetValid", TIME, 4, "TIME_PROPERTIES_DATA_SET", "currentUtcOffsetValid", truth),
    Column("time utcOffset", TIME, 5, "TIME_PROPERTIES_DATA_SET", "currentUtcOffset"),
    Column("time leap59", TIME, 6, "TIME_PROPERTIES_DATA_SET", "leap59", truth),
    Column("time leap61", TIME, 7, "TIME_PROPERTIES_DATA_SET", "leap61", truth),
    Column("time timeTraceable", TIME, 8, "TIME_PROPERTIES_DATA_SET", "timeTraceable", truth),
    Column("time freqTraceable", TIME, 9, "TIME_PROPERTIES_DATA_SET", "frequencyTraceable", truth),
    Column("time ptpTimescale", TIME, 10, "TIME_PROPERTIES_DATA_SET", "ptpTimescale", truth),
    Column("time source", TIME, 11, "TIME_PROPERTIES_DATA_SET", "timeSource"),
    Column("port name", PORTS, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Column("port role", PORTS, 6, "PORT_DATA_SET", "portState", role),
    Column("port twoStep", PORTS, 7, "DEFAULT_DATA_SET", "twoStepFlag", truth),
    Column("port associatedPorts", PORTS, 10, "PORT_DATA_SET", "portState", associated_ports),
    Column("portDS name", PORT_DS, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Column("portDS portIdentity", PORT_DS, 6, "PORT_DATA_SET", "portIdentity", str.encode),
    Column("portDS logAnnounceInterval", PORT_DS, 7, "PORT_DATA_SET", "logAnnounceInterval"),
    Column("portDS announceReceiptTimeout", PORT_DS, 8, "PORT_DATA_SET", "announceReceiptTimeout"),
    Column("portDS logSyncInterval", PORT_DS, 9, "PORT_DATA_SET", "logSyncInterval"),
    Column("portDS logMinDelayReqInterval", PORT_DS, 10, "PORT_DATA_SET", "logMinDelayReqInterval"),
    Column("portDS logMinPdelayReqInterval", PORT_DS, 11, "PORT_DATA_SET", "logMinPdelayReqInterval"),
    Column("portDS delayMechanism", PORT_DS, 12, "PORT_DATA_SET", "delayMechanism"),
    Column("portDS peerMeanPathDelay", PORT_DS, 13, "PORT_DATA_SET", "peerMeanPathDelay", interval, True),
    Column("portDS grantDuration (never reported)", PORT_DS, 14, "PORT_DATA_SET", "portState", constant(0)),
    Column("portDS version", PORT_DS, 15, "PORT_DATA_SET", "versionNumber", lambda text: int(float(text))),
    Column("portRunning name", PORT_RUNNING, 5, "PORT_PROPERTIES_NP", "interface", str.encode),
    Column("portRunning state", PORT_RUNNING, 6, "PORT_DATA_SET", "portState", state),
    Column("portRunning role", PORT_RUNNING, 7, "PORT_DATA_SET", "portState", role),
    Column("portRunning transport", PORT_RUNNING, 9, "CLOCK_DESCRIPTION", "protocolAddress", transport),
    Column("portRunning encapsulation", PORT_RUNNING, 10, "CLOCK_DESCRIPTION", "protocolAddress", transport),
    Column("portRunning txMode (multicast)", PORT_RUNNING, 11, "PORT_DATA_SET", "portState", constant(2)),
    Column("portRunning rxMode (multicast)", PORT_RUNNING, 12, "PORT_DATA_SET", "portState", constant(2)),
]
MESSAGES = sorted({column.message for column in COLUMNS} | {"PORT_STATS_NP"})


@dataclass
class Clock:
    """A ptp4l. Its interfaces are all in one namespace."""

    name: str
    namespace: Namespace
    folder: str
    domain: int = 0

    def start(self, text):
        path = f"{self.folder}/{self.name}.cfg"
        with open(path, "w", encoding="utf-8") as file:
            file.write(text.format(folder=self.folder, name=self.name))
        unprivileged = ["setpriv", "--bounding-set", "-sys_time", "ptp4l", "-f", path]
        return Process(self.folder, self.name, self.namespace.inside(*unprivileged))

    @property
    def socket(self):
        return f"{self.folder}/{self.name}.socket"

    def ask(self, *messages):
        """The fields of each message, by message and port number; 0 stands for the clock."""
        answers = {}
        actions = [f"GET {message}" for message in messages]
        for message, source, fields in pmc(self.socket, *actions, domain=self.domain):
            answers.setdefault(message, {})[int(source.rpartition("-")[2])] = fields
        return answers

    def ask_port(self, message, port=1):
        return self.ask(message).get(message, {}).get(port, {})

    def port_state(self, port=1):
        return self.ask_port("PORT_DATA_SET", port).get("portState")

    def grandmaster(self):
        return self.ask("PARENT_DATA_SET").get("PARENT_DATA_SET", {}).get(0, {})

    def wait_until_it_follows(self, port=1, seconds=12):
        """In SLAVE; or still in UNCALIBRATED after that had time to end: ptp4l 4 stays there as long as it may not
        adjust the clock."""
        try:
            wait_for(f"{self.name} in SLAVE", lambda: self.port_state(port) == "SLAVE", seconds)
        except Failed:
            if self.port_state(port) != "UNCALIBRATED":
                raise

    def agent(self, *options, name=None, before=()):
        """A ptpsnmpd of this clock, in its namespace, whose interfaces the clock means."""
        return Agent(self, self.namespace, options, name or f"{self.name}-ptpsnmpd", before)


class Agent(Process):
    def __init__(self, clock, namespace, options, name, before=()):
        port = free_udp_port()
        self.snmp = Snmp(port, namespace)
        super().__init__(clock.folder, name,
                         namespace.inside(*before, os.environ["PTPSNMPD"], "--source", f"ptp4l:{clock.socket}", "--listen",
                                          f"udp:127.0.0.1:{port}", *options))


@dataclass
class Comparison:
    """What SNMP shows of a clock, between two looks with pmc."""

    rows: list = field(default_factory=list)  # (name, SNMP's value, pmc's value or values, equal)

    def add(self, name, shown, *asked):
        self.rows.append((name, shown, asked[-1], shown in asked))

    def add_between(self, name, low, shown, high):
        self.rows.append((name, shown, f"{low} to {high}", shown is not None and low <= shown <= high))

    def differences(self):
        return [row for row in self.rows if not row[3]]

    def print(self, title):
        lines = [(title, "SNMP", "pmc", "equal")]
        lines += [(name, text(shown), text(asked), "yes" if equal else "NO") for name, shown, asked, equal in self.rows]
        widths = [max(len(line[i]) for line in lines) for i in range(4)]
        print()  # unittest leaves its line open
        for line in lines:
            print("  ".join(part.ljust(width) for part, width in zip(line, widths)).rstrip())


def text(value):
    if not isinstance(value, bytes):
        return str(value)
    printable = value.isascii() and value.decode("ascii").isprintable()
    return value.decode("ascii") if printable else value.hex(" ")


def packets(answers):
    """(received, sent) by port."""
    return {port: tuple(sum(int(value) for name, value in counts.items() if name.startswith(prefix))
                        for prefix in ("rx_", "tx_"))
            for port, counts in answers["PORT_STATS_NP"].items()}


def compare(clock, snmp):
    """Every cell of the clock and of all its ports."""
    before, shown, after = clock.ask(*MESSAGES), snmp.walk(PTPBASE), clock.ask(*MESSAGES)
    if any(message not in answers for answers in (before, after) for message in MESSAGES):
        raise Failed(f"{clock.name} did not answer pmc in full")
    comparison = Comparison()
    of_clock = f"{clock.domain}.{BOUNDARY_CLOCK}.1"
    ports = sorted(after["PORT_DATA_SET"])

    for column in COLUMNS:
        for port in ports if column.per_port() else [0]:
            where = port if port in after[column.message] else 0
            looks = [answers[column.message].get(where, {}).get(column.field) for answers in (before, after)]
            asked = [column.convert(look) for look in looks if look is not None]
            index = f"{of_clock}.{port}" if column.per_port() else of_clock
            name = f"{column.name} {port}" if len(ports) > 1 and column.per_port() else column.name
            comparison.add(name, shown.get(column.oid(index)), *(asked if column.moves else asked[-1:]))

    low, high = packets(before), packets(after)
    sums = [[sum(counts[way] for counts in look.values()) for look in (low, high)] for way in (0, 1)]
    for way, (words, clock_column, port_column) in enumerate((("received", 6, 13), ("sent", 5, 14))):
        shown_sum = shown.get(f"{TABLES}.{RUNNING}.1.{clock_column}.{of_clock}")
        comparison.add_between(f"running packets {words}", sums[way][0], shown_sum, sums[way][1])
        for port in ports:
            value = shown.get(f"{TABLES}.{PORT_RUNNING}.1.{port_column}.{of_clock}.{port}")
            comparison.add_between(f"portRunning packets {words} {port}", low[port][way], value, high[port][way])

    for port in ports:
        interface = after["PORT_PROPERTIES_NP"][port]["interface"]
        comparison.add(f"portRunning ifIndex {port}", shown.get(f"{TABLES}.{PORT_RUNNING}.1.8.{of_clock}.{port}"),
                       clock.namespace.if_index(interface))
    comparison.add("system clockPortsTotal", shown.get(f"{SYSTEM}.1.3.{clock.domain}.1"), len(ports))
    comparison.add("system domainTotals", shown.get(f"{SYSTEM_DOMAIN}.1.2.{BOUNDARY_CLOCK}"), 1)
    comparison.add("number of cells", len(shown), len(comparison.rows))
    return comparison


def wait_until_equal(clock, snmp, title, seconds=20):
    """The comparison, once SNMP and pmc agree on every cell; printed in any case."""
    last = Comparison()

    def equal():
        last.rows = compare(clock, snmp).rows
        return not last.differences()

    try:
        wait_for(f"{title}: SNMP and pmc agree", equal, seconds)
    finally:
        last.print(title)
    return last
