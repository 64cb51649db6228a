#!/usr/bin/env python3
"""The log costs nothing: it does not grow with the requests, and nobody need read it.

usage: PTPSNMPD=/path/to/ptpsnmpd log_test.py [unittest options]
"""

import contextlib
import fcntl
import os
import pty
import signal
import socket
import stat
import subprocess
import sys
import termios
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from faults_test import SANITIZED, walk  # noqa: E402
from harness import Daemon, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import OCTETS, SEQUENCE, integer, tlv, udp_socket  # noqa: E402

TRACE = ["--trace", "Snmp/0-2"]
FULL_PIPE = 65536
MISSING = "lines missing here, which could not be written: "


class Reader:
    """What the log goes to, which does not read it until it is asked to. `written` is the daemon's end."""

    def __init__(self, written, reading):
        self.written, self._reading = written, reading
        os.set_blocking(reading, False)

    def take(self):
        """What was written meanwhile."""
        text = b""
        with contextlib.suppress(BlockingIOError):
            while taken := os.read(self._reading, FULL_PIPE):
                text += taken
        return text.replace(b"\r", b"").decode(errors="replace")

    def fill(self):
        """To the last byte."""
        shared = fcntl.fcntl(self.written, fcntl.F_GETFL)
        os.set_blocking(self.written, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(self.written, b"x")
        fcntl.fcntl(self.written, fcntl.F_SETFL, shared)

    def journal_stream(self):
        """By which a program knows the journal; no pipe or terminal is one."""
        status = os.fstat(self.written)
        return f"{status.st_dev}:{status.st_ino}" if stat.S_ISSOCK(status.st_mode) else ""

    def close(self):
        os.close(self.written)
        os.close(self._reading)


@contextlib.contextmanager
def pipe():
    reading, written = os.pipe()
    with contextlib.closing(Reader(written, reading)) as reader:
        yield reader


@contextlib.contextmanager
def terminal():
    reading, written = pty.openpty()
    with contextlib.closing(Reader(written, reading)) as reader:
        yield reader


@contextlib.contextmanager
def journal():
    reading, written = socket.socketpair()
    with contextlib.closing(Reader(written.detach(), reading.detach())) as reader:
        yield reader


@contextlib.contextmanager
def logging_to(reader, *options, standard_output=subprocess.DEVNULL):
    """A daemon that answers, and its port."""
    port = free_udp_port()
    arguments = [daemon_program(), "--listen", f"udp:127.0.0.1:{port}", "--source", "demo", *options]
    daemon = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=standard_output, stderr=reader.written,
                              env={**os.environ, "JOURNAL_STREAM": reader.journal_stream()})
    try:
        wait_for("rows", lambda: walk(port))
        yield daemon, port
    finally:
        daemon.kill()
        daemon.wait()


class NobodyReads(unittest.TestCase):
    """Lost: lines, whose number is told."""

    def walk_on_and_end(self, reader, stop=lambda: None, resume=lambda: None):
        with logging_to(reader, *TRACE) as (daemon, port):
            stop()
            for _ in range(5):  # 25,000 lines
                self.assertTrue(walk(port))
            resume()
            reader.take()
            self.assertTrue(walk(port))
            self.assertIn(MISSING, reader.take())
            stop()
            for _ in range(5):
                self.assertTrue(walk(port))
            daemon.send_signal(signal.SIGTERM)
            self.assertEqual(daemon.wait(20), 0)

    def test_a_pipe(self):
        with pipe() as reader:
            self.walk_on_and_end(reader)

    def test_the_journal(self):
        with journal() as reader:
            self.walk_on_and_end(reader)

    def test_a_terminal(self):
        with terminal() as reader:
            self.walk_on_and_end(reader)

    def test_a_terminal_that_was_stopped(self):
        with terminal() as reader:
            self.walk_on_and_end(reader, stop=lambda: termios.tcflow(reader.written, termios.TCOOFF),
                                 resume=lambda: termios.tcflow(reader.written, termios.TCOON))

    def test_a_pipe_that_is_full_from_the_start(self):
        """Nor does it wait to say that it is ready."""
        with pipe() as reader:
            reader.fill()
            shared = fcntl.fcntl(reader.written, fcntl.F_GETFL)
            with logging_to(reader, *TRACE, standard_output=reader.written) as (daemon, port):
                self.assertEqual(fcntl.fcntl(reader.written, fcntl.F_GETFL), shared)
                reader.take()
                self.assertTrue(walk(port))
                self.assertIn(MISSING, reader.take())
                daemon.send_signal(signal.SIGTERM)
                self.assertEqual(daemon.wait(20), 0)

    @unittest.skipIf(SANITIZED, "a sanitizer has a message of its own")
    def test_a_segmentation_fault_ends_the_process_although_nobody_reads(self):
        with pipe() as reader, logging_to(reader) as (daemon, _):
            reader.fill()
            daemon.send_signal(signal.SIGSEGV)
            self.assertEqual(daemon.wait(20), -signal.SIGSEGV)


