"""What the benchmarks set side by side: agents, the tables in them, and the CPU time that they take."""

import contextlib
import ctypes
import os
import random
import shutil
import statistics
import sys
from pathlib import Path

import replay_file
from harness import Daemon, Failed, Process, Snmpd, daemon_program, loader_file, wait_for
from snmp_get import object_identifier
from snmp_walk import GET, GETNEXT, Client

OURS = "1.3.6.1.2.1.241.1.2"
FLOOR = "1.3.6.1.4.1.8072.9999.9999"
FLOOR_ARCS = (9999, 9998, 9996)  # of copies
SCRIPT = "1.3.6.1.4.1.8072.9999.9997"
IF_TABLE = "1.3.6.1.2.1.2.2"

# The served columns of the port tables, by table, and as many of the floor's and the script's.
OUR_COLUMNS = [(7, 5), (7, 6), (7, 7), (7, 10), *((8, column) for column in range(5, 16)),
               *((9, column) for column in range(5, 15))]
OTHER_COLUMNS = [*((7, column) for column in range(5, 9)), *OUR_COLUMNS[4:]]
CELLS_PER_PORT = len(OUR_COLUMNS)
SLICE = 1000  # varbinds that are asked for in a row before it is the next contender's turn
CLONE_NEWNET = 0x40000000


def cpu_ns(process_ids):
    """The time that the threads of some processes have run, as the scheduler counted it."""
    return sum(int((thread / "schedstat").read_text().split()[0])
               for process_id in process_ids for thread in Path(f"/proc/{process_id}/task").iterdir())


def children(process_id):
    return [int(child) for child in Path(f"/proc/{process_id}/task/{process_id}/children").read_text().split()]


