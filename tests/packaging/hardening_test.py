#!/usr/bin/env python3
"""What an optimised build is defended with.

usage: PTPSNMPD=... PTPSNMP_BUILD=/path/to/build PTPSNMP_HARDENED=1 hardening_test.py [unittest options]
"""

import json
import os
import re
import unittest
from pathlib import Path

from harness import command, run_tests, scratch_folder
from packaging import build_folder, elf_files, install_into, skip, skip_unless_installed


class Hardening(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(scratch_folder())
        install_into(folder)
        cls.files = list(elf_files(folder))

    def test_daemon_module_and_platform_are_looked_at(self):
        self.assertGreaterEqual(len(self.files), 3)

    def test_relocations_are_done_at_start_and_read_only_after(self):
        for file in self.files:
            self.assertRegex(command("readelf", "-Wl", str(file)), r"\bGNU_RELRO\b", file.name)
            self.assertRegex(command("readelf", "-Wd", str(file)), r"\(FLAGS(_1)?\).*\b(BIND_NOW|NOW)\b", file.name)

    def test_no_stack_is_executable(self):
        for file in self.files:
            flags = re.search(r"GNU_STACK(?:\s+0x[0-9a-f]+){5}\s+([RWE]+)", command("readelf", "-Wl", str(file)))
            self.assertEqual(flags[1], "RW", file.name)

    def test_programs_can_be_loaded_anywhere(self):
        for file in self.files:
            self.assertRegex(command("readelf", "-Wh", str(file)), r"Type:\s+DYN", file.name)
            if file.parent.name == "sbin":
                self.assertRegex(command("readelf", "-Wd", str(file)), r"FLAGS_1.*\bPIE\b", file.name)

    def test_stacks_are_guarded(self):
        for file in self.files:
            self.assertIn("__stack_chk_fail", command("readelf", "-W", "--dyn-syms", str(file)), file.name)

    def test_calls_of_the_c_library_check_their_buffers(self):
        commands = json.loads((build_folder() / "compile_commands.json").read_text(encoding="utf-8"))
        self.assertTrue(commands)
        for entry in commands:
            self.assertIn("-D_FORTIFY_SOURCE=2", entry["command"], entry["file"])
        daemon = os.environ["PTPSNMPD"]
        self.assertRegex(command("readelf", "-W", "--dyn-syms", daemon), r"__\w+_chk@", Path(daemon).name)


if __name__ == "__main__":
    skip_unless_installed("readelf", "cmake")
    if os.environ.get("PTPSNMP_HARDENED") != "1":
        skip("only optimised builds without sanitizers are hardened")
    run_tests()
