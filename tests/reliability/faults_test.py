#!/usr/bin/env python3
"""What goes wrong around the daemon, and what it costs: nothing but the time of the fault.

usage: PTPSNMPD=/path/to/ptpsnmpd faults_test.py [unittest options]

PTPSNMPD_SANITIZED=1 leaves out what a sanitizer's own memory and preloading do not permit.
"""

import contextlib
import glob
import json
import os
import signal
import socket
import statistics
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE, State  # noqa: E402
from fake_service_test import FakeService  # noqa: E402
from harness import (Daemon, Process, Snmp, daemon_program, free_udp_port, run_tests, scratch_folder,  # noqa: E402
                     wait_for)
from service_test import Manager  # noqa: E402
from snmp_client import GET, GETBULK, ask, reading, udp_socket  # noqa: E402

SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
KILLS = 20 if SANITIZED else 100
SERVICE_KILLS = 20
PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)


def clock(ports=4, priority1=128, names=""):
    """A status document."""
    return {
        "defaultDS": {"clockIdentity": "001122.fffe.334455", "clockMode": 1, "priority1": priority1},
        "mibData": {"packetsSent": priority1},
        "ports": {f"001122.fffe.334455-{number}": {"interface": f"{names}eth{number}", "portState": 6}
                  for number in range(1, ports + 1)},
    }


def replay(folder, *lines):
    """A source that plays (seconds, change of the document)."""
    file = folder / "status.jsonl"
    with open(file, "w", encoding="utf-8") as replay_file:
        for at, status in lines:
            replay_file.write(json.dumps({"at": at, "status": status}) + "\n")
    return f"replay:{file}"


def walk(port, seconds=2):
    """The cells of the whole MIB, by OID; None as soon as an answer does not come."""
    cells, at = {}, PTPBASE
    with udp_socket(port) as asking:
        while True:
            try:
                response = ask(asking, reading(GETBULK, [at], 25), seconds)
            except OSError:
                return None
            if response is None or response.error != 0:
                return None
            for at, tag, value in response.varbinds:
                if at[:len(PTPBASE)] != PTPBASE:
                    return cells
                cells[at] = tag, value


def priority1(port, seconds=2):
    with udp_socket(port) as asking:
        response = ask(asking, reading(GET, [PRIORITY1]), seconds)
    return response.varbinds[0][2] if response is not None else None


class Load:
    """A client that walks again and again, and keeps what it saw: whole walks, and how many came to nothing."""

    def __init__(self, port):
        self._port, self.walks, self.broken = port, [], 0
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stop.set()
        self._thread.join()

    def complete(self):
        """Those that were not before the first rows."""
        return [cells for cells in self.walks if cells]

    def _run(self):
        while not self._stop.is_set():
            cells = walk(self._port, seconds=0.2)
            if cells is None:
                time.sleep(0.01)  # the port is closed, which is known at once
                self.broken += 1
            else:
                self.walks.append(cells)


