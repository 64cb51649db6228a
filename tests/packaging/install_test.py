#!/usr/bin/env python3
"""What `cmake --install` lays out.

usage: PTPSNMPD=... PTPSNMP_BUILD=/path/to/build install_test.py [unittest options]
"""

import os
import re
import stat
import unittest

from harness import Daemon, Process, Snmp, command, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for
from packaging import build_folder, elf_files, install_into, skip_unless_installed

PTPBASE = "1.3.6.1.2.1.241"


def only(paths):
    (path,) = paths
    return path


class Install(unittest.TestCase):
    def test_the_installed_daemon_runs_on_the_installed_libraries(self):
        with scratch_folder() as folder:
            install_into(folder)
            daemon = only(folder.rglob("sbin/ptpsnmpd"))
            module = only(folder.rglob("ptpsnmp/ptpbaseMIB.so"))
            for file in (daemon, module):
                platform = re.search(r"libptpsnmp-platform\S+ => (\S+)", command("ldd", str(file)))
                self.assertEqual(os.path.realpath(os.path.dirname(platform[1])), str(module.parent.resolve()))
            os.environ["PTPSNMPD"] = str(daemon)
            with Daemon(folder, "--module", str(module)) as running:
                self.assertTrue(running.snmp.walk(PTPBASE))

    def test_no_installed_program_searches_the_build_tree(self):
        with scratch_folder() as folder:
            install_into(folder)
            for file in elf_files(folder):
                paths = re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", command("readelf", "-Wd", str(file)))
                for path in ":".join(paths).split(":"):
                    self.assertTrue(not path or path.startswith("$ORIGIN"), f"{file.name}: {path}")

    def test_the_daemon_looks_for_its_module_where_it_is_installed(self):
        header = only(build_folder().rglob("BuildInfo.h")).read_text(encoding="utf-8")
        named = re.search(r'moduleFolder\[\] = "(.*)"', header)[1]
        with scratch_folder() as folder:
            install_into(folder)
            self.assertTrue((folder / named.lstrip("/") / "ptpbaseMIB.so").exists(), named)

    def test_the_configuration_is_readable_to_owner_and_group_alone(self):
        with scratch_folder() as folder:
            install_into(folder)
            config = only(folder.rglob("snmp/ptpsnmpd.conf"))
            self.assertEqual(stat.S_IMODE(config.stat().st_mode), 0o640)

    def test_a_configuration_in_the_search_path_is_read(self):
        with scratch_folder() as folder:
            install_into(folder)
            config = only(folder.rglob("snmp/ptpsnmpd.conf"))
            port = free_udp_port()
            with open(config, "a", encoding="utf-8") as file:
                file.write(f"agentAddress udp:127.0.0.1:{port}\nrocommunity elsewhere 127.0.0.1\nptpSource demo\n")
            environment = (f"SNMPCONFPATH={config.parent}", f"SNMP_PERSISTENT_DIR={folder / 'persistent'}")
            with Process(folder, "ptpsnmpd", ["env", *environment, daemon_program()]) as daemon:
                wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
                self.assertTrue(Snmp(port, community="elsewhere").walk(PTPBASE))
            self.assertEqual(list(folder.glob("persistent/*.conf")), [], "nothing is kept between two runs")

    def test_every_template_is_filled_in(self):
        with scratch_folder() as folder:
            install_into(folder)
            for path in folder.rglob("*"):
                if path.suffix in (".service", ".conf"):
                    self.assertNotRegex(path.read_text(encoding="utf-8"), r"@\w+@", path.name)


if __name__ == "__main__":
    skip_unless_installed("readelf", "ldd", "cmake")
    run_tests()
