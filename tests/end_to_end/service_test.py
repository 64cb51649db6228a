#!/usr/bin/env python3
"""The daemon as a service: what it tells its manager, how it takes a changed configuration, where it logs.

usage: PTPSNMPD=/path/to/ptpsnmpd service_test.py [unittest options]
"""

import os
import signal
import socket
import subprocess
import unittest

from harness import (
    Daemon, Failed, Process, Snmp, as_nobody, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for)

PTPBASE = "1.3.6.1.2.1.241"
TRANSPARENT_ROWS = f"{PTPBASE}.1.2.6"
ENGINE_ID, ENGINE_BOOTS = "1.3.6.1.6.3.10.2.1.1.0", "1.3.6.1.6.3.10.2.1.2.0"
PRIORITY1 = f"{PTPBASE}.1.2.3.1.6.0.2.1"


class Manager:
    """A service manager that listens to what a service tells it."""

    def __init__(self, folder):
        self.path = folder / "notify"

    def __enter__(self):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(str(self.path))
        self._socket.settimeout(20)
        return self

    def __exit__(self, *_):
        self._socket.close()

    def hears(self, state):
        """Waits for a state; what came before it."""
        heard = []
        while not heard or not heard[-1].startswith(state):
            heard.append(self._socket.recv(1000).decode())
        return heard


class Notification(unittest.TestCase):
    def test_the_manager_hears_each_state_and_the_watchdog(self):
        with scratch_folder() as folder, Manager(folder) as manager:
            arguments = ["env", f"NOTIFY_SOCKET={manager.path}", "WATCHDOG_USEC=100000", daemon_program(),
                         "--listen", f"udp:127.0.0.1:{free_udp_port()}"]
            with Process(folder, "ptpsnmpd", arguments) as daemon:
                manager.hears("READY=1")
                manager.hears("WATCHDOG=1")
                manager.hears("WATCHDOG=1")
                daemon.signal(signal.SIGHUP)
                self.assertRegex(manager.hears("RELOADING=1")[-1], r"\nMONOTONIC_USEC=\d+")
                manager.hears("READY=1")
                daemon.signal(signal.SIGTERM)
                manager.hears("STOPPING=1")
                self.assertEqual(daemon.stop(), 0)

    def test_without_a_watchdog_none_is_fed(self):
        with scratch_folder() as folder, Manager(folder) as manager:
            arguments = ["env", f"NOTIFY_SOCKET={manager.path}", daemon_program(),
                         "--listen", f"udp:127.0.0.1:{free_udp_port()}"]
            with Process(folder, "ptpsnmpd", arguments) as daemon:
                manager.hears("READY=1")
                self.assertEqual(daemon.stop(), 0)
                self.assertEqual(manager.hears("STOPPING=1"), ["STOPPING=1"])


class WithFolder(unittest.TestCase):
    def setUp(self):
        folder = scratch_folder()
        self.folder = folder.__enter__()
        self.addCleanup(folder.__exit__, None, None, None)


class EngineIdentity(WithFolder):
    def setUp(self):
        super().setUp()
        self.state = self.folder / "state"
        self.state.mkdir()

    def daemon(self):
        daemon = Daemon(self.folder, "--source", "demo", "--trace", "Snmp/off")
        daemon.run_under("env", f"STATE_DIRECTORY={self.state}")
        return daemon

    @staticmethod
    def identity(daemon):
        values = daemon.snmp.get(ENGINE_ID, ENGINE_BOOTS)
        return values[ENGINE_ID], int(values[ENGINE_BOOTS])

    def test_managers_find_the_engine_of_before_and_one_more_start(self):
        identities = []
        for how in [signal.SIGTERM, signal.SIGKILL, signal.SIGTERM]:
            with self.daemon() as daemon:
                identities.append(self.identity(daemon))
                daemon.stop(how)
        self.assertEqual(identities, [(identities[0][0], boots) for boots in (1, 2, 3)])

    def test_a_reload_is_no_start(self):
        with self.daemon() as daemon:
            before = self.identity(daemon)
            daemon.signal(signal.SIGHUP)
            wait_for("the reload", lambda: "configuration read anew" in daemon.output())
            self.assertEqual(self.identity(daemon), before)

    def test_a_state_of_nonsense_is_named_and_makes_another_engine(self):
        (self.state / "engine").write_text("engineBoots -1\ncreateUser thief MD5 passphrase\n")
        with self.daemon() as daemon:
            self.assertEqual(self.identity(daemon)[1], 1)
            for line in ["engineBoots -1", "createUser thief MD5 passphrase"]:
                self.assertIn(f'{self.state}/engine: "{line}"', daemon.output())

    def test_a_state_that_cannot_be_written_is_named_and_keeps_nobody_from_being_served(self):
        self.state.rmdir()
        with self.daemon() as daemon:
            self.assertTrue(self.identity(daemon))
            self.assertIn(f"{self.state}/engine: No such file or directory", daemon.output())