class Killed(unittest.TestCase):
    def test_of_kills_of_the_daemon_nothing_remains(self):
        """Lost: answers between the kill and the next start. No walk that ends is wrong, and nothing piles up."""
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service:
            service.tell(ports=4)
            runtime = folder / "run"
            runtime.mkdir()
            port = free_udp_port()
            daemon = Process(folder, "ptpsnmpd", [
                "env", f"RUNTIME_DIRECTORY={runtime}", daemon_program(), "--listen", f"udp:127.0.0.1:{port}",
                "--source", f"ptp4l:{service.path}", "--trace", "Snmp/off", "--pid-file", folder / "pid"])
            with Load(port) as load:
                with daemon:
                    whole = set(wait_for("rows", lambda: walk(port)))
                for _ in range(KILLS):
                    with daemon:
                        before = len(load.complete())
                        wait_for("a whole walk", lambda: len(load.complete()) > before)
                        self.assertEqual(daemon.stop(signal.SIGKILL), -signal.SIGKILL)
                with daemon:
                    wait_for("rows", lambda: walk(port))
                    self.assertLessEqual(len(os.listdir(runtime)), 1)
                    self.assertEqual(daemon.stop(), 0)
                self.assertEqual(os.listdir(runtime), [])
            for cells in load.complete():
                self.assertTrue(set(cells) == whole)

    def test_a_segmentation_fault_is_said_and_ends_the_process(self):
        """Lost: answers until the next start."""
        with scratch_folder() as folder, Daemon(folder) as daemon:
            status = daemon.stop(signal.SIGSEGV)
            if not SANITIZED:  # which has its own way
                self.assertEqual(status, -signal.SIGSEGV)
                self.assertIn("ptpsnmpd: error: segmentation fault", daemon.output())

    def test_of_kills_of_the_ptp_service_nothing_remains(self):
        """Lost: the rows, while there is no service. They are back with its first answers, and none is stale."""
        with scratch_folder() as folder, contextlib.ExitStack() as stack:
            path = str(folder / "ptp4l")
            service = stack.enter_context(FakeService(path))
            service.tell(ports=4)
            daemon = stack.enter_context(Daemon(folder, "--source", f"ptp4l:{path}", "--poll", "50", "--trace",
                                                "Snmp/off"))
            load = stack.enter_context(Load(daemon.port))
            wait_for("rows", lambda: walk(daemon.port))
            whole = set(walk(daemon.port))
            for number in range(SERVICE_KILLS):
                kill(service)
                if number % 2:  # missed, or back before anybody has noticed
                    wait_for("no rows", lambda: walk(daemon.port) == {})
                service.__enter__()
                service.tell(ports=4)
                wait_for("all rows", lambda: set(walk(daemon.port)) == whole)
            for cells in load.walks:  # one under way while rows come or go ends early
                self.assertTrue(set(cells) <= whole)
            self.assertEqual(load.broken, 0)


def ended(process):
    return process._process.poll() is not None


def ports_shown(port):
    """By a walk of one column; None where it is not answered to its end."""
    column = at = (*PTPBASE, 1, 2, 8, 1, 6)
    count = 0
    with udp_socket(port) as asking:
        while True:
            response = ask(asking, reading(GETBULK, [at], 30), 2)
            if response is None:
                return None
            for at, _, _ in response.varbinds:
                if at[:len(column)] != column:
                    return count
                count += 1


def kill(service):
    service._process.kill()
    service._process.wait()
    service._process.stdin.close()
    service._process.stdout.close()
    Path(service.path).unlink(missing_ok=True)


class Exhausted(unittest.TestCase):
    @unittest.skipIf(SANITIZED, "a sanitizer reserves more address space than any limit permits")
    def test_too_little_memory_leaves_no_half_state(self):
        """Lost: the process, with a message, or the document that did not fit."""
        large = 10_000
        with scratch_folder() as folder:
            source = replay(folder, (0, clock(ports=2)), (0.3, {"defaultDS": {"priority2": 1}}),
                            (0.6, clock(ports=large, priority1=7, names="x" * 50)))  # read ahead at 0.3
            states = {128: 2, 7: large}
            outcomes = [self.outcome(folder, source, megabytes << 20, states) for megabytes in range(24, 75, 3)]
            print(f"outcomes from 24 to 72 MB: {outcomes}", file=sys.stderr)
            self.assertEqual(outcomes[-1], "new")
            self.assertTrue({"ended", "old"} & set(outcomes))

    def outcome(self, folder, source, limit, states):
        port = free_udp_port()
        with Process(folder, f"limit-{limit}", [
                "prlimit", f"--as={limit}", daemon_program(), "--listen", f"udp:127.0.0.1:{port}", "--source", source,
                "--trace", "Snmp/off"]) as daemon:
            wait_for("an outcome", lambda: ended(daemon) or "is ignored" in daemon.output()
                     or priority1(port, 0.2) == 7, 60)
            shown = None if ended(daemon) else priority1(port)
            ports = None if shown is None else ports_shown(port)
            if ports is not None:
                self.assertEqual(ports, states[shown])
            if daemon.stop() == 0:  # and not for want of memory that a walk took, or the stop
                self.assertIsNotNone(ports)
                return "new" if shown == 7 else "old"
            self.assert_ended_with_a_message(daemon)
            return "ended" if "is ready" in daemon.output() else "not started"

    def assert_ended_with_a_message(self, daemon):
        # Memory that runs out where nothing may throw ends the process there, and so do assertions of libraries. The
        # SNMP library does not look at what malloc gives it.
        status = daemon.stop()
        self.assertTrue(status > 0 or status in (-signal.SIGABRT, -signal.SIGSEGV), status)
        self.assertRegex(daemon.output(), "error|std::bad_alloc|Assertion")

    def test_too_few_descriptors_are_said_or_suffice(self):
        """Lost: the start, with a message; or requests, as the library reads /etc/hosts.allow for each. It says so."""
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service:
            outcomes = set()
            for limit in range(4, 17):
                port = free_udp_port()
                daemon = Process(folder, f"limit-{limit}", [
                    "prlimit", f"--nofile={limit}", daemon_program(), "--listen", f"udp:127.0.0.1:{port}", "--source",
                    f"ptp4l:{service.path}", "--trace", "Snmp/off"])
                with daemon:
                    wait_for("an outcome", lambda: ended(daemon) or walk(port, 0.5) or "REFUSED" in daemon.output())
                    outcomes.add(ended(daemon))
                    if ended(daemon):
                        self.assert_ended_with_a_message(daemon)
                    else:
                        self.assertEqual(daemon.stop(), 0)
            self.assertEqual(outcomes, {True, False})

    def test_a_full_disk_costs_log_lines_alone(self):
        """Lost: what would have been logged."""
        with scratch_folder() as folder:
            source = replay(folder, (0, clock()), (0.1, {"nonsense": 1}), (0.2, {"defaultDS": {"priority1": 7}}))
            port = free_udp_port()
            with open("/dev/full", "wb", buffering=0) as full:
                daemon = subprocess.Popen([daemon_program(), "--listen", f"udp:127.0.0.1:{port}", "--source", source,
                                           "--trace", "Snmp/8,PtpSnmp/8"], stdout=full, stderr=full)
            try:
                wait_for("the last line", lambda: priority1(port) == 7)
                for _ in range(20):
                    self.assertEqual(set(walk(port)), set(State(clock()).oids))
            finally:
                daemon.terminate()
                self.assertEqual(daemon.wait(20), 0)


