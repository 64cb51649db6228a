#!/usr/bin/env python3
"""--check of snmpd, which shows the tables itself or through the daemon: what it says is what a stock snmpd does.

usage: PTPSNMPD=/path/to/ptpsnmpd check_snmpd_test.py [unittest options]
"""

import os
import re
import socket
import subprocess
import unittest

from checks import OTHER_USER, Checks, check
from fake_service_test import FakeService
from harness import Failed, Process, Snmp, Snmpd, free_udp_port, loader_file, run_tests, scratch_folder, wait_for

TABLES = "1.3.6.1.2.1.241.1"
VIEW = "rocommunity public default -V v"
DEFAULT_VIEW = "view v included .1.3.6.1.2.1.1"


class OwnSnmpd(Snmpd):
    """Without the access that others have."""

    def configure(self, *lines):
        lines = [f"agentAddress udp:127.0.0.1:{self.port}", *lines]
        self._configuration.write_text("".join(f"{line}\n" for line in lines))

    def __enter__(self):
        loads = str(loader_file()) in self._configuration.read_text()
        if loads and b"__asan_init" in loader_file().read_bytes():
            raise unittest.SkipTest("a module with a sanitizer can only be loaded by a program with one")
        Process.__enter__(self)
        wait_for("snmpd is ready", lambda: "NET-SNMP version" in self.output())
        return self

    def shows(self, community="public"):
        try:
            return bool(Snmp(self.port, community=community).walk(TABLES))
        except Failed:
            return False


def loading(source="demo"):
    return [f"dlmod ptpsnmp {loader_file()}", f"ptpSource {source}"]


def inside(folder, *options, under=()):
    return check(folder, "--listen", f"udp:127.0.0.1:{free_udp_port()}", *options, under=under)