class Reload(WithFolder):
    def setUp(self):
        super().setUp()
        self.configuration = self.folder / "ptpsnmpd.conf"

    def configure(self, *lines):
        self.configuration.write_text("".join(line + "\n" for line in lines))

    def daemon(self, *options):
        return Daemon(self.folder, "--config", self.configuration, "--trace", "Snmp/off", *options)

    def reload(self, daemon, outcome="configuration read anew"):
        before = daemon.output().count(outcome)
        daemon.signal(signal.SIGHUP)
        wait_for(outcome, lambda: daemon.output().count(outcome) > before)

    def test_another_source_is_followed(self):
        self.configure("ptpSource demo")
        with self.daemon() as daemon:
            self.assertEqual(daemon.snmp.walk(TRANSPARENT_ROWS), {})
            self.configure("ptpSource demo:transparent")
            self.reload(daemon)
            self.assertNotEqual(daemon.snmp.walk(TRANSPARENT_ROWS), {})

    def test_the_command_line_outranks_the_configuration(self):
        self.configure("ptpSource demo:transparent")
        with self.daemon("--source", "demo") as daemon:
            self.reload(daemon)
            self.assertEqual(daemon.snmp.walk(TRANSPARENT_ROWS), {})

    def test_a_source_that_cannot_work_leaves_the_one_before(self):
        self.configure("ptpSource demo")
        with self.daemon() as daemon:
            before = list(daemon.snmp.walk(PTPBASE))
            bad = self.folder / "bad.jsonl"
            bad.write_text('{"at": 0, "status": {"defaultDS": {"clockIdentity": "x"}}}\n')
            self.configure(f"ptpSource replay:{bad}")
            self.reload(daemon, "the source stays as it was")
            self.assertIn(f"{bad}:1", daemon.output())
            self.assertEqual(list(daemon.snmp.walk(PTPBASE)), before)

    def test_a_bad_directive_is_named_with_file_and_line(self):
        self.configure("ptpSource demo")
        with self.daemon() as daemon:
            self.configure("ptpSource demo", "", "ptpPoll -1")
            self.reload(daemon, "the source stays as it was")
            self.assertIn(f'{self.configuration}: line 3: Error: ptpPoll: "-1"', daemon.output())
            self.assertTrue(daemon.snmp.get(PRIORITY1))

    def test_a_source_that_nobody_knows_or_names_is_never_replaced_by_the_demo(self):
        self.configure("ptpSource demo:transparent")
        with self.daemon() as daemon:
            for line, outcome in [("ptpSource plt4l", "the source stays as it was"),
                                  ("ptpSource", "the source stays as it was"), ("", "configuration read anew")]:
                self.configure(line)
                self.reload(daemon, outcome)
                self.assertNotEqual(daemon.snmp.walk(TRANSPARENT_ROWS), {})

    def test_a_configuration_that_is_refused_starts_nothing(self):
        for line in ["ptpSource plt4l", "ptpSource", "ptpPoll -1", "ptpPoll"]:
            self.configure(line)
            daemon = subprocess.run([daemon_program(), "--config", self.configuration, "--listen",
                                     f"udp:127.0.0.1:{free_udp_port()}"], capture_output=True, text=True, timeout=60)
            self.assertEqual(daemon.returncode, 2, line)
            self.assertIn(f"configuration: {line.split()[0]}: ", daemon.stderr)
            self.assertNotIn("ready", daemon.stdout)

    def test_a_comment_may_follow_a_directive_and_quotes_keep_blanks(self):
        folder = self.folder / "a # b"
        folder.mkdir()
        replay = folder / "status.jsonl"
        replay.write_text('{"at": 0, "status": {}}\n')
        self.configure(f'ptpSource "replay:{replay}"  # the recording', "ptpPoll 500 # twice a second")
        with self.daemon() as daemon:
            self.assertIn(f"serving replay:{replay} on", daemon.output())

    def test_a_configuration_that_may_not_be_read_is_refused_and_changes_nothing(self):
        self.configure("ptpSource demo:transparent", "rocommunity first 127.0.0.1")
        os.chmod(self.folder, 0o755)
        options = ["--config", self.configuration, "--trace", "Snmp/off"]
        daemon = Daemon(self.folder, *options)
        daemon.run_under(*as_nobody())
        with daemon:
            os.chmod(self.configuration, 0o600)
            self.reload(daemon, "the source stays as it was")
            self.assertIn(f"{self.configuration}: Permission denied", daemon.output())
            reader = Snmp(daemon.port, community="first")
            self.assertNotEqual(reader.walk(TRANSPARENT_ROWS), {})
            with self.assertRaises(Failed):
                daemon.snmp.get(PRIORITY1)
            self.assertEqual(daemon.stop(), 0)
        for start in [[daemon_program(), *options], ["env", f"SNMPCONFPATH={self.folder}", daemon_program()]]:
            again = subprocess.run([*as_nobody(), *start], capture_output=True, text=True, timeout=60)
            self.assertEqual(again.returncode, 2)
            self.assertIn(f"{self.configuration}: Permission denied", again.stderr)

    def test_a_configuration_that_has_gone_is_refused_and_changes_nothing(self):
        self.configure("ptpSource demo:transparent", "rocommunity first 127.0.0.1")
        with self.daemon() as daemon:
            self.configuration.unlink()
            self.reload(daemon, "the source stays as it was")
            self.assertIn(f"{self.configuration}: No such file", daemon.output())
            self.assertNotEqual(Snmp(daemon.port, community="first").walk(TRANSPARENT_ROWS), {})
            with self.assertRaises(Failed):
                daemon.snmp.get(PRIORITY1)

    def test_a_file_that_is_to_be_included_and_is_not_there_starts_nothing(self):
        self.configure("includeFile more.conf")
        daemon = subprocess.run([daemon_program(), "--config", self.configuration], capture_output=True, text=True,
                                timeout=60)
        self.assertEqual(daemon.returncode, 2)
        self.assertIn("more.conf", daemon.stderr)

    def test_another_address_takes_a_restart_and_that_is_said(self):
        port = free_udp_port()
        self.configure(f"agentAddress udp:127.0.0.1:{port}")
        with Process(self.folder, "ptpsnmpd", [daemon_program(), "--config", self.configuration]) as daemon:
            wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
            self.reload(daemon)
            self.assertNotIn("takes a restart", daemon.output())
            self.configure("agentAddress udp:127.0.0.1:1")
            self.reload(daemon)
            self.assertIn(f"takes a restart; serving on udp:127.0.0.1:{port} until then", daemon.output())
            self.assertTrue(Snmp(port).get(PRIORITY1))

    def test_blanks_in_a_list_of_addresses_do_no_harm(self):
        ports = [free_udp_port(), free_udp_port()]
        self.configure(f"agentAddress udp:127.0.0.1:{ports[0]}, udp:127.0.0.1:{ports[1]}")
        with Process(self.folder, "ptpsnmpd", [daemon_program(), "--config", self.configuration]) as daemon:
            wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
            for port in ports:
                self.assertTrue(Snmp(port).get(PRIORITY1))

    def test_access_follows_the_configuration(self):
        self.configure("rocommunity first 127.0.0.1")
        with self.daemon() as daemon:
            self.assertTrue(Snmp(daemon.port, community="first").get(PRIORITY1))
            self.configure("rocommunity second 127.0.0.1")
            self.reload(daemon)
            self.assertTrue(Snmp(daemon.port, community="second").get(PRIORITY1))
            for community in ["first", "public"]:
                with self.assertRaises(Failed):
                    Snmp(daemon.port, community=community).get(PRIORITY1)

    def test_access_that_was_taken_away_is_loopback_only_again(self):
        self.configure("rocommunity first 127.0.0.1")
        with self.daemon() as daemon:
            self.configure("ptpSource demo")
            self.reload(daemon)
            self.assertTrue(daemon.snmp.get(PRIORITY1))

    def test_many_reloads_leave_no_descriptor_behind(self):
        self.configure("ptpSource demo")
        with self.daemon() as daemon:
            self.reload(daemon)
            descriptors = os.listdir(f"/proc/{daemon.process_id}/fd")
            for number in range(20):
                self.configure("ptpSource demo:transparent" if number % 2 == 0 else "ptpSource demo")
                self.reload(daemon)
            self.assertEqual(len(os.listdir(f"/proc/{daemon.process_id}/fd")), len(descriptors))
            self.assertTrue(daemon.snmp.get(PRIORITY1))