def unacceptable(identifier):
    """A message of SNMPv3 whose sender takes fewer octets than any may."""
    header = integer(identifier) + integer(100 + identifier % 100) + tlv(OCTETS, b"\x04") + integer(3)
    return tlv(SEQUENCE, integer(3) + tlv(SEQUENCE, header) + tlv(OCTETS, b"") + tlv(SEQUENCE, b""))


def lines_after_ready(daemon):
    said = daemon.output().partition("is ready")[2].split("1.3.6.1.2.1.241\n", 1)[1].splitlines()
    return [line for line in said if not line.startswith("ACCESS is ")]


class Requests(unittest.TestCase):
    """Lost: lines that say what others have said."""

    def test_walks_leave_no_line(self):
        for source in ("demo", "demo:transparent"):
            with scratch_folder() as folder, Daemon(folder, "--source", source) as daemon:
                for _ in range(50):
                    self.assertTrue(walk(daemon.port))
                self.assertEqual(daemon.stop(), 0)
                self.assertEqual(lines_after_ready(daemon), [])

    def test_a_complaint_of_the_gate_is_said_once_and_then_counted(self):
        complaint = "a message that is not well-formed SNMP is dropped"
        with scratch_folder() as folder, Daemon(folder) as daemon, udp_socket(daemon.port) as asking:
            for identifier in range(500):
                asking.send(unacceptable(identifier))
                if identifier % 50 == 0:
                    self.assertTrue(walk(daemon.port))  # all before was read
            self.assertTrue(walk(daemon.port))
            said = lines_after_ready(daemon)
            self.assertEqual(said, [f"ptpsnmpd: warning: {complaint}"])
            self.assertEqual(daemon.stop(), 0)
            self.assertEqual(lines_after_ready(daemon),
                             [*said, f"ptpsnmpd: warning: 499 more in the last hour like this: {complaint}"])

    def test_a_complaint_of_the_library_is_said_once_and_then_counted(self):
        complaint = "Authentication failed for reader"
        with scratch_folder() as folder:
            configuration = folder / "ptpsnmpd.conf"
            configuration.write_text("createUser reader SHA authentication\nrouser reader auth\n", encoding="utf-8")
            with Daemon(folder, "--config", configuration) as daemon:
                for _ in range(3):
                    wrong = subprocess.run(
                        ["snmpget", "-v3", "-u", "reader", "-l", "authNoPriv", "-a", "SHA", "-A", "another one", "-r", "0",
                         "-t", "2", "-m", "", f"127.0.0.1:{daemon.port}", "1.3.6.1.2.1.1.3.0"],
                        capture_output=True, timeout=30)
                    self.assertNotEqual(wrong.returncode, 0)
                said = lines_after_ready(daemon)
                self.assertEqual(said, [f"ptpsnmpd: warning: {complaint}"])
                self.assertEqual(daemon.stop(), 0)
                self.assertEqual(lines_after_ready(daemon),
                                 [*said, f"ptpsnmpd: warning: 2 more in the last hour like this: {complaint}"])

    def test_with_the_level_debug_each_complaint_is_said(self):
        with scratch_folder() as folder, Daemon(folder, "--log-level", "debug") as daemon, \
                udp_socket(daemon.port) as asking:
            for identifier in range(20):
                asking.send(unacceptable(identifier))
            wait_for("all", lambda: daemon.output().count("is not well-formed SNMP") == 20)

    def test_each_fault_of_a_configuration_is_said_at_the_start_and_at_a_reload(self):
        with scratch_folder() as folder:
            configuration = folder / "ptpsnmpd.conf"
            configuration.write_text("".join(f"ptpTrace Snmp/{level}\n" for level in (97, 98, 99)))
            with Daemon(folder, "--config", configuration) as daemon:
                for count in (1, 2):
                    for level in (97, 98, 99):
                        self.assertEqual(daemon.output().count(f'trace selection "Snmp/{level}"'), count)
                    daemon.signal(signal.SIGHUP)
                    wait_for("a reload", lambda: daemon.output().count("read anew") == count)


if __name__ == "__main__":
    run_tests()