class Access(Checks):
    """Of each configuration of access, whether a stock snmpd shows the tables, and what is said of it."""

    def said_of(self, *lines, community="public"):
        with scratch_folder() as folder, OwnSnmpd(folder, *loading(), *lines) as snmpd:
            # The module follows its source a moment after snmpd is ready.
            wait_for("the module serves", lambda: "serving demo" in snmpd.output())
            return snmpd.shows(community), *inside(folder)

    def assert_told(self, *lines, community="public"):
        shown, status, said = self.said_of(*lines, community=community)
        self.assertEqual(status, 0 if shown else 1, f"snmpd {'shows' if shown else 'hides'} the tables; {said}")
        self.assertNotIn("cannot be told", said)
        return shown

    def assert_untold(self, *lines):
        _, status, said = self.said_of(*lines)
        self.assertEqual(status, 0, said)
        self.assertRegex(said, "note +snmpd's access .*cannot be told")

    def test_a_view_that_hides_some_of_the_tables_is_noted_with_its_line(self):
        status, said = self.said_of(VIEW, "view v included .1.3.6.1.2.1.241",
                                    "view v excluded .1.3.6.1.2.1.241.1.2.9")[1:]
        self.assertEqual(status, 0, said)
        self.assertRegex(said, "note +snmpd's access .*some of the PTP tables are hidden by .*snmpd.conf:[0-9]+")

    def test_of_one_subtree_twice_the_first_line_holds(self):
        hidden, shown = "view v excluded .1.3.6.1.2.1.241", "view v included .1.3.6.1.2.1.241"
        self.assertFalse(self.assert_told(VIEW, hidden, shown))
        self.assertTrue(self.assert_told(VIEW, shown, hidden))

    def test_the_longest_subtree_holds(self):
        self.assertTrue(self.assert_told(VIEW, "view v included .1", "view v excluded .1.3.6.1.2.1.1"))
        self.assertFalse(self.assert_told(VIEW, "view v included .1", "view v excluded .1.3.6.1.2.1.241.1"))
        self.assertTrue(self.assert_told(VIEW, "view v excluded .1", "view v included .1.3.6.1.2.1.241.1.2"))

    def test_a_mask_is_obeyed(self):
        self.assertTrue(self.assert_told(VIEW, "view v included .1.3.6.1.2.1.7 fc"))
        self.assertFalse(self.assert_told(VIEW, "view v included .1.3.6.1.2.1.7 fe"))
        self.assertFalse(self.assert_told(VIEW, "view v included .1.3.6.1.2.1.241 # no mask"))

    def test_directives_are_told_in_any_letters_and_section(self):
        self.assertTrue(self.assert_told("ROCommunity public"))
        self.assertTrue(self.assert_told("[snmpd] rocommunity public"))
        self.assertFalse(self.assert_told("[snmp]", "rocommunity public"))

    def test_a_community_is_told_with_blanks_and_quotes(self):
        quoted = 'rocommunity "my pass" default -V v'
        self.assertTrue(self.assert_told(quoted, "view v included .1", community="my pass"))
        self.assertFalse(self.assert_told(quoted, DEFAULT_VIEW, community="my pass"))

    def test_typed_access_is_told_by_its_types(self):
        self.assertTrue(self.assert_told("authcommunity log,read public"))
        self.assertFalse(self.assert_told("authcommunity log,net public"))
        self.assertFalse(self.assert_told("authcommunity read public default -V v", DEFAULT_VIEW))

    def test_what_cannot_be_told_from_the_text_is_noted(self):
        self.assert_untold("com2sec s default public", "group g v2c s", 'access g "" any noauth exact v none none',
                           "view v included .1")
        self.assert_untold("rocommunity public default system")
        self.assert_untold(VIEW, "view v included system")
        self.assert_untold("rocommunity public default .1 otherContext")

    def test_the_name_of_iso_is_told(self):
        self.assertTrue(self.assert_told("rocommunity public default .iso"))
        self.assertTrue(self.assert_told(VIEW, "view v included .iso"))

    def test_an_included_folder_is_told_where_snmpd_finds_it(self):
        with scratch_folder() as folder:
            (folder / "more.conf").write_text("rocommunity public\n")
            (folder / "snmpd.local.conf").write_text("includeFile more.conf\n")
            with OwnSnmpd(folder, *loading(), "includeDir more") as snmpd:
                wait_for("the module serves", lambda: "serving demo" in snmpd.output())
                self.assertTrue(snmpd.shows())
                status, said = inside(folder)
                self.assertEqual(status, 0, said)

    def test_a_narrow_grant_beside_one_that_shows_the_tables_is_noted(self):
        status, said = self.said_of("rocommunity public", "rwuser x noauth .1.3.6.1.2.1.1", VIEW, DEFAULT_VIEW)[1:]
        self.assertEqual(status, 0, said)
        self.assertRegex(said, "note +snmpd's access .*rwuser x noauth")
        self.assertRegex(said, "note +snmpd's access .*-V v: its view hides")

    def test_that_nobody_may_read_is_named(self):
        self.assert_fails(self.said_of("sysName x")[1:], "snmpd lets nobody read")

    def test_the_mend_of_a_view_mends_it(self):
        for lines in ([DEFAULT_VIEW], [DEFAULT_VIEW, "view v excluded .1.3.6.1.2.1.241"],
                      ["view v included .1", "view v excluded .1.3.6.1.2.1.241.1", "view v excluded .1.3.6.1.2.1.241"]):
            with self.subTest(lines=lines), scratch_folder() as folder:
                (folder / "snmpd.conf.d").mkdir()
                configuration = [*loading(), f"includeDir {folder}/snmpd.conf.d", VIEW, *lines]
                with OwnSnmpd(folder, *configuration) as snmpd:
                    wait_for("the module serves", lambda: "serving demo" in snmpd.output())
                    self.assertFalse(snmpd.shows())
                    result = inside(folder)
                    self.assert_fails(result, f"{VIEW}: its view hides")
                apply_mend(folder / "snmpd.conf", result[1])
                with snmpd:  # started again
                    wait_for("the tables are shown", snmpd.shows)
                self.assertEqual(inside(folder)[0], 0)


def apply_mend(configuration, said):
    mend, command = re.search("mend: (.*?(echo .*)) &&", said).groups()
    removed = {int(number) for number in re.findall(rf"{re.escape(str(configuration))}:(\d+): view", mend)}
    lines = configuration.read_text().splitlines(keepends=True)
    configuration.write_text("".join(line for number, line in enumerate(lines, 1) if number not in removed))
    subprocess.run(["sh", "-c", command], check=True)


