#!/usr/bin/env python3
"""Every column of live ptp4l clocks equals what pmc says, whatever their transport, delay mechanism, domain and role.

usage: PTPSNMPD=/path/to/ptpsnmpd ptp4l_matrix_test.py [unittest options]
"""

import contextlib
import itertools
import signal
import unittest
from concurrent.futures import ThreadPoolExecutor

from harness import Network, clock_identity, pmc, run_tests, scratch_folder, skip_unless_possible, wait_for
from ptp4l import Clock, configuration, wait_until_equal

TRANSPORTS = {"L2": "802.3", "UDPv4": "IPv4", "UDPv6": "IPv6"}
# Polled often, so that moving values are read between two looks with pmc.
POLL = ("--poll", "50")
# As a grandmaster's time service sets it; every value differs from its default.
GRANDMASTER = ("SET GRANDMASTER_SETTINGS_NP clockClass 6 clockAccuracy 0x21 offsetScaledLogVariance 0x4e5d "
               "currentUtcOffset 38 leap61 1 leap59 0 currentUtcOffsetValid 1 ptpTimescale 1 timeTraceable 1 "
               "frequencyTraceable 0 timeSource 0x20")


def compare_master_and_slave(folder, network, transport, delay, domain):
    """The cells compared of a pair of clocks that the network already connects."""
    title = f"{transport} {delay} domain {domain}"
    (first, second), (master_port, slave_port) = network
    options = {"network_transport": transport, "delay_mechanism": delay, "domainNumber": domain}
    stem = f"{transport}-{delay}-{domain}".lower()
    master = Clock(f"{stem}-master", first, folder, domain)
    slave = Clock(f"{stem}-slave", second, folder, domain)
    with contextlib.ExitStack() as stack:
        stack.enter_context(master.start(configuration(master_port, priority1=100, priority2=101, **options)))
        stack.enter_context(slave.start(configuration(slave_port, slaveOnly=1, priority1=200, priority2=201,
                                                      announceReceiptTimeout=4, logMinPdelayReqInterval=-1, **options)))
        agents = [stack.enter_context(clock.agent(*POLL)) for clock in (master, slave)]
        slave.wait_until_it_follows()
        pmc(master.socket, GRANDMASTER, domain=domain)
        wait_for("the grandmaster's settings", lambda: slave.grandmaster().get("gm.ClockClass") == "6")
        compared = [wait_until_equal(clock, agent.snmp, f"{clock.name}", seconds=30)
                    for clock, agent in zip((master, slave), agents)]
        for agent in agents:
            if agent.stop() != 0:
                raise AssertionError(f"{title}: {agent.name} did not end well")
    return sum(len(comparison.rows) for comparison in compared)


class Matrix(unittest.TestCase):
    def test_every_transport_delay_mechanism_and_domain(self):
        cases = list(itertools.product(TRANSPORTS, ("E2E", "P2P"), (0, 24)))
        with scratch_folder() as folder, Network() as network:
            pairs = [network.pair(number) for number in range(1, len(cases) + 1)]
            with ThreadPoolExecutor(4) as pool:
                cells = pool.map(lambda case: compare_master_and_slave(folder, *case),
                                 ((pair, *case) for pair, case in zip(pairs, cases)))
                total = sum(cells)
            print(f"{len(cases)} pairs of clocks, {total} cells compared, no difference")
            self.assertGreaterEqual(total, 200)

    def test_a_boundary_clock_with_four_ports_through_changes_of_its_grandmaster_and_links(self):
        with scratch_folder() as folder, Network() as network, contextlib.ExitStack() as stack:
            middle = network.namespace()
            around = [network.namespace() for _ in range(4)]
            links = [network.connect(middle, other) for other in around]
            options = {"network_transport": "L2", "logSyncInterval": -1}
            boundary = Clock("boundary", middle, folder)
            stack.enter_context(boundary.start(configuration(*(link[0] for link in links), priority1=150, **options)))
            first, second, third = (Clock(name, namespace, folder)
                                    for name, namespace in zip(("first-gm", "second-gm", "slave"), around))
            better, good = configuration(links[0][1], priority1=100, **options), configuration(
                links[1][1], priority1=110, **options)
            first_run = stack.enter_context(first.start(better))
            stack.enter_context(second.start(good))
            stack.enter_context(third.start(configuration(links[2][1], slaveOnly=1, **options)))
            agent = stack.enter_context(boundary.agent(*POLL))
            cells = 0

            def equal(what):
                nonlocal cells
                cells += len(wait_until_equal(boundary, agent.snmp, what, seconds=30).rows)

            def follows(port, of):
                boundary.wait_until_it_follows(port)
                wait_for("the grandmaster", lambda: boundary.grandmaster()["grandmasterIdentity"] == of)

            identities = [clock_identity(number) for number in (2, 4)]
            follows(1, identities[0])
            equal("first grandmaster")
            first_run.stop(signal.SIGKILL)
            follows(2, identities[1])
            equal("first grandmaster killed")
            stack.enter_context(first.start(better))
            follows(1, identities[0])
            equal("first grandmaster back")
            middle.set_link(links[3][0], "down")
            wait_for("a fault", lambda: boundary.port_state(4) == "FAULTY")
            equal("link down")
            middle.set_link(links[3][0], "up")
            wait_for("a repair", lambda: boundary.port_state(4) != "FAULTY")
            equal("link up")
            print(f"{cells} cells compared, no difference")


if __name__ == "__main__":
    skip_unless_possible("ip", "ptp4l", "pmc", "setpriv", "snmpget", "snmpbulkwalk")
    run_tests()
