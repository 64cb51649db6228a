#!/usr/bin/env python3
"""Beside a stock snmpd: the daemon as its AgentX sub-agent.

usage: PTPSNMPD=/path/to/ptpsnmpd agentx_test.py [unittest options]
"""

import os
import signal
import socket
import struct
import threading
import time
import unittest

from fake_service_test import FakeService
from harness import Daemon, Failed, Process, Snmpd, daemon_program, run_tests, scratch_folder, wait_for

PTPBASE = "1.3.6.1.2.1.241"
PRIORITY1 = f"{PTPBASE}.1.2.3.1.6.0.2.1"
RESTARTS = 50
BACK_WITHIN = 2  # seconds


def transparent_rows(agent):
    return agent.snmp.walk(f"{PTPBASE}.1.2.6")


class Agents:
    """A stock snmpd that takes sub-agents, and the daemon as one of them."""

    def __init__(self, folder, *options, start_master=True):
        self.socket = folder / "agentx"
        self.master = Snmpd(folder, "master agentx", f"agentXSocket {self.socket}")
        self.sub_agent = Process(folder, "ptpsnmpd", [daemon_program(), "--agentx", self.socket,
                                                      "--trace", "Snmp/off", *options])
        self._start_master = start_master

    def __enter__(self):
        if self._start_master:
            self.master.__enter__()
        self.sub_agent.__enter__()
        return self

    def __exit__(self, *_):
        self.sub_agent.stop()
        self.master.stop()

    def rows(self):
        return wait_for("rows", lambda: self.master.snmp.walk(PTPBASE))


class BesideSnmpd(unittest.TestCase):
    def test_it_serves_the_same_objects_as_the_daemon_alone(self):
        with scratch_folder() as folder, Daemon(folder, "--source", "demo:transparent") as daemon:
            expected = list(daemon.snmp.walk(PTPBASE))
            with Agents(folder, "--source", "demo:transparent") as agents:
                self.assertEqual(list(agents.rows()), expected)
                self.assertEqual(agents.sub_agent.stop(), 0)
                wait_for("the rows have gone", lambda: not agents.master.snmp.walk(PTPBASE))

    def test_nothing_is_lost_but_the_seconds_in_which_snmpd_is_away(self):
        with scratch_folder() as folder, Agents(folder) as agents:
            agents.rows()
            stop, answered = threading.Event(), []

            def load():
                while not stop.is_set():
                    try:
                        answered.append(len(agents.master.snmp.walk(PTPBASE)))
                    except Failed:
                        pass  # while it is away

            walker = threading.Thread(target=load)
            walker.start()
            try:
                for number in range(RESTARTS):
                    agents.master.stop(signal.SIGKILL if number % 2 else signal.SIGTERM)
                    agents.master.__enter__()
                    start = time.monotonic()
                    agents.rows()
                    self.assertLess(time.monotonic() - start, BACK_WITHIN)
            finally:
                stop.set()
                walker.join()
            self.assertTrue(any(answered))
            log = agents.sub_agent.output()
            self.assertEqual(log.count(" is away"), RESTARTS)
            self.assertEqual(log.count("serving through"), 1 + RESTARTS)

    def test_it_waits_for_a_master_that_is_not_there_yet_and_says_so_once(self):
        with scratch_folder() as folder, Agents(folder, start_master=False) as agents:
            wait_for("the complaint", lambda: "is away (No such file or directory)" in agents.sub_agent.output())
            with agents.master:
                agents.rows()
            self.assertEqual(agents.sub_agent.output().count("No such file"), 1)

    def test_tables_that_another_serves_are_taken_over_when_it_ends(self):
        with scratch_folder() as folder, Agents(folder, "--source", "demo") as first:
            self.assertTrue(first.rows())
            self.assertFalse(transparent_rows(first.master))
            with Process(folder, "second", [daemon_program(), "--agentx", first.socket, "--source", "demo:transparent",
                                            "--trace", "Snmp/off"]) as second:
                wait_for("the refusal is said", lambda: "does not take the tables" in second.output())
                self.assertNotIn("serving through", second.output())
                self.assertFalse(transparent_rows(first.master))
                self.assertEqual(first.sub_agent.stop(), 0)
                wait_for("the other's rows", lambda: transparent_rows(first.master))
                self.assertEqual(second.output().count("does not take the tables"), 1)
                self.assertNotIn("registering pdu failed", second.output())
                self.assertEqual(second.stop(), 0)

    def test_what_a_file_says_of_access_is_left_to_the_master(self):
        with scratch_folder() as folder:
            configuration = folder / "ptpsnmpd.conf"
            configuration.write_text("rouser monitor authpriv -V ptp\nview ptp included .1.3.6.1.2.1.241\n"
                                     "createUser monitor SHA passphrase AES passphrase\nrocommunity public 127.0.0.1\n"
                                     "sysName here\nagentAddress udp:161\nsunDial yes\n")
            with Agents(folder, "--config", configuration) as agents:
                agents.rows()
                self.assertEqual(agents.sub_agent.output().count("Unknown token"), 1)
                self.assertIn("Unknown token: sunDial", agents.sub_agent.output())

    def test_a_reload_keeps_the_connection(self):
        with scratch_folder() as folder, Agents(folder) as agents:
            agents.rows()
            agents.sub_agent.signal(signal.SIGHUP)
            wait_for("it was read", lambda: "configuration read anew" in agents.sub_agent.output())
            self.assertTrue(agents.master.snmp.get(PRIORITY1))
            self.assertNotIn("attempted", agents.sub_agent.output())