class PidFile(unittest.TestCase):
    def test_it_names_the_process_while_it_runs(self):
        with scratch_folder() as folder:
            file = folder / "ptpsnmpd.pid"
            file.write_text("99999999\n")  # left over by a crash
            with Daemon(folder, "--pid-file", file) as daemon:
                self.assertEqual(file.read_text(), f"{daemon.process_id}\n")
                second = subprocess.run([daemon_program(), "--pid-file", file], capture_output=True, text=True, timeout=20)
                self.assertEqual(second.returncode, 1)
                self.assertIn("another ptpsnmpd holds it", second.stderr)
                self.assertEqual(daemon.stop(), 0)
            self.assertFalse(file.exists())


class Log(unittest.TestCase):
    def test_the_journal_gets_priorities(self):
        with scratch_folder() as folder:
            log = folder / "journal"
            with open(log, "wb") as journal:
                stream = os.fstat(journal.fileno())
                name = f"{stream.st_dev}:{stream.st_ino}"
                daemon = subprocess.Popen([daemon_program(), "--agentx", folder / "nobody"], stderr=journal,
                                          stdout=subprocess.DEVNULL, env={**os.environ, "JOURNAL_STREAM": name})
                try:
                    wait_for("a line", lambda: log.read_text().startswith("<4>the SNMP agent at "))
                finally:
                    daemon.terminate()
                    daemon.wait(20)

    def test_what_is_below_the_level_is_not_logged(self):
        with scratch_folder() as quiet_folder, scratch_folder() as folder:
            options = ["--source", f"ptp4l:{folder}/nobody", "--log-level"]
            with Daemon(quiet_folder, *options, "error") as quiet, Daemon(folder, *options, "warning") as daemon:
                wait_for("a warning", lambda: "does not answer" in daemon.output())
                self.assertNotIn("does not answer", quiet.output())


if __name__ == "__main__":
    run_tests()
