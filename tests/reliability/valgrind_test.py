#!/usr/bin/env python3
"""Under valgrind: the daemon from its start to its end, and a stock snmpd with the module inside.

usage: PTPSNMPD=/path/to/ptpsnmpd valgrind_test.py [unittest options]
"""

import json
import signal
import shutil
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from fake_service_test import FakeService  # noqa: E402
from harness import (SKIPPED, Process, Snmp, daemon_program, free_udp_port, loader_file, run_tests,  # noqa: E402
                     scratch_folder, wait_for)

PTPBASE = "1.3.6.1.2.1.241"
ERRORS_FOUND = 99
SECONDS = 120  # it is some 30 times slower
RELOADS = 3


def valgrind(*options):
    return ["valgrind", "--quiet", "--leak-check=full", "--show-leak-kinds=definite,indirect",
            "--errors-for-leak-kinds=definite,indirect", f"--error-exitcode={ERRORS_FOUND}",
            "--num-callers=40", "--keep-debuginfo=yes", "--fullpath-after=", *options]


def changing_replay(folder):
    """Ports, domain and mode come and go."""
    ports = {f"001122.fffe.334455-{n}": {"interface": f"eth{n}", "mibData": {"packetsSent": n}} for n in range(1, 6)}
    default = {"clockIdentity": "001122.fffe.334455", "clockMode": "boundary"}
    lines = [{"defaultDS": default, "mibData": {}, "ports": ports, "interfaces": {"eth1": 7}},
             {"ports": {key: None for key in list(ports)[:2]}, "defaultDS": {"domainNumber": 24}},
             {"defaultDS": {"clockMode": "endToEndTransparent"}, "ports": {list(ports)[4]: {"mibData": None}}},
             {"ports": {"two": {}}}, {"defaultDS": None}, {"defaultDS": default, "ports": ports}]
    file = folder / "status.jsonl"
    file.write_text("".join(json.dumps({"at": n / 2, "status": status}) + "\n" for n, status in enumerate(lines)))
    return f"replay:{file}"


class UnderValgrind(unittest.TestCase):
    def rows(self, snmp):
        return wait_for("rows", lambda: snmp.walk(PTPBASE), SECONDS)

    def assert_clean(self, process):
        status = process.stop()
        complaints = [line for line in process.output().splitlines() if line.startswith("==")]
        self.assertEqual((status, complaints[:60]), (0, []))

    def use(self, process, snmp, reread):
        """What a run consists of: walks, single requests, reloads."""
        for number in range(RELOADS):
            cells = self.rows(snmp)
            snmp.get(*list(cells)[:20])
            process.signal(signal.SIGHUP)
            wait_for("the configuration is read", lambda: process.output().count(reread) > number, SECONDS)
        self.rows(snmp)

    def daemon(self, source):
        with scratch_folder() as folder:
            port = free_udp_port()
            source = changing_replay(folder) if source == "replay" else source
            with Process(folder, "ptpsnmpd", [*valgrind(), daemon_program(), "--listen", f"udp:127.0.0.1:{port}",
                                              "--source", source]) as daemon:
                wait_for("the daemon is ready", lambda: "is ready" in daemon.output(), SECONDS)
                self.use(daemon, Snmp(port), "configuration read anew")
                self.assert_clean(daemon)

    def test_the_daemon_with_the_demo_is_clean(self):
        self.daemon("demo:transparent")

    def test_the_daemon_with_a_changing_status_is_clean(self):
        self.daemon("replay")

    def test_the_daemon_with_a_ptp_service_is_clean(self):
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service:
            service.tell(ports=5)
            self.daemon(f"ptp4l:{service.path}")

    def test_snmpd_is_as_clean_with_the_module_as_without(self):
        """What snmpd loses by itself is found in a run without the module, and nothing else is passed over."""
        with scratch_folder() as folder:
            bare = self.snmpd(folder, "bare", ["--gen-suppressions=all"])
            own_leaks = folder / "snmpd.supp"
            own_leaks.write_text("".join(suppressions(bare.output())))
            with_module = self.snmpd(folder, "loading", [f"--suppressions={own_leaks}"],
                                     f"dlmod ptpsnmp {loader_file()}", "ptpSource demo:transparent", "ptpTrace Snmp/off")
            complaints = [line for line in with_module.output().splitlines() if line.startswith("==")]
            self.assertEqual(complaints[:60], [])

    def snmpd(self, folder, name, options, *lines):
        """A whole run of it."""
        port = free_udp_port()
        own = folder / name
        own.mkdir()
        (own / "snmpd.conf").write_text("".join(line + "\n" for line in [
            f"agentAddress udp:127.0.0.1:{port}", "rocommunity public 127.0.0.1", "dontLogTCPWrappersConnects yes", *lines]))
        snmp = Snmp(port)
        with Process(folder, name, ["env", f"SNMPCONFPATH={own}", f"SNMP_PERSISTENT_DIR={own}/state", "MIBS=",
                                    *valgrind(*options), shutil.which("snmpd"), "-f", "-LE7", "-I", "-smux"]) as snmpd:
            up_time = "1.3.6.1.2.1.1.3.0"
            wait_for("snmpd answers", lambda: snmp.get(up_time), SECONDS)
            for number in range(RELOADS):
                if lines:
                    self.rows(snmp)
                snmpd.signal(signal.SIGHUP)
                wait_for("a reload", lambda: snmpd.output().count(" restarted") > number, SECONDS)
            wait_for("snmpd answers", lambda: snmp.get(up_time), SECONDS)
            if lines:
                self.rows(snmp)
            snmpd.stop()
            return snmpd


def suppressions(output):
    """Those that valgrind printed, in braces, between its complaints."""
    kept, within = [], False
    for line in output.splitlines(keepends=True):
        within = within or line == "{\n"
        if within:
            kept.append(line)
        within = within and line != "}\n"
    return kept


if __name__ == "__main__":
    if shutil.which("valgrind") is None:
        print("skipped: not installed: valgrind")
        sys.exit(SKIPPED)
    run_tests()