class StalledMaster(unittest.TestCase):
    def test_the_status_is_followed_while_snmpd_is_stopped(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            with Agents(folder, "--source", f"ptp4l:{service.path}", "--poll", "50") as agents:
                agents.rows()
                agents.master.signal(signal.SIGSTOP)
                service.tell(silent=True)
                wait_for("the service is missed", lambda: "does not answer" in agents.sub_agent.output(), seconds=5)
                service.tell(silent=False)
                wait_for("it is back", lambda: agents.sub_agent.output().count("answers: clock") == 2, seconds=5)
                agents.master.signal(signal.SIGCONT)
                agents.rows()
                self.assertNotIn("is away", agents.sub_agent.output())

    def test_it_ends_at_once_while_snmpd_is_stopped(self):
        with scratch_folder() as folder, Agents(folder) as agents:
            agents.rows()
            agents.master.signal(signal.SIGSTOP)
            start = time.monotonic()
            self.assertEqual(agents.sub_agent.stop(), 0)
            self.assertLess(time.monotonic() - start, 5)

    def test_a_master_that_never_answers_holds_nothing_up(self):
        with scratch_folder() as folder, socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as mute:
            mute.bind(str(folder / "agentx"))
            mute.listen(1)
            with FakeService(folder / "ptp4l") as service, Process(folder, "ptpsnmpd", [
                    daemon_program(), "--agentx", folder / "agentx", "--source", f"ptp4l:{service.path}",
                    "--poll", "50"]) as sub_agent:
                wait_for("it is said", lambda: "is away" in sub_agent.output())
                wait_for("the clock is followed", lambda: "answers: clock" in sub_agent.output())
                self.assertEqual(sub_agent.stop(), 0)

    def test_a_master_that_talks_nonsense_is_survived(self):
        with scratch_folder() as folder, socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as liar:
            liar.bind(str(folder / "agentx"))
            liar.listen(8)
            liar.settimeout(20)
            with Process(folder, "ptpsnmpd", [daemon_program(), "--agentx", folder / "agentx"]) as sub_agent:
                for nonsense in [b"\x00" * 20, os.urandom(200), b"\x01\x12\x10\x00" + struct.pack(">IIII", 0, 0, 0, 2**31)]:
                    for _ in range(3):  # the question whether it is there, and a session
                        connection, _ = liar.accept()
                        with connection:
                            connection.recv(100)
                            connection.sendall(nonsense)
                self.assertEqual(sub_agent.stop(), 0)


if __name__ == "__main__":
    run_tests()
