#!/usr/bin/env python3
"""Manual pages and completion.

usage: PTPSNMPD=/path/to/ptpsnmpd PTPSNMP_BUILD=/path/to/build manual_test.py [unittest options]
"""

import os
import re
import subprocess
import unittest

from harness import command, run_tests
from packaging import SOURCE, build_folder, skip_unless_installed

PAGES = [build_folder() / "packaging" / "man" / name for name in ("ptpsnmpd.8", "ptpsnmpd.conf.5")]
COMPLETION = SOURCE / "packaging" / "completion" / "ptpsnmpd"


def options():
    """The long options that the daemon's help names."""
    return set(re.findall(r"^\s+(?:-\w,)?--([\w-]+)", command(os.environ["PTPSNMPD"], "--help"), re.MULTILINE))


def completed(*words):
    """What bash offers for a command line's last word."""
    script = f'source {COMPLETION}; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ptpsnmpd; echo "${{COMPREPLY[@]}}"'
    # Without a terminal, bash complains of compopt and goes on.
    result = subprocess.run(["bash", "-c", script, "bash", "ptpsnmpd", *words], capture_output=True, text=True, timeout=10)
    return result.stdout.split()


class Manual(unittest.TestCase):
    def test_neither_man_nor_mandoc_has_a_warning(self):
        for page in PAGES:
            # What mandoc says of cross references is about the machine, not about the page.
            result = subprocess.run(["mandoc", "-T", "lint", "-W", "style", str(page)], capture_output=True, text=True)
            said = [line for line in result.stdout.splitlines() if "referenced manual not found" not in line]
            self.assertEqual(said, [])
            formatted = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", str(page)],
                                       capture_output=True, text=True)
            self.assertEqual((formatted.returncode, formatted.stderr), (0, ""))

    def test_the_manual_names_every_option(self):
        page = PAGES[0].read_text(encoding="utf-8")
        for option in options():
            self.assertRegex(page, rf"(Fl|,) -{re.escape(option)}\b")

    def test_completion_offers_every_option(self):
        self.assertLessEqual({f"--{option}" for option in options()}, set(completed("--")))

    def test_completion_follows_a_source_over_its_colon(self):
        self.assertEqual(completed("--source", ""), ["demo", "replay:", "ptp4l"])
        self.assertEqual(completed("--source", "d"), ["demo"])
        self.assertEqual(completed("--source", "demo", ":"), ["transparent"])
        self.assertEqual(completed("--source", "demo", ":", "t"), ["transparent"])
        self.assertIn("/etc/passwd", completed("--source", "replay", ":", "/etc/passw"))
        self.assertIn("/etc/passwd", completed("--config", "/etc/passw"))


if __name__ == "__main__":
    skip_unless_installed("man", "mandoc", "bash")
    run_tests()
