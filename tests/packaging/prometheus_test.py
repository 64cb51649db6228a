#!/usr/bin/env python3
"""What Prometheus' SNMP exporter makes of the demo with the project's module file.

usage: PTPSNMPD=/path/to/ptpsnmpd prometheus_test.py [unittest options]
"""

import json
import re
import socket
import unittest
import urllib.error
import urllib.request

from harness import Daemon, Failed, Process, run_tests, scratch_folder, wait_for
from packaging import SOURCE, skip_unless_installed

MODULE = SOURCE / "packaging" / "prometheus" / "snmp.yml"
RULES = SOURCE / "packaging" / "prometheus" / "ptpsnmp.rules.yml"
PTPBASE = "1.3.6.1.2.1.241"

# Offsets in nanoseconds, as far as a double of the exporter's can hold them.
OFFSETS = (5.1875, -1250.0625, 0.0, -0.03125, 2_000_000_000.5, -2_000_000_000.5)


def free_tcp_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Exporter(Process):
    def __init__(self, folder):
        self.port = free_tcp_port()
        super().__init__(folder, "exporter", ["prometheus-snmp-exporter", f"--config.file={MODULE}",
                                              f"--web.listen-address=127.0.0.1:{self.port}"])

    def fetch(self, path):
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}{path}", timeout=20) as reply:
                return reply.read().decode()
        except (urllib.error.URLError, ConnectionError) as error:
            raise Failed(str(error)) from error

    def __enter__(self):
        super().__enter__()
        wait_for("the exporter answers", lambda: self.fetch("/"))
        return self

    def scrape(self, daemon):
        """Values by metric and port; the port is None for what belongs to the clock."""
        values = {}
        text = self.fetch(f"/snmp?module=ptpsnmp&target=127.0.0.1:{daemon.port}")
        for name, labels, value in re.findall(r"^(ptpbase\w+)\{(.*)\} (\S+)$", text, re.MULTILINE):
            labels = dict(re.findall(r'(\w+)="(.*?)"', labels))
            port = int(labels["port"]) if "port" in labels else None
            values[name, port] = float(value), labels
        return values


def write_recording(folder, offset):
    """A clock that stays at an offset."""
    status = {"defaultDS": {"clockIdentity": "020000.fffe.00b001", "clockMode": "boundary"},
              "currentDS": {"offsetFromMaster": offset}}
    recording = folder / "offset.jsonl"
    recording.write_text(json.dumps({"at": 0, "status": status}) + "\n", encoding="utf-8")
    return recording


def signed_nanoseconds(modulo):
    """As the recording rules have it."""
    return modulo - 281474976710656 * (modulo >= 140737488355328)


class Prometheus(unittest.TestCase):
    def column(self, daemon, table, column):
        """The demo's values of a column, by port number."""
        values = daemon.snmp.walk(f"{PTPBASE}.1.2.{table}.1.{column}")
        return {int(oid.rpartition(".")[2]): value for oid, value in values.items()}

    def test_port_states_and_names_are_those_of_the_tables(self):
        with scratch_folder() as folder, Daemon(folder) as daemon, Exporter(folder) as exporter:
            states, names = self.column(daemon, 9, 6), self.column(daemon, 9, 5)
            self.assertGreater(len(states), 1)
            scraped = exporter.scrape(daemon)
            for port, state in states.items():
                value, labels = scraped["ptpbaseClockPortRunningState", port]
                self.assertEqual(value, state)
                self.assertEqual(labels["portName"], names[port].decode())

    def test_counters_count_with_the_tables(self):
        counters = {("ptpbaseClockPortRunningPacketsReceived", 9): 13, ("ptpbaseClockPortRunningPacketsSent", 9): 14}
        with scratch_folder() as folder, Daemon(folder) as daemon, Exporter(folder) as exporter:
            for (name, table), column in counters.items():
                before = self.column(daemon, table, column)
                scraped = exporter.scrape(daemon)
                after = self.column(daemon, table, column)
                for port in before:
                    self.assertLessEqual(before[port], scraped[name, port][0])
                    self.assertLessEqual(scraped[name, port][0], after[port])

    def test_offsets_have_their_sign_and_their_fractions(self):
        with scratch_folder() as folder, Exporter(folder) as exporter:
            for offset in OFFSETS:
                recording = write_recording(folder, offset)
                with Daemon(folder, "--source", f"replay:{recording}") as daemon:
                    (served,) = daemon.snmp.walk(f"{PTPBASE}.1.2.1.1.5").values()
                    self.assertEqual(int.from_bytes(served, "big", signed=True) / 65536, offset)
                    scraped, _ = exporter.scrape(daemon)["ptpbaseClockCurrentDSOffsetFromMasterNanosecondsModulo", None]
                    self.assertEqual(signed_nanoseconds(scraped), offset)

    def test_every_column_of_the_module_file_comes(self):
        named = set(re.findall(r"^    - name: (\w+)", MODULE.read_text(encoding="utf-8"), re.MULTILINE))
        with scratch_folder() as folder, Daemon(folder) as daemon, Exporter(folder) as exporter:
            scraped = {name.removesuffix("NanosecondsModulo") for name, _ in exporter.scrape(daemon)}
            self.assertEqual(scraped, named)

    def test_the_rules_use_metrics_that_come(self):
        used = set(re.findall(r"ptpbase\w+Modulo", RULES.read_text(encoding="utf-8")))
        with scratch_folder() as folder, Daemon(folder) as daemon, Exporter(folder) as exporter:
            self.assertLessEqual(used, {name for name, _ in exporter.scrape(daemon)})


if __name__ == "__main__":
    skip_unless_installed("prometheus-snmp-exporter", "snmpget")
    run_tests()