class ClockJumps(unittest.TestCase):
    @unittest.skipIf(SANITIZED, "libfaketime and a sanitizer both want to be loaded first")
    def test_a_jump_of_the_clock_changes_nothing(self):
        """Lost: nothing. Years forth and back, while a replay plays and a watchdog waits."""
        library = glob.glob("/usr/lib/*/faketime/libfaketime.so.1")
        if not library:
            self.skipTest("not installed: faketime")
        steps = 60
        with scratch_folder() as folder, Manager(folder) as manager:
            source = replay(folder, *[(n * 0.05, clock(priority1=n)) for n in range(steps + 1)])
            offset, port = folder / "offset", free_udp_port()
            offset.write_text("+0")
            daemon = Process(folder, "ptpsnmpd", [
                "env", f"LD_PRELOAD={library[0]}", f"FAKETIME_TIMESTAMP_FILE={offset}", "FAKETIME_NO_CACHE=1",
                "FAKETIME_DONT_FAKE_MONOTONIC=1", f"NOTIFY_SOCKET={manager.path}", "WATCHDOG_USEC=500000",
                daemon_program(), "--listen", f"udp:127.0.0.1:{port}", "--source", source, "--trace", "Snmp/off"])
            with daemon:
                manager.hears("READY=1")
                start, jumps = time.monotonic(), 0
                while priority1(port) < steps:
                    offset.write_text(["+10y", "-10y", "+0"][jumps % 3])
                    jumps += 1
                    before = time.monotonic()
                    manager.hears("WATCHDOG=1")
                    self.assertLess(time.monotonic() - before, 1)
                    self.assertLess(time.monotonic() - start, 0.05 * steps + 5)
                self.assertGreater(time.monotonic() - start, 0.05 * steps - 1)
                self.assertGreater(jumps, 5)
                with udp_socket(port) as asking:
                    up_time = ask(asking, reading(GET, [(1, 3, 6, 1, 2, 1, 1, 3, 0)]), 2).varbinds[0][2]
                self.assertLess(up_time / 100, time.monotonic() - start + 5)
                self.assertEqual(daemon.stop(), 0)