class Contender:
    """A set of tables in an agent: `processes` take the time, `columns` are the columns under `root`. A slow one takes
    every fifth turn only."""

    def __init__(self, name, client, processes, root, columns, ports, slow=False):
        self.name, self.client, self.root, self.columns, self.ports = name, client, root, columns, ports
        self.every = 5 if slow else 1
        self._processes = processes

    def timed(self, work):
        """Nanoseconds of CPU, and what the work returned."""
        before = cpu_ns(self._processes)
        result = work()
        return cpu_ns(self._processes) - before, result

    def walk_slice(self, number):
        """Walks about SLICE cells: of one column where there are that many rows, else the tables from their start."""
        if self.ports < SLICE:
            start = f"{self.root}.{self.columns[0][0]}"
            cells = self.ports * len(self.columns)
            return sum(self.client.walk(start, cells, self.root) for _ in range(max(1, SLICE // cells)))
        table, column = self.columns[number % len(self.columns)]
        windows = self.ports // SLICE
        first = number * 37 % windows * SLICE  # other rows each time
        return self.client.walk(f"{self.root}.{table}.1.{column}.0.2.1.{first}", SLICE,
                                f"{self.root}.{table}.1.{column}")

    def cells(self, number, count):
        """Encoded names of one column's cells, scattered over the rows."""
        table, column = 8, 8
        return [object_identifier(f"{self.root}.{table}.1.{column}.0.2.1.{(number + i) * 7919 % self.ports + 1}")
                for i in range(count)]

    def ask_each(self, kind, number, count):
        for name in self.cells(number, count):
            self.client.ask(kind, [name])
        return count

    def ready(self):
        last = object_identifier(f"{self.root}.9.1.14.0.2.1.{self.ports}")
        before = object_identifier(f"{self.root}.9.1.14.0.2.1.{self.ports - 1}")
        return self.client.ask(GETNEXT, [before])[1] == last


class IfTable(Contender):
    """net-snmp's own table of interfaces, with other indexes."""

    def __init__(self, client, processes, indexes):
        super().__init__("ifTable", client, processes, IF_TABLE, [(1, column) for column in range(1, 23)],
                         len(indexes))
        self._indexes = indexes

    def walk_slice(self, number):
        column = f"{self.root}.1.{number % len(self.columns) + 1}"
        return self.client.walk(column, SLICE, column)

    def cells(self, number, count):
        return [object_identifier(f"{self.root}.1.4.{self._indexes[(number + i) * 7919 % len(self._indexes)]}")
                for i in range(count)]

    def ready(self):
        return self.client.ask(GET, [self.cells(0, 1)[0]])[0] == 1


def one_round(contenders, turns, work):
    """Nanoseconds per unit of the work, by contender. They take turns, in an order that is shuffled each time, so that
    what else the machine does falls on all of them."""
    spent = {contender.name: (0, 0) for contender in contenders}
    for turn in range(turns):
        for contender in random.sample(contenders, len(contenders)):
            if turn % contender.every != 0:
                continue
            used, done = contender.timed(lambda c=contender: work(c, turn))
            total = spent[contender.name]
            spent[contender.name] = total[0] + used, total[1] + done
    return {name: used / done for name, (used, done) in spent.items()}


def summary(results, base):
    """The median, and the ratio to the base: median, and the least and the greatest of the middle half of rounds."""
    lines = {}
    for name, values in results.items():
        ratios = sorted(value / other for value, other in zip(values, results[base]))
        quarter = len(ratios) // 4
        lines[name] = {"ns": statistics.median(values), "ratio": statistics.median(ratios),
                       "low": ratios[quarter], "high": ratios[-1 - quarter]}
    return lines


def floor_lines(folder, ports, copies=1):
    """What loads it into snmpd, and its copies, each with memory and a place among snmpd's tables of its own."""
    module = Path(daemon_program()).parent.parent / "bench" / "floor.so"
    for arc in FLOOR_ARCS[:copies]:
        copy = Path(folder) / f"floor-{arc}.so"
        shutil.copy(module, copy)
        yield f"dlmod floor {copy}"
        yield f"floorTables {ports} {arc}"


def floors(name, client, processes, ports, copies=1):
    return [Contender(f"{name} {copy}" if copies > 1 else name, client, processes, f"{FLOOR.rpartition('.')[0]}.{arc}",
                      OTHER_COLUMNS, ports) for copy, arc in enumerate(FLOOR_ARCS[:copies], 1)]


def averaged(results, name):
    """The results with the mean of the floor's copies as the floor, and the first copy by itself: the floor beside the
    floor shows what the place of the memory does."""
    copies = [f"{name} {copy}" for copy in range(1, len(FLOOR_ARCS) + 1)]
    together = {}
    for each, value in results.items():
        if each == copies[0]:
            together |= {name: statistics.mean(results[copy] for copy in copies), f"one {name}": value}
        elif each not in copies:
            together[each] = value
    return together


def replay_in(folder, ports):
    path = Path(folder) / f"{ports}.jsonl"
    if not path.exists():
        replay_file.write(path, ports)
    return path


def stay(*processes):
    """They stay on one processor, where their memory is in the cache."""
    for process in processes:
        os.sched_setaffinity(process.process_id, {min(os.sched_getaffinity(0))})


@contextlib.contextmanager
def side_by_side(folder, ports, script=False, namespace=None, copies=1):
    """A stock snmpd with ours and the floor in it, or some copies of that; also with the script, and in a namespace,
    whose interfaces are its ifTable, where told."""
    folder = Path(folder) / f"snmpd-{ports}-{script}"
    folder.mkdir()
    lines = [f"dlmod ptpsnmp {loader_file()}", f"ptpSource replay:{replay_in(folder, ports)}", "ptpTrace Snmp/off",
             *floor_lines(folder, ports, copies)]
    if script:
        lines.append(f"pass_persist .{SCRIPT} {sys.executable} {Path(__file__).with_name('pass_persist.py')} "
                     f"{SCRIPT} {ports}")
    snmpd = Snmpd(folder, *lines)
    with inside(namespace), contextlib.ExitStack() as stack:
        stack.enter_context(snmpd)
        client = stack.enter_context(Client(snmpd.port))
        processes = [snmpd.process_id]
        contenders = [Contender("ptpsnmp", client, processes, OURS, OUR_COLUMNS, ports),
                      *floors("floor", client, processes, ports, copies)]
        for contender in contenders:
            wait_for(f"{ports} rows of {contender.name}", contender.ready)
        if namespace is not None:
            contenders.append(IfTable(client, processes, namespace.if_indexes()))
        if script:
            client.ask(GETNEXT, [object_identifier(SCRIPT)])  # starts it
            contenders.append(Contender("pass_persist", client, [*processes, *children(snmpd.process_id)], SCRIPT,
                                        OTHER_COLUMNS, ports, slow=True))
        stay(snmpd)
        yield contenders


@contextlib.contextmanager
def alone(folder, ports):
    daemon = Daemon(folder, "--source", f"replay:{replay_in(folder, ports)}", "--trace", "Snmp/off")
    with daemon, Client(daemon.port) as client:
        contender = Contender("ptpsnmp alone", client, [daemon.process_id], OURS, OUR_COLUMNS, ports)
        wait_for(f"{ports} rows", contender.ready)
        stay(daemon)
        yield contender


@contextlib.contextmanager
def over_agentx(folder, ports, copies=1):
    """The daemon and, for the floor, a second snmpd as sub-agents of one. Theirs is the master's time, too.

    All share one processor: to wake one another on another processor for each varbind costs twice as much, and now more,
    now less."""
    master_folder, floor_folder = Path(folder) / "master", Path(folder) / "sub-agent"
    for each in (master_folder, floor_folder):
        each.mkdir()
    socket = master_folder / "agentx"
    (floor_folder / "snmpd.conf").write_text(
        "\n".join([f"agentXSocket {socket}", *floor_lines(floor_folder, ports, copies), ""]))
    with contextlib.ExitStack() as stack:
        master = stack.enter_context(Snmpd(master_folder, "master agentx", f"agentXSocket {socket}"))
        daemon = stack.enter_context(Process(folder, "ptpsnmpd", [
            daemon_program(), "--agentx", socket, "--source", f"replay:{replay_in(folder, ports)}",
            "--trace", "Snmp/off"]))
        floor = stack.enter_context(Process(folder, "floor", [
            "env", f"SNMPCONFPATH={floor_folder}", f"SNMP_PERSISTENT_DIR={floor_folder}/state", "MIBS=",
            "snmpd", "-X", "-f", "-LE7", "-I", "dlmod"]))
        client = stack.enter_context(Client(master.port))
        contenders = [
            Contender("ptpsnmp over AgentX", client, [master.process_id, daemon.process_id], OURS, OUR_COLUMNS, ports),
            *floors("floor over AgentX", client, [master.process_id, floor.process_id], ports, copies)]
        for contender in contenders:
            wait_for(f"{ports} rows of {contender.name}", contender.ready)
        stay(master, daemon, floor)
        yield contenders


@contextlib.contextmanager
def inside(namespace):
    """What this thread starts and opens is in the namespace, if there is one."""
    if namespace is None:
        yield
        return
    with open("/proc/self/ns/net", "rb") as home, open(f"/run/netns/{namespace.name}", "rb") as there:
        enter(there)
        try:
            yield
        finally:
            enter(home)


def enter(namespace_file):
    if ctypes.CDLL(None, use_errno=True).setns(namespace_file.fileno(), CLONE_NEWNET) != 0:
        raise Failed(f"setns: {os.strerror(ctypes.get_errno())}")
