#!/usr/bin/env python3
"""Connections that only stay, and few descriptors: whoever asks is answered, the PTP service is followed, and the daemon
rests.

usage: PTPSNMPD=/path/to/ptpsnmpd descriptors_test.py [unittest options]
"""

import contextlib
import os
import resource
import socket
import struct
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from fake_service_test import FakeService  # noqa: E402
from harness import Process, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import GET, ask, reading, udp_socket  # noqa: E402

PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)
IDLE = 40  # connections
SILENCE = 5  # seconds without an answer, after which nobody is served any more


def answered(connection):
    """Whether a whole answer with a value comes."""
    with contextlib.suppress(ConnectionResetError, BrokenPipeError, ValueError):
        response = ask(connection, reading(GET, [PRIORITY1]), SILENCE)
        return response is not None and isinstance(response.varbinds[0][2], int)
    return False


class FewDescriptors(unittest.TestCase):
    @contextlib.contextmanager
    def daemon(self, folder, limit, source="demo"):
        """One that listens at UDP, TCP and a Unix socket."""
        self.port, self.path = free_udp_port(), folder / "snmp"
        configuration = folder / "ptpsnmpd.conf"
        configuration.write_text("rocommunity public 127.0.0.1\ncom2secunix here default public\ngroup readers v2c here\n"
                                 'view everything included .1\naccess readers "" any noauth exact everything none none\n')
        with Process(folder, "ptpsnmpd", [
                "prlimit", f"--nofile={limit}", daemon_program(), "--config", configuration, "--source", source,
                "--listen", f"udp:127.0.0.1:{self.port}", "--listen", f"tcp:127.0.0.1:{self.port}",
                "--listen", f"unix:{self.path}", "--trace", "Snmp/off"]) as self.process:
            wait_for("the daemon is ready", lambda: "is ready" in self.process.output())
            yield
            self.assertEqual(self.process.stop(), 0)

    def connect(self, kind):
        if kind == "tcp":
            return socket.create_connection(("127.0.0.1", self.port), SILENCE)
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        # One that does not block would not wait for its turn, either.
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_SNDTIMEO, struct.pack("ll", SILENCE, 0))
        connection.connect(str(self.path))
        connection.settimeout(SILENCE)
        return connection

    def answers_over_udp(self):
        with udp_socket(self.port) as asking:
            return answered(asking)

    @contextlib.contextmanager
    def idle_connections(self):
        with contextlib.ExitStack() as stack:
            for number in range(IDLE):
                stack.enter_context(self.connect(("tcp", "unix")[number % 2]))
            yield

    def processor_seconds(self):
        fields = Path(f"/proc/{self.process.process_id}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def assert_rests(self):
        """It takes a small part of the time that goes by, once what came in before has been dealt with."""
        def rests():
            used, since = self.processor_seconds(), time.monotonic()
            wait_for("a while", lambda: time.monotonic() - since > 0.5)
            return self.processor_seconds() - used < 0.1
        wait_for("the daemon rests", rests, 5)

    def test_idle_connections_refuse_nobody(self):
        for limit in (18, 20, 24, 32, 64):
            with self.subTest(limit=limit), scratch_folder() as folder, self.daemon(folder, limit), \
                    self.idle_connections():
                for _ in range(5):
                    self.assertTrue(self.answers_over_udp())
                for kind in ("tcp", "unix"):
                    with self.connect(kind) as connection:
                        self.assertTrue(answered(connection), kind)
                self.assert_rests()

    def test_idle_connections_keep_no_service_from_being_followed(self):
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service, \
                self.daemon(folder, 20, f"ptp4l:{service.path}"):
            wait_for("rows", self.answers_over_udp)
            with self.idle_connections():
                self.assertTrue(self.answers_over_udp())
                service.__exit__()
                wait_for("no rows", lambda: not self.answers_over_udp())
                service.__enter__()
                wait_for("rows", self.answers_over_udp)

    def test_without_any_descriptor_left_whoever_connects_is_shown_out_and_the_daemon_rests(self):
        with scratch_folder() as folder, self.daemon(folder, 64):
            held = len(os.listdir(f"/proc/{self.process.process_id}/fd"))
            before = resource.prlimit(self.process.process_id, resource.RLIMIT_NOFILE, (held, 64))
            for kind in ("tcp", "unix"):
                with self.subTest(kind), self.connect(kind) as connection:
                    self.assertEqual(connection.recv(1), b"")
            self.assert_rests()
            resource.prlimit(self.process.process_id, resource.RLIMIT_NOFILE, before)
            for kind in ("tcp", "unix"):
                with self.connect(kind) as connection:
                    self.assertTrue(answered(connection), kind)


if __name__ == "__main__":
    run_tests()
