#!/usr/bin/env python3
"""The daemon beside a live ptp4l: what happens to one is shown by the other.

usage: PTPSNMPD=/path/to/ptpsnmpd ptp4l_test.py [unittest options]
"""

import contextlib
import os
import signal
import subprocess
import time
import unittest
from pathlib import Path

from harness import Network, as_nobody, clock_identity, run_tests, scratch_folder, skip_unless_possible, wait_for
from ptp4l import (CURRENT, DEFAULT, PORT_RUNNING, PTPBASE, RUNNING, TABLES, Agent, Clock, configuration, identity,
                   wait_until_equal)

CLOCK = "0.2.1"  # domain, boundary clock, first instance
IDENTITY = f"{TABLES}.{DEFAULT}.1.5.{CLOCK}"
STATE = f"{TABLES}.{PORT_RUNNING}.1.6.{CLOCK}.1"
IF_INDEX = f"{TABLES}.{PORT_RUNNING}.1.8.{CLOCK}.1"
STEPS_REMOVED = f"{TABLES}.{CURRENT}.1.4.{CLOCK}"
COUNTERS = [f"{TABLES}.{RUNNING}.1.{column}.{CLOCK}" for column in (5, 6)]
LISTENING, MASTER, SLAVE = 4, 6, 9
STOPPED = 30  # seconds


