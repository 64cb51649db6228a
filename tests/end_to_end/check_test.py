#!/usr/bin/env python3
"""--check: each thing that keeps the daemon from its work is named, with what mends it.

usage: PTPSNMPD=/path/to/ptpsnmpd check_test.py [unittest options]
"""

import os
import socket
import subprocess
from pathlib import Path

from checks import OTHER_USER, Checks, check
from fake_service_test import PORT_STATS, FakeService
from harness import Daemon, free_udp_port, run_tests, scratch_folder


def alone_on(port):
    return ["--listen", f"udp:127.0.0.1:{port}"]


def alone():
    return alone_on(free_udp_port())


class Check(Checks):
    def test_where_everything_works_it_says_so(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            status, said = check(folder, "--source", f"ptp4l:{service.path}", *alone())
            self.assertEqual(status, 0, said)
            self.assertNotIn("FAILS", said)
            self.assertRegex(said, r"ok +ptp4l +\S+: clock 020000\.fffe\.000b01 in domain 0, \d+ ports?\n")

    def test_a_port_that_a_daemon_has_is_noted(self):
        with scratch_folder() as folder, Daemon(folder) as daemon:
            status, said = check(folder, "--listen", f"udp:127.0.0.1:{daemon.port}")
            self.assertEqual(status, 0, said)
            self.assertIn(f"Address already in use, by a ptpsnmpd that runs (process {daemon.process_id})", said)

    def test_a_port_that_another_program_has_is_named_among_others_and_by_its_protocol(self):
        with scratch_folder() as folder, socket.socket() as other:
            other.bind(("127.0.0.1", 0))
            other.listen()
            port = other.getsockname()[1]
            with Daemon(folder):  # a daemon that runs elsewhere is not to blame
                result = check(folder, *alone(), "--listen", f"tcp:127.0.0.1:{port}")
            self.assert_fails(result, f"tcp:127.0.0.1:{port}: Address already in use", f"ss -ltnp 'sport = :{port}'")
            self.assertRegex(result[1], r"ok +addresses +udp:127\.0\.0\.1:\d+ can be opened")

    def test_an_address_twice_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, *2 * alone_on(free_udp_port())), "Address already in use")

    def test_a_port_that_takes_a_capability_is_named_with_it(self):
        if int(Path("/proc/sys/net/ipv4/ip_unprivileged_port_start").read_text()) <= 163:
            self.skipTest("everybody may open every port here")
        with scratch_folder() as folder:
            under = OTHER_USER if os.geteuid() == 0 else ()
            self.assert_fails(check(folder, "--listen", "udp:127.0.0.1:163", under=under), "Permission denied",
                              "CAP_NET_BIND_SERVICE")

    def test_an_address_that_this_machine_does_not_have_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--listen", "udp:192.0.2.1:1161"), "Cannot assign requested address",
                              "ip address")

    def test_an_address_that_is_none_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--listen", "carrier:pigeon"), "carrier:pigeon: no address",
                              "LISTENING ADDRESSES")

    def test_a_socket_of_a_daemon_that_runs_stays(self):
        with scratch_folder() as folder:
            with socket.socket(socket.AF_UNIX) as other:
                other.bind(str(folder / "snmp"))
                other.listen()
                inode = os.stat(folder / "snmp").st_ino
                for transport in ["unix", "UNIX"]:
                    said = check(folder, "--listen", f"{transport}:{folder}/snmp")[1]
                    self.assertIn("somebody serves there", said)
                    self.assertEqual(os.stat(folder / "snmp").st_ino, inode)

    def test_it_is_no_start_of_the_engine(self):
        with scratch_folder() as folder:
            check(folder, "--source", "demo", under=["env", f"STATE_DIRECTORY={folder}"])
            self.assertEqual(os.listdir(folder), [])

    def test_a_path_at_which_no_socket_can_be_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--listen", f"unix:{folder}/none/snmp"), "none: No such file")
            self.assert_fails(check(folder, "--listen", f"unix:{folder}/{'x' * 108}"), "name too long")

    def test_a_pid_file_that_cannot_be_made_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, *alone(), "--pid-file", folder / "none" / "pid"), "pid file",
                              "No such file")
            self.assert_fails(check(folder, *alone(), "--pid-file", folder), "pid file", "Is a directory")
            (folder / "other").write_text("data\n")
            os.link(folder / "other", folder / "link")
            self.assert_fails(check(folder, *alone(), "--pid-file", folder / "link"), "pid file", "hard link")
            status, said = check(folder, *alone(), "--pid-file", folder / "pid")
            self.assertEqual((status, (folder / "pid").exists()), (0, False), said)

    def test_a_pid_file_of_a_daemon_that_runs_is_noted(self):
        with scratch_folder() as folder, Daemon(folder, "--pid-file", folder / "pid"):
            status, said = check(folder, *alone(), "--pid-file", folder / "pid")
            self.assertEqual(status, 0, said)
            self.assertRegex(said, "note +pid file .*holds it")

    def test_a_folder_that_the_socket_to_ptp4l_needs_is_named(self):
        if os.geteuid() != 0:
            self.skipTest("only root can mount")
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            read_only = "".join(f"mount --bind {name} {name} && mount -o remount,bind,ro {name} && "
                                for name in ("/run", "/tmp"))
            unset = 'exec env -u RUNTIME_DIRECTORY -u XDG_RUNTIME_DIR "$@"'
            under = ["unshare", "--mount", "sh", "-c", f"{read_only} {unset}", "sh"]
            if subprocess.run([*under, "true"], capture_output=True).returncode != 0:
                self.skipTest("mounting is not permitted here")
            result = check(folder, "--source", f"ptp4l:{service.path}", *alone(), under=under)
            self.assert_fails(result, "no directory for the management socket", "RUNTIME_DIRECTORY")
            self.assertRegex(result[1], "ok +addresses")

    def test_a_bad_line_of_the_configuration_is_named(self):
        with scratch_folder() as folder:
            (folder / "ptpsnmpd.conf").write_text("\nptpPoll never\n")
            result = check(folder, *alone())
            self.assert_fails(result, f"{folder}/ptpsnmpd.conf: line 2", "ptpPoll")
            self.assertEqual(result[1].count("FAILS"), 1, result[1])

    def test_a_configuration_that_may_not_be_read_is_named(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        with scratch_folder() as folder:
            (folder / "own.conf").write_text("ptpSource demo\n")
            os.chmod(folder / "own.conf", 0o600)
            self.assert_fails(check(folder, "--config", folder / "own.conf", *alone(), under=OTHER_USER),
                              f"configuration  {folder}/own.conf: Permission denied")

    def test_a_missing_socket_of_ptp4l_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}/ptp4l", *alone()), "there is no such socket",
                              "systemctl start ptp4l@")

    def test_a_socket_that_ptp4l_left_is_told_from_one_that_it_reads(self):
        with scratch_folder() as folder:
            with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as left:
                left.bind(str(folder / "ptp4l"))
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}/ptp4l", *alone()), "nobody listens",
                              "a socket that a program which has ended left")

    def test_what_is_no_socket_of_ptp4l_is_called_what_it_is(self):
        with scratch_folder() as folder:
            (folder / "file").touch()
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}/file", *alone()), "a regular file, no socket")
            self.assert_fails(check(folder, "--source", f"ptp4l:{folder}", *alone()), "a folder, no socket")

    def test_a_socket_that_is_not_permitted_is_named(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            os.chmod(service.path, 0o600)
            result = check(folder, "--source", f"ptp4l:{service.path}", *alone(), under=OTHER_USER)
            self.assert_fails(result, "not permitted", "setfacl -m u:65534:rw")

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


if __name__ == "__main__":
    run_tests()
