"""Network namespaces, processes and clients for the end-to-end tests.

Everything that a test makes is a context manager and goes with it, also when the test fails. Nothing sleeps for a
fixed time: `wait_for` polls for a state until a deadline.
"""

import contextlib
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

SKIPPED = 77  # what CTest takes for "not run here"


class Failed(Exception):
    """What was waited for did not come, or a command failed."""


def command(*arguments, timeout=10):
    """What a command prints; Failed, with its complaint, where it fails."""
    result = subprocess.run(arguments, capture_output=True, text=True, timeout=timeout)
    if result.returncode != 0:
        raise Failed(f"{' '.join(arguments)}: {(result.stderr or result.stdout).strip()}")
    return result.stdout


def wait_for(what, condition, seconds=30):
    """The condition's first true result. A condition that raises Failed counts as not yet true."""
    deadline = time.monotonic() + seconds
    last = None
    while time.monotonic() < deadline:
        try:
            last = condition()
            if last:
                return last
        except Failed as failure:
            last = failure
        time.sleep(0.05)
    raise Failed(f"not within {seconds} s: {what} (last: {last})")


def skip_unless_possible(*programs):
    """Ends the program with SKIPPED and the reason where the tests cannot run."""
    missing = [program for program in programs if shutil.which(program) is None]
    if missing:
        print(f"skipped: not installed: {', '.join(missing)}")
        sys.exit(SKIPPED)
    try:
        with Network() as network:
            network.namespace()
    except Failed as failure:
        print(f"skipped: network namespaces are not permitted here: {failure}")
        sys.exit(SKIPPED)


class Network:
    """Namespaces and veth pairs with counted names and MAC addresses: the first has 02:00:00:00:00:01 at its first
    end and :02 at its second, and so on, so that clock identities are known."""

    def __init__(self):
        self._prefix = f"ptpsnmp{os.getpid()}"
        self._namespaces = []
        self._ends = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for namespace in self._namespaces:
            subprocess.run(["ip", "netns", "delete", namespace.name], capture_output=True)

    def namespace(self):
        namespace = Namespace(f"{self._prefix}-{len(self._namespaces) + 1}")
        command("ip", "netns", "add", namespace.name)
        self._namespaces.append(namespace)
        command("ip", "-n", namespace.name, "link", "set", "lo", "up")
        return namespace

    def connect(self, first, second):
        """The interface names of a new veth pair between two namespaces."""
        names = []
        arguments = ["ip", "link", "add"]
        for namespace in (first, second):
            self._ends += 1
            names.append(f"veth{self._ends}")
            arguments += ["name", names[-1], "address", mac(self._ends), "netns", namespace.name]
            if namespace is first:
                arguments += ["type", "veth", "peer"]
        command(*arguments)
        for namespace, name in zip((first, second), names):
            # An address of IPv6 is of no use until it was found to be nobody else's, which takes seconds.
            command(*namespace.inside("sysctl", "-qw", f"net.ipv6.conf.{name}.accept_dad=0"))
            namespace.set_link(name, "up")
        return names

    def pair(self, number):
        """Two connected namespaces with IPv4 addresses, and the names of their interfaces."""
        namespaces = self.namespace(), self.namespace()
        names = self.connect(*namespaces)
        for end, (namespace, name) in enumerate(zip(namespaces, names), 1):
            command("ip", "-n", namespace.name, "address", "add", f"10.77.{number}.{end}/24", "dev", name)
        return namespaces, names


def mac(number):
    return f"02:00:00:00:{number >> 8:02x}:{number & 0xff:02x}"


def clock_identity(number):
    """The EUI-64 that ptp4l derives from the counted MAC address, as text."""
    return f"020000.fffe.00{number >> 8:02x}{number & 0xff:02x}"


