#!/usr/bin/env python3
"""--check: each thing that keeps the daemon from its work is named, with what mends it.

usage: PTPSNMPD=/path/to/ptpsnmpd check_test.py [unittest options]
"""

import os
import socket
import subprocess
import unittest

from fake_service_test import PORT_STATS, FakeService
from harness import Daemon, Snmpd, daemon_program, free_udp_port, run_tests, scratch_folder

VIEW = "rocommunity public default -V systemonly"


def check(folder, *options):
    """The exit status and what is said, in an environment with no configuration but the folder's."""
    environment = {**os.environ, "SNMPCONFPATH": str(folder)}
    result = subprocess.run([daemon_program(), "--check", *map(str, options)], capture_output=True, text=True, timeout=60,
                            env=environment, stdin=subprocess.DEVNULL)
    return result.returncode, result.stdout + result.stderr


def alone():
    return ["--listen", f"udp:127.0.0.1:{free_udp_port()}"]


class Check(unittest.TestCase):
    def assert_fails(self, result, *texts):
        status, said = result
        self.assertEqual(status, 1, said)
        for text in texts:
            self.assertIn(text, said)

    def test_where_everything_works_it_says_so(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            status, said = check(folder, "--source", f"ptp4l:{service.path}", *alone())
            self.assertEqual(status, 0, said)
            self.assertNotIn("FAILS", said)
            self.assertRegex(said, r"ok +ptp4l +\S+: clock 020000\.fffe\.000b01 in domain 0, \d+ ports")

    def test_a_port_in_use_is_named(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            self.assert_fails(check(folder, "--listen", f"udp:127.0.0.1:{daemon.port}"),
                              "Address already in use", f"ss -lunp 'sport = :{daemon.port}'")

    def test_a_bad_line_of_the_configuration_is_named(self):
        with scratch_folder() as folder:
            (folder / "ptpsnmpd.conf").write_text("\nptpPoll never\n")
            self.assert_fails(check(folder, *alone()), f"{folder}/ptpsnmpd.conf: line 2", "ptpPoll")

    def test_a_missing_socket_of_ptp4l_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}/ptp4l", *alone()), "there is no such socket",
                              "systemctl start ptp4l@")

    def test_a_socket_that_ptp4l_left_is_told_from_one_that_it_reads(self):
        with scratch_folder() as folder:
            with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as left:
                left.bind(str(folder / "ptp4l"))
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}/ptp4l", *alone()), "nobody listens")

    def test_a_socket_that_is_not_permitted_is_named(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            os.chmod(folder, 0o755)
            os.chmod(service.path, 0o600)
            result = subprocess.run(
                ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", daemon_program(), "--check",
                 "--source", f"ptp4l:{service.path}", *alone()],
                capture_output=True, text=True, timeout=60, env={**os.environ, "SNMPCONFPATH": str(folder)}, cwd="/")
            if "Permission denied" in result.stderr or result.returncode > 1:
                self.skipTest(f"another user cannot run the program here: {result.stderr.strip()}")
            self.assert_fails((result.returncode, result.stdout), "not permitted", "setfacl -m u:65534:rw")

    def test_a_clock_that_never_answers_is_named(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            service.tell(silent=True)
            self.assert_fails(check(folder, "--source", f"ptp4l:{service.path}", *alone()), "connected, but no answer",
                              "transparent clock")

    def test_a_ptp4l_without_counters_is_noted(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            service.tell(refuse=[PORT_STATS])
            status, said = check(folder, "--source", f"ptp4l:{service.path}", *alone())
            self.assertEqual(status, 0, said)
            self.assertRegex(said, "note +counters")

    def test_a_replay_that_cannot_be_read_is_named(self):
        with scratch_folder() as folder:
            (folder / "bad.jsonl").write_text("{oh\n")
            self.assert_fails(check(folder, "--source", f"replay:{folder}/bad.jsonl", *alone()), f"{folder}/bad.jsonl:1")

    def test_a_master_agent_that_is_not_there_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--agentx", folder / "agentx"), "No such file", "master agentx")

    def test_a_view_that_hides_the_tables_is_named_with_the_line_that_opens_it(self):
        with scratch_folder() as folder, Snmpd(folder, "master agentx", f"agentXSocket {folder}/agentx",
                                               "view systemonly included .1.3.6.1.2.1.1", VIEW) as snmpd:
            self.assert_fails(check(folder, "--agentx", folder / "agentx"), f"snmpd.conf:7: {VIEW}",
                              "view systemonly included .1.3.6.1.2.1.241")
            snmpd.configure("master agentx", f"agentXSocket {folder}/agentx", "view systemonly included .1.3.6.1.2.1.1",
                            VIEW, "includeDir more")
            (folder / "more").mkdir()
            (folder / "more" / "ptp.conf").write_text("view systemonly included .1.3.6.1.2.1.241\n")
            self.assertEqual(check(folder, "--agentx", folder / "agentx")[0], 0)


if __name__ == "__main__":
    run_tests()