class Live(unittest.TestCase):
    def setUp(self):
        stack = contextlib.ExitStack()
        self.addCleanup(stack.close)
        self.folder = stack.enter_context(scratch_folder())
        network = stack.enter_context(Network())
        namespaces = network.namespace(), network.namespace()
        self.ends = network.connect(*namespaces)
        self.enter = stack.enter_context
        self.master, self.slave = (Clock(name, namespace, self.folder)
                                   for name, namespace in zip(("master", "slave"), namespaces))
        self.masters = configuration(self.ends[0], network_transport="L2", priority1=100)
        self.slaves = configuration(self.ends[1], network_transport="L2", slaveOnly=1)

    def start(self, clock, text):
        """A service that answers."""
        service = self.enter(clock.start(text))
        wait_for(f"{clock.name} answers", lambda: clock.port_state())
        return service

    def rows(self, agent):
        return wait_for("rows", lambda: agent.snmp.walk(TABLES))

    def counters(self, agent):
        shown = agent.snmp.get(*COUNTERS)
        return [shown[cell] for cell in COUNTERS]

    def test_a_service_that_is_not_there_yet_is_shown_when_it_comes(self):
        agent = self.enter(self.slave.agent())
        wait_for("an answer without rows", lambda: agent.snmp.walk(PTPBASE) == {})
        self.start(self.slave, self.slaves)
        self.rows(agent)
        self.assertEqual(agent.snmp.get(IDENTITY)[IDENTITY], identity(clock_identity(2)))
        self.assertEqual(agent.output().count("warning"), 1, agent.output())

    def test_a_service_that_is_killed_leaves_no_row_and_its_counters_go_on_when_it_is_back(self):
        self.start(self.master, self.masters)
        first = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        wait_for("packets", lambda: min(self.counters(agent)) > 0)
        first.stop(signal.SIGKILL)
        before = self.counters(agent)
        wait_for("no rows", lambda: agent.snmp.walk(PTPBASE) == {})
        self.start(self.slave, self.slaves)
        self.rows(agent)
        for now, then in zip(self.counters(agent), before):
            self.assertGreaterEqual(now, then)
        self.assertEqual(agent.output().count("does not answer"), 1, agent.output())
        self.assertEqual(agent.output().count(" answers: "), 2, agent.output())

    def test_a_restart_with_other_ports_shows_the_new_ones_and_no_other(self):
        first = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        first.stop()
        self.slave.namespace.add_interfaces("extra1", "extra2")
        self.start(self.slave, configuration("extra1", "extra2", network_transport="L2"))
        names = f"{TABLES}.7.1.5"
        expected = {f"{names}.{CLOCK}.1": b"extra1", f"{names}.{CLOCK}.2": b"extra2"}
        wait_for("the other ports", lambda: agent.snmp.walk(names) == expected)

    def test_a_restart_with_another_clock_identity_shows_that_one(self):
        first = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        first.stop()
        other = "0a0b0c.fffe.0d0e0f"
        self.start(self.slave, configuration(self.ends[1], network_transport="L2", clockIdentity=other))
        wait_for("the other identity", lambda: agent.snmp.get(IDENTITY).get(IDENTITY) == identity(other))
        wait_until_equal(self.slave, agent.snmp, "another identity")

    def test_a_service_that_is_stopped_leaves_no_row_and_comes_back_with_its_counters(self):
        self.start(self.master, self.masters)
        service = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        wait_for("packets", lambda: min(self.counters(agent)) > 0)
        service.signal(signal.SIGSTOP)
        stopped, missed = time.monotonic(), agent.output().count("does not answer")
        before = self.counters(agent)
        wait_for("no rows", lambda: agent.snmp.walk(PTPBASE) == {})
        wait_for("half a minute has passed", lambda: time.monotonic() > stopped + STOPPED, seconds=2 * STOPPED)
        self.assertEqual(agent.snmp.walk(PTPBASE), {})
        self.assertEqual(agent.output().count("does not answer"), missed + 1)
        service.signal(signal.SIGCONT)
        wait_for("rows, after a poll or two", lambda: agent.snmp.walk(TABLES), seconds=5)
        for now, then in zip(self.counters(agent), before):
            self.assertLess(now, 2 * then + 1000, "not counted twice")
            self.assertGreaterEqual(now, then)

    def test_a_daemon_that_is_stopped_does_not_keep_the_service_from_its_work(self):
        self.start(self.master, self.masters + "logSyncInterval -4\n")
        self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        self.slave.wait_until_it_follows()
        agent.signal(signal.SIGSTOP)
        received = self.packets_received()
        wait_for("the service works on", lambda: self.packets_received() > received + 200)
        agent.signal(signal.SIGCONT)

    def packets_received(self):
        counts = self.slave.ask_port("PORT_STATS_NP")
        return sum(int(value) for name, value in counts.items() if name.startswith("rx_"))

    def test_a_change_of_state_is_shown_at_once_however_seldom_the_service_is_polled(self):
        self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent("--poll", "3600000"))
        self.rows(agent)
        self.assertEqual(agent.snmp.get(STATE)[STATE], LISTENING)
        self.start(self.master, self.masters)
        self.slave.wait_until_it_follows()
        wait_for("the state", lambda: agent.snmp.get(STATE)[STATE] in (SLAVE, SLAVE - 1))
        wait_for("steps", lambda: agent.snmp.get(STEPS_REMOVED)[STEPS_REMOVED] == 1)

    def test_a_restart_in_another_domain_is_found(self):
        first = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        first.stop()
        self.slave.domain = 5
        self.start(self.slave, self.slaves.replace("[global]", "[global]\ndomainNumber 5"))
        wait_for("its rows", lambda: f"{TABLES}.{DEFAULT}.1.5.5.2.1" in agent.snmp.walk(TABLES))
        wait_until_equal(self.slave, agent.snmp, "another domain")

    def test_a_socket_that_another_service_takes_over_shows_that_one_while_the_first_lives_on(self):
        first = self.start(self.slave, self.slaves)
        agent = self.enter(self.slave.agent())
        self.rows(agent)
        Path(self.slave.socket).rename(f"{self.slave.socket}.old")
        other = "0a0b0c.fffe.0d0e0f"
        self.start(self.slave, configuration(self.ends[1], network_transport="L2", clockIdentity=other))
        wait_for("the other identity", lambda: agent.snmp.get(IDENTITY).get(IDENTITY) == identity(other))
        self.assertTrue(first.is_running())

    def test_an_interface_of_another_namespace_has_no_index(self):
        self.start(self.slave, self.slaves)
        agent = self.enter(Agent(self.slave, self.master.namespace, (), "elsewhere"))
        self.master.namespace.add_interfaces(self.ends[1])
        self.rows(agent)
        wait_for("an answer", lambda: agent.snmp.get(IF_INDEX) == {IF_INDEX: 0})
        agent.stop()

    def test_another_user_tells_the_namespaces_apart_as_well(self):
        self.start(self.slave, self.slaves)
        self.master.namespace.add_interfaces(self.ends[1])
        nobody = self.as_nobody()
        elsewhere = self.enter(Agent(self.slave, self.master.namespace, (), "elsewhere", nobody))
        agent = self.enter(self.slave.agent(before=nobody))
        for agent, index in ((agent, self.slave.namespace.if_index(self.ends[1])), (elsewhere, 0)):
            self.rows(agent)
            self.assertEqual(agent.snmp.get(IF_INDEX), {IF_INDEX: index})
            self.assertEqual(agent.stop(), 0)

    def as_nobody(self):
        """What starts the daemon as a user without any right, who may use the socket."""
        user = as_nobody()
        runtime = Path(self.folder) / "runtime"
        runtime.mkdir()
        os.chown(runtime, 65534, 65534)
        os.chmod(self.folder, 0o711)
        os.chmod(self.slave.socket, 0o666)
        return "env", f"RUNTIME_DIRECTORY={runtime}", *user

    def test_an_interface_that_is_renamed_or_replaced_keeps_or_changes_its_index(self):
        self.slave.namespace.add_interfaces("moving")
        self.start(self.slave, configuration("moving", network_transport="L2"))
        agent = self.enter(self.slave.agent("--poll", "3600000"))
        self.rows(agent)
        index = self.slave.namespace.if_index("moving")
        wait_for("its index", lambda: agent.snmp.get(IF_INDEX)[IF_INDEX] == index)
        self.slave.namespace.rename("moving", "moved")
        wait_for("no index", lambda: agent.snmp.get(IF_INDEX)[IF_INDEX] == 0)
        self.slave.namespace.delete("moved")
        self.slave.namespace.add_interfaces("moving")
        index = self.slave.namespace.if_index("moving")
        wait_for("another index", lambda: agent.snmp.get(IF_INDEX)[IF_INDEX] == index)

    def test_the_left_over_of_a_killed_daemon_goes_with_the_next_one(self):
        runtime = Path(self.folder) / "runtime"
        runtime.mkdir()
        environment = ("env", f"RUNTIME_DIRECTORY={runtime}")
        self.start(self.slave, self.slaves)
        killed = self.enter(self.slave.agent(before=environment))
        self.rows(killed)
        killed.stop(signal.SIGKILL)
        self.assertEqual(len(list(runtime.iterdir())), 1)
        agent = self.enter(self.slave.agent(name="next", before=environment))
        self.rows(agent)
        self.assertEqual(len(list(runtime.iterdir())), 1)
        self.assertEqual(agent.stop(), 0)
        self.assertEqual(list(runtime.iterdir()), [])


if __name__ == "__main__":
    skip_unless_possible("ip", "ptp4l", "pmc", "setpriv", "snmpget", "snmpbulkwalk")
    run_tests()