class Namespace:
    def __init__(self, name):
        self.name = name

    def inside(self, *arguments):
        return ["ip", "netns", "exec", self.name, *arguments]

    def set_link(self, interface, direction):
        command("ip", "-n", self.name, "link", "set", interface, direction)

    def add_interfaces(self, *names):
        """Each with a peer that nobody uses."""
        for name in names:
            command("ip", "-n", self.name, "link", "add", name, "type", "veth", "peer", "name", f"{name}-peer")
            for end in (name, f"{name}-peer"):
                self.set_link(end, "up")

    def add_pairs(self, number):
        """Both ends of many veth pairs, down: fast, and more interfaces than names are needed for."""
        lines = "".join(f"link add pair{i} type veth peer name peer{i}\n" for i in range(number))
        subprocess.run(["ip", "-n", self.name, "-batch", "-"], input=lines, text=True, check=True)

    def if_indexes(self):
        return sorted(link["ifindex"] for link in json.loads(command("ip", "-n", self.name, "-json", "link", "show")))

    def delete(self, interface):
        command("ip", "-n", self.name, "link", "delete", interface)

    def rename(self, interface, name):
        self.set_link(interface, "down")
        command("ip", "-n", self.name, "link", "set", interface, "name", name)
        self.set_link(name, "up")

    def if_index(self, interface):
        return int(command("ip", "-n", self.name, "-o", "link", "show", interface).split(":")[0])


class Process:
    """A program that runs until the context ends. Its output goes to NAME.log in the test's folder, also that of an
    earlier run under this name."""

    def __init__(self, folder, name, arguments):
        self.name = name
        self.log = Path(folder) / f"{name}.log"
        self._arguments = [str(argument) for argument in arguments]
        self._process = None

    def run_under(self, *tool):
        """Has a tool such as setpriv or valgrind run it."""
        self._arguments[:0] = [str(argument) for argument in tool]

    def __enter__(self):
        with open(self.log, "a", encoding="utf-8") as log:
            self._process = subprocess.Popen(
                self._arguments, stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True
            )
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self, how=signal.SIGTERM):
        """Its exit status; minus the signal's number where that ended it."""
        if self._process.poll() is None:
            # In this order: what continues a process also takes away the stop by which the leak check looks at it, for
            # which that then waits for ever.
            self._process.send_signal(signal.SIGCONT)
            self._process.send_signal(how)
            try:
                self._process.wait(60)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait()
                raise Failed(f"{self.name} did not end on {how.name}") from None
        return self._process.returncode

    def signal(self, number):
        """Signals the program itself, also where another one was started to enter a namespace."""
        self._process.send_signal(number)

    @property
    def process_id(self):
        return self._process.pid

    def is_running(self):
        return self._process.poll() is None

    def output(self):
        return self.log.read_text(encoding="utf-8", errors="replace")


@contextlib.contextmanager
def scratch_folder():
    """A temporary folder. Where the test fails, every log in it is printed."""
    with tempfile.TemporaryDirectory(prefix="ptpsnmp-test-") as name:
        try:
            yield Path(name)
        except BaseException:
            for log in sorted(Path(name).glob("*.log")):
                print(f"----- {log.name}", log.read_text(encoding="utf-8", errors="replace"), sep="\n")
            raise


def as_nobody():
    """What runs a program as a user without any right. Skips where another user cannot run the daemon."""
    user = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
    if (os.geteuid() != 0 or shutil.which("setpriv") is None
            or subprocess.run([*user, daemon_program(), "--version"], capture_output=True).returncode != 0):
        raise unittest.SkipTest("another user cannot run the daemon here")
    return user


