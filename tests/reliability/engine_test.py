#!/usr/bin/env python3
"""Requests of SNMPv3 that were recorded in one start of the daemon and are sent again in the next one: none is answered,
whatever became of the state that the daemon keeps in between.

usage: PTPSNMPD=/path/to/ptpsnmpd engine_test.py [unittest options]
"""

import contextlib
import shutil
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from harness import SKIPPED, Daemon, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import LARGEST_MESSAGE, RESPONSE, element  # noqa: E402
from udp_relay import UdpRelay  # noqa: E402

PRIORITY1 = ".".join(map(str, PTPBASE)) + ".1.2.3.1.6.0.2.1"
ENGINE_ID, ENGINE_BOOTS = "1.3.6.1.6.3.10.2.1.1.0", "1.3.6.1.6.3.10.2.1.2.0"
MONITOR = ["-v3", "-u", "monitor", "-l", "authNoPriv", "-a", "SHA", "-A", "authentication passphrase"]
CONFIGURATION = ["rocommunity public 127.0.0.1", 'createUser monitor SHA "authentication passphrase"', "rouser monitor auth"]
SITE = "exactEngineID 0x80001f880473697465"
MOST_BOOTS = 2147483647
SECONDS = 10


def sent(port, message):
    """What is answered to a message."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as asking:
        asking.settimeout(SECONDS)
        asking.connect(("127.0.0.1", port))
        asking.send(message)
        return asking.recv(LARGEST_MESSAGE)


def kind_of(message):
    """The tag of what an SNMPv3 message without encryption carries: a response, or a report that refuses."""
    _, body, _ = element(message, 0)
    at = 0
    for _ in range(4):
        _, content, at = element(body, at)
    rest = content
    for _ in range(2):
        _, _, at = element(rest, 0)
        rest = rest[at:]
    return rest[0]


def get(port, *arguments, seconds=SECONDS):
    return subprocess.run(["snmpget", "-r0", f"-t{seconds}", "-m", "", *arguments, f"127.0.0.1:{port}", PRIORITY1],
                          capture_output=True, text=True, timeout=60)


class EngineStarts(unittest.TestCase):
    def setUp(self):
        folder = scratch_folder()
        self.folder = folder.__enter__()
        self.addCleanup(folder.__exit__, None, None, None)
        self.state = self.folder / "state"
        self.state.mkdir()
        self.configure()

    def configure(self, *lines):
        (self.folder / "ptpsnmpd.conf").write_text("".join(line + "\n" for line in [*CONFIGURATION, *lines]))

    def cannot_be_written(self):
        """To root neither."""
        (self.state / "engine.new" / "full").mkdir(parents=True)

    def daemon(self):
        (self.folder / "ptpsnmpd.log").unlink(missing_ok=True)
        daemon = Daemon(self.folder, "--config", self.folder / "ptpsnmpd.conf", "--source", "demo", "--trace", "Snmp/off")
        daemon.run_under("env", *([f"STATE_DIRECTORY={self.state}"] if self.state else ["-u", "STATE_DIRECTORY"]))
        return daemon

    @staticmethod
    def identity(daemon):
        values = daemon.snmp.get(ENGINE_ID, ENGINE_BOOTS)
        return values[ENGINE_ID], values[ENGINE_BOOTS]

    def recorded(self, daemon):
        """A request of the monitor, which is answered, and again at once where it is sent again."""
        with UdpRelay(daemon.port) as relay:
            self.assertEqual(get(relay.port, *MONITOR).returncode, 0)
            request = relay.requests[-1]
        self.assertEqual(kind_of(sent(daemon.port, request)), RESPONSE)
        return request

    def two_starts(self):
        """ID and boots of each; what was recorded in the first is refused in the second, which answers others."""
        with self.daemon() as daemon:
            first, request = self.identity(daemon), self.recorded(daemon)
            daemon.stop(signal.SIGKILL)
        with self.daemon() as daemon:
            self.assertNotEqual(kind_of(sent(daemon.port, request)), RESPONSE)
            self.assertEqual(get(daemon.port, *MONITOR).returncode, 0)
            return first, self.identity(daemon)

    def test_with_its_state_it_is_the_same_engine_one_start_older(self):
        (first, boots), second = self.two_starts()
        self.assertEqual(second, (first, boots + 1))

    def test_without_a_folder_for_its_state_it_is_another_engine_at_each_start(self):
        self.state = None
        (first, _), (second, _) = self.two_starts()
        self.assertNotEqual(first, second)
        for engine_id in (first, second):  # net-snmp's number, then octets that say nothing
            self.assertRegex(engine_id.hex(), r"^80001f8805[0-9a-f]{24}$")
        same = sum(one == other for one, other in zip(first[5:], second[5:]))
        self.assertLess(same, 6, (first, second))

    def test_with_a_state_that_cannot_be_written_it_is_another_engine_at_each_start(self):
        self.cannot_be_written()
        (first, _), (second, _) = self.two_starts()
        self.assertNotEqual(first, second)

    def test_with_a_state_that_can_be_read_and_not_written_it_is_another_engine_at_each_start(self):
        with self.daemon() as daemon:
            kept, _ = self.identity(daemon)
        self.cannot_be_written()
        (first, _), (second, _) = self.two_starts()
        self.assertEqual(len({kept, first, second}), 3)

    def test_with_a_folder_that_is_gone_it_is_another_engine_at_each_start(self):
        self.state.rmdir()
        (first, _), (second, _) = self.two_starts()
        self.assertNotEqual(first, second)

    def test_on_a_full_disk_it_is_another_engine_at_each_start(self):
        def mount(*arguments):
            return subprocess.run(["mount", *arguments], capture_output=True).returncode == 0
        if not mount("-t", "tmpfs", "-o", "size=8k", "tmpfs", str(self.state)):
            self.skipTest("mounting is not permitted here")
        self.addCleanup(subprocess.run, ["umount", "--lazy", str(self.state)], check=True)
        with self.daemon() as daemon:
            kept, _ = self.identity(daemon)
        with open(self.state / "filler", "wb", buffering=0) as filler, contextlib.suppress(OSError):
            while filler.write(bytes(4096)):
                pass
        (first, _), (second, _) = self.two_starts()
        self.assertEqual(len({kept, first, second}), 3)

    def test_with_half_of_its_state_it_is_another_engine(self):
        for lost in (0, 1):
            with self.subTest(lost=lost):
                with self.daemon() as daemon:
                    first, request = self.identity(daemon), self.recorded(daemon)
                lines = (self.state / "engine").read_text().splitlines(keepends=True)
                (self.state / "engine").write_text(lines[1 - lost])
                with self.daemon() as daemon:
                    second = self.identity(daemon)
                    self.assertNotEqual(kind_of(sent(daemon.port, request)), RESPONSE)
                self.assertNotEqual(first[0], second[0])

    def test_at_the_end_of_its_boots_it_is_another_engine(self):
        with self.daemon() as daemon:
            kept, _ = self.identity(daemon)
        line = (self.state / "engine").read_text().splitlines()[0]
        for boots in (MOST_BOOTS - 1, MOST_BOOTS):
            with self.subTest(boots=boots):
                (self.state / "engine").write_text(f"{line}\nengineBoots {boots}\n")
                first, second = self.two_starts()
                self.assertNotEqual(first[0], kept)
                self.assertEqual((first[1], second), (1, (first[0], 2)))
        (self.state / "engine").write_text(f"{line}\nengineBoots {MOST_BOOTS - 2}\n")
        first, second = self.two_starts()
        self.assertEqual(first, (kept, MOST_BOOTS - 1))
        self.assertNotEqual(second[0], kept)

    def test_its_state_is_its_own_to_read_from_the_first_answer_on(self):
        with self.daemon() as daemon:
            engine_id, boots = self.identity(daemon)
            self.assertEqual((self.state / "engine").read_text(), f"oldEngineID 0x{engine_id.hex()}\nengineBoots {boots}\n")
            self.assertEqual((self.state / "engine").stat().st_mode & 0o777, 0o600)

    def test_a_reload_changes_neither_whatever_the_configuration_says_then(self):
        with self.daemon():
            pass  # the next one has a state to go on from
        with self.daemon() as daemon:
            before, request = self.identity(daemon), self.recorded(daemon)
            self.configure(SITE, "engineBoots 41")
            daemon.signal(signal.SIGHUP)
            wait_for("the reload", lambda: "configuration read anew" in daemon.output())
            self.assertEqual(self.identity(daemon), before)
            self.assertEqual(kind_of(sent(daemon.port, request)), RESPONSE)

    def test_an_engine_that_the_configuration_names_is_counted_too(self):
        for line in (SITE, "engineID site", "engineIDType 3"):
            with self.subTest(line):
                self.configure(line, "engineBoots 41")
                (first, boots), second = self.two_starts()
                self.assertEqual(second, (first, boots + 1))
                self.assertLess(boots, 41)

    def test_an_engine_that_the_configuration_names_is_never_started_with_boots_that_it_had(self):
        self.configure(SITE)
        with self.daemon() as daemon:
            first, request = self.identity(daemon), self.recorded(daemon)
        self.configure("engineID elsewhere")
        with self.daemon() as daemon:
            self.assertNotEqual(self.identity(daemon)[0], first[0])
        self.configure(SITE)
        with self.daemon() as daemon:
            self.assertEqual(self.identity(daemon)[0], first[0])
            self.assertNotEqual(kind_of(sent(daemon.port, request)), RESPONSE)

    def test_an_engine_that_the_configuration_names_and_that_cannot_be_counted_accepts_no_authentication(self):
        self.configure(SITE)
        with self.daemon() as daemon:
            first, request = self.identity(daemon), self.recorded(daemon)
        self.cannot_be_written()
        with self.daemon() as daemon:
            self.assertEqual(self.identity(daemon), (first[0], MOST_BOOTS))
            self.assertNotEqual(kind_of(sent(daemon.port, request)), RESPONSE)
            self.assertNotEqual(get(daemon.port, *MONITOR, seconds=1).returncode, 0)
            self.assertIn("SNMPv3 requests with authentication are refused", daemon.output())


if __name__ == "__main__":
    if shutil.which("snmpget") is None:
        print("skipped: not installed: snmpget")
        sys.exit(SKIPPED)
    run_tests()