class Inside(Checks):
    def test_a_module_that_is_not_there_is_named_with_its_line(self):
        with scratch_folder() as folder:
            (folder / "snmpd.conf").write_text("rocommunity public\ndlmod ptpsnmp /nonexistent.so\nptpSource demo\n")
            self.assert_fails(inside(folder),
                              "snmpd.conf:2: dlmod ptpsnmp /nonexistent.so: /nonexistent.so: cannot open")
            (folder / "snmpd.conf").write_text("rocommunity public\ndlmod ptpsnmp nowhere\nptpSource demo\n")
            self.assert_fails(inside(folder), "/nowhere.so: cannot open")

    def test_a_source_of_snmpd_that_is_none_is_named(self):
        with scratch_folder() as folder:
            lines = ["rocommunity public", *loading("sundial")]
            (folder / "snmpd.conf").write_text("\n".join(lines))
            self.assert_fails(inside(folder), 'snmpd.conf:3: ptpSource sundial: "sundial" is not demo')
            (folder / "snmpd.conf").write_text("\n".join(["rocommunity public", *loading('"demo" # a comment')]))
            status, said = inside(folder)
            self.assertEqual(status, 0, said)

    def test_a_source_that_snmpd_does_not_read_is_named(self):
        with scratch_folder() as folder:
            lines = ["rocommunity public", *loading("demo")[::-1], "ptpSource demo"]
            (folder / "snmpd.conf").write_text("\n".join(lines))
            self.assert_fails(inside(folder), "snmpd.conf:2: ptpSource demo: stands before the dlmod line")

    def test_a_source_of_snmpd_is_tried_and_by_whom_is_said(self):
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            (folder / "snmpd.conf").write_text("\n".join(["rocommunity public", *loading(f"ptp4l:{service.path}")]))
            status, said = inside(folder)
            self.assertEqual(status, 0, said)
            self.assertRegex(said, r"ok +snmpd's ptp4l +\S+: clock 020000\.fffe\.000b01")
            self.assertRegex(said, r"note +snmpd's user +the source was tried as \w+, and no snmpd runs")

    def test_a_source_that_snmpds_user_may_not_follow_is_named(self):
        if os.geteuid() != 0:
            self.skipTest("only root can try as another user")
        with scratch_folder() as folder, FakeService(folder / "ptp4l") as service:
            os.chmod(folder, 0o755)
            os.chmod(service.path, 0o600)
            with OwnSnmpd(folder, "rocommunity public", "agentUser nobody", *loading(f"ptp4l:{service.path}")):
                result = inside(folder)
                if "but snmpd runs as" in result[1] or "no snmpd runs" in result[1]:
                    self.skipTest("another user's process cannot be seen or copied here")
                self.assert_fails(result, "not permitted to this user", "setfacl -m u:65534:rw", "tried as nobody")
                os.chmod(service.path, 0o666)
                status, said = inside(folder)
                self.assertEqual(status, 0, said)

    def test_a_configuration_that_cannot_be_read_is_noted(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        with scratch_folder() as folder:
            (folder / "snmpd.conf").write_text("rocommunity public\n")
            os.chmod(folder / "snmpd.conf", 0o600)
            status, said = inside(folder, under=OTHER_USER)
            self.assertEqual(status, 0, said)
            self.assertIn("snmpd.conf cannot be read", said)

    def test_a_recording_that_snmpd_would_look_for_elsewhere_is_named(self):
        with scratch_folder() as folder:
            (folder / "snmpd.conf").write_text("".join(f"{line}\n" for line in loading("replay:status.jsonl")))
            self.assert_fails(inside(folder), "write the whole path")


class Beside(Checks):
    def test_a_master_agent_that_is_not_there_is_named(self):
        with scratch_folder() as folder:
            self.assert_fails(check(folder, "--agentx", folder / "agentx"), "No such file", "master agentx")

    def test_a_socket_that_a_master_agent_left_is_named(self):
        with scratch_folder() as folder:
            with socket.socket(socket.AF_UNIX) as left:
                left.bind(str(folder / "agentx"))
            self.assert_fails(check(folder, "--agentx", folder / "agentx"), "a program which has ended left")

    def test_a_view_that_hides_the_tables_is_named_with_its_line(self):
        with scratch_folder() as folder, OwnSnmpd(folder, "master agentx", f"agentXSocket {folder}/agentx",
                                                  DEFAULT_VIEW, VIEW):
            self.assert_fails(check(folder, "--agentx", folder / "agentx"), f"snmpd.conf:5: {VIEW}",
                              "view v included .1.3.6.1.2.1.241")

    def test_a_line_that_loads_the_module_too_is_named(self):
        with scratch_folder() as folder, OwnSnmpd(folder, "rocommunity public", "master agentx",
                                                  f"agentXSocket {folder}/agentx", *loading()):
            self.assert_fails(check(folder, "--agentx", folder / "agentx"),
                              f"snmpd.conf:5: dlmod ptpsnmp {loader_file()}", "remove that line")

    def test_the_mend_of_the_sockets_permissions_mends_them(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        for made_before in (False, True):
            with self.subTest(made_before=made_before), scratch_folder() as folder:
                if made_before:
                    (folder / "private").mkdir(mode=0o700)
                path = folder / "private" / "agentx"
                lines = ["rocommunity public", "master agentx", f"agentXSocket {path}"]
                with OwnSnmpd(folder, *lines):
                    result = check(folder, "--agentx", path, under=OTHER_USER)
                    self.assert_fails(result, "not permitted to this user")
                permissions, folder_mode = re.search('write "(.*?)".*(chmod .*)', result[1]).groups()
                with OwnSnmpd(folder, *lines, permissions):
                    subprocess.run(["sh", "-c", folder_mode], check=True)
                    status, said = check(folder, "--agentx", path, under=OTHER_USER)
                    self.assertEqual(status, 0, said)


if __name__ == "__main__":
    run_tests()