def free_udp_port():
    """A port of the loopback address that nobody uses at the moment. Namespaces have their own, so that a port that is
    free here is as good as any other in a new one."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Snmp:
    """net-snmp's command-line clients, run where the agent listens. Values are ints, OIDs as text without a leading
    dot, or bytes."""

    def __init__(self, port, namespace=None, community="public"):
        self._address = f"udp:127.0.0.1:{port}"
        self._community = community
        self._namespace = namespace

    def walk(self, oid):
        """The values under an OID, by OID, in the order in which they came."""
        return self._values("snmpbulkwalk", oid)

    def get(self, *oids):
        """The values that are there, by OID."""
        return self._values("snmpget", *oids)

    def _values(self, program, *oids):
        # OIDs as numbers, enumerations as numbers, no units, and each string in hex, since a text may hold anything.
        arguments = [program, "-v2c", "-c", self._community, "-t1", "-r2", "-OneUx", "-m", "", self._address, *oids]
        if self._namespace is not None:
            arguments = self._namespace.inside(*arguments)
        return parse_varbinds(command(*arguments, timeout=30))


def daemon_program():
    return os.environ["PTPSNMPD"]


class Daemon(Process):
    """A running daemon on a port of its own, ready to answer."""

    def __init__(self, folder, *options):
        self.port = free_udp_port()
        self.snmp = Snmp(self.port)
        super().__init__(folder, "ptpsnmpd", [daemon_program(), "--listen", f"udp:127.0.0.1:{self.port}", *options])

    def __enter__(self):
        super().__enter__()
        wait_for("the daemon is ready", lambda: "is ready" in self.output())
        return self


def loader_file():
    return Path(daemon_program()).parent / "ptpsnmp.so"


class Snmpd(Process):
    """A stock snmpd with a configuration, state and port of its own, ready to answer. `lines` are added to its
    configuration, which `configure` replaces."""

    def __init__(self, folder, *lines):
        self.port = free_udp_port()
        self.snmp = Snmp(self.port)
        self._configuration = Path(folder) / "snmpd.conf"
        self.configure(*lines)
        # Its own configuration alone, which -C would keep from being read again; no port for SMUX.
        super().__init__(folder, "snmpd", ["env", f"SNMPCONFPATH={folder}", f"SNMP_PERSISTENT_DIR={folder}/state", "MIBS=",
                                           "snmpd", "-f", "-LE7", "-I", "-smux"])

    def configure(self, *lines):
        own = [f"agentAddress udp:127.0.0.1:{self.port}", "rocommunity public 127.0.0.1",
               "dontLogTCPWrappersConnects yes"]
        self._configuration.write_text("".join(line + "\n" for line in [*own, *lines]))

    def __enter__(self):
        super().__enter__()
        wait_for("snmpd answers", self.up_time)
        return self

    def run_under(self, *tool):
        """The tool shall run it, and not what sets its environment."""
        at = self._arguments.index("snmpd")
        self._arguments[at:at] = [str(argument) for argument in tool]

    def up_time(self):
        return self.snmp.get("1.3.6.1.2.1.1.3.0")


def run_tests():
    """The main function of a test program."""
    if not os.access(os.environ.get("PTPSNMPD", ""), os.X_OK):
        sys.exit("PTPSNMPD must name the program to test")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that contexts end when the test is stopped
    unittest.main(verbosity=2)


# A varbind starts a line; a long string goes on in the next ones.
_VARBIND = re.compile(r"^\.([0-9.]+) = (.*?)(?=^\.[0-9.]+ = |\Z)", re.MULTILINE | re.DOTALL)
_NOTHING = ("No Such Instance", "No Such Object", "No more variables")


def parse_varbinds(text):
    values = {}
    for oid, value in _VARBIND.findall(text):
        if not value.startswith(_NOTHING):
            values[oid] = parse_value(value.strip())
    return values


def parse_value(text):
    kind, _, value = text.partition(": ")
    if text == '""':
        return b""
    if kind in ("INTEGER", "Counter32", "Counter64", "Gauge32", "Unsigned32"):
        return int(value)
    if kind == "Timeticks":
        return int(value[1 : value.index(")")])
    if kind == "OID":
        return value.lstrip(".")
    if kind == "Hex-STRING":
        return bytes.fromhex(value)
    raise Failed(f"unknown value {text!r}")


def pmc(socket_path, *actions, domain=0):
    """The fields of each response, as a list of (message, source, {field: text}) in the order of arrival."""
    arguments = ["pmc", "-u", "-b", "0", "-d", str(domain), "-s", str(socket_path), "-i", f"{socket_path}.pmc"]
    text = command(*arguments, *actions)
    responses = []
    for line in text.splitlines():
        head = re.match(r"\s+(\S+) seq \d+ RESPONSE MANAGEMENT (\S+)", line)
        if head:
            responses.append((head[2], head[1], {}))
        elif responses and (field := re.match(r"\s+(\S+)\s+(.*)", line)):
            responses[-1][2][field[1]] = field[2].strip()
    return responses