class Floods(unittest.TestCase):
    def test_ten_thousand_changes_a_second_are_followed(self):
        """Lost: nothing. Every request is answered meanwhile."""
        seconds, per_second = 2, 10_000
        with scratch_folder() as folder:
            changes = [(n / per_second, {"defaultDS": {"priority1": n % 256}, "mibData": {"packetsSent": n}})
                       for n in range(1, seconds * per_second)]
            source = replay(folder, (0, clock()), *changes)
            with Daemon(folder, "--source", source, "--trace", "Snmp/off") as daemon:
                last, taken, start = (*PTPBASE, 1, 2, 4, 1, 5, 0, 2, 1), [], time.monotonic()
                with udp_socket(daemon.port) as asking:
                    shown = 0
                    while shown < len(changes):
                        before = time.monotonic()
                        response = ask(asking, reading(GET, [last]), 2)
                        self.assertIsNotNone(response)
                        taken.append(time.monotonic() - before)
                        shown = response.varbinds[0][2]
                        self.assertLess(time.monotonic() - start, 60)
                print(f"{len(changes)} changes in {time.monotonic() - start:.1f} s; answers within "
                      f"{statistics.median(taken) * 1000:.1f} ms (median), {max(taken) * 1000:.0f} ms (most)",
                      file=sys.stderr)
                self.assertLess(statistics.median(taken), 0.1)

    def test_events_as_fast_as_they_can_be_sent_end_in_the_last_state(self):
        """Lost: nothing that a request could have seen. The kernel slows the sender down, not the daemon."""
        ports, rounds = 50, 200
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service:
            service.tell(ports=ports)
            with Daemon(folder, "--source", f"ptp4l:{service.path}", "--poll", "100", "--trace", "Snmp/off") as daemon:
                state_of = (*PTPBASE, 1, 2, 9, 1, 6, 0, 2, 1)

                def shown():
                    cells = walk(daemon.port)
                    return {cells.get((*state_of, port), (0, 0))[1] for port in range(1, ports + 1)}

                wait_for("a subscription", lambda: service.tell(states={"1": 7}) or 7 in shown())
                start = time.monotonic()
                for number in range(rounds):
                    service.tell(states={str(port): 5 + number % 4 for port in range(1, ports + 1)})
                    if number % 20 == 0:
                        self.assertTrue(walk(daemon.port))
                spent = time.monotonic() - start
                wait_for("the last state", lambda: shown() == {5 + (rounds - 1) % 4})
                print(f"{ports * rounds} events at {ports * rounds / spent:.0f} a second", file=sys.stderr)

    def test_fifty_clients_do_not_starve_the_watchdog(self):
        """Lost: answers that did not fit into the socket's queue, which clients ask for again."""
        clients, seconds, period = 50, 5, 1.0
        with scratch_folder() as folder, Manager(folder) as manager:
            port = free_udp_port()
            daemon = Process(folder, "ptpsnmpd", [
                "env", f"NOTIFY_SOCKET={manager.path}", f"WATCHDOG_USEC={int(period * 1e6)}", daemon_program(),
                "--listen", f"udp:127.0.0.1:{port}", "--source", replay(folder, (0, clock(ports=200))), "--trace", "Snmp/off"])
            with daemon, contextlib.ExitStack() as stack:
                manager.hears("READY=1")
                sockets = [stack.enter_context(udp_socket(port)) for _ in range(clients)]
                messages = [reading(GETBULK, [PTPBASE], 50).message for _ in sockets]
                answered, sent, gaps = 0, 0, []
                start = fed = time.monotonic()
                manager._socket.setblocking(False)
                while time.monotonic() - start < seconds:
                    for asking, message in zip(sockets, messages):
                        asking.send(message)
                        sent += 1
                        with contextlib.suppress(BlockingIOError):
                            while asking.recv(65535, socket.MSG_DONTWAIT):
                                answered += 1
                    with contextlib.suppress(BlockingIOError):
                        while manager._socket.recv(1000):
                            gaps.append(time.monotonic() - fed)
                            fed = time.monotonic()
                print(f"{sent} requests of {clients} clients in {seconds} s, {answered} answered, the watchdog fed "
                      f"{len(gaps)} times, at most {max(gaps):.2f} s apart", file=sys.stderr)
                self.assertLess(max(gaps), period)
                self.assertGreater(answered, 0)
                wait_for("an answer", lambda: priority1(port) == 128, seconds=10)
                self.assertEqual(daemon.stop(), 0)


if __name__ == "__main__":
    run_tests()
