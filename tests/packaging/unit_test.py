#!/usr/bin/env python3
"""The systemd unit.

usage: PTPSNMPD=... PTPSNMP_BUILD=/path/to/build unit_test.py [unittest options]
"""

import re
import subprocess
import unittest

from harness import run_tests
from packaging import build_folder, skip_unless_installed

UNIT = build_folder() / "packaging" / "systemd" / "ptpsnmpd.service"
MOST_EXPOSURE = 1.5


class Unit(unittest.TestCase):
    def test_its_exposure_is_small(self):
        analysis = subprocess.run(["systemd-analyze", "security", "--offline=yes", "--no-pager", str(UNIT)],
                                  capture_output=True, text=True, timeout=30)
        overall = re.search(r"Overall exposure level for \S+: ([0-9.]+)", analysis.stdout)
        self.assertIsNotNone(overall, analysis.stderr)
        print(overall[0])
        self.assertLessEqual(float(overall[1]), MOST_EXPOSURE)

    def test_systemd_knows_every_line_of_it(self):
        analysis = subprocess.run(["systemd-analyze", "verify", "--man=no", str(UNIT)], capture_output=True, text=True,
                                  timeout=30)
        # The programs and units that it names need not be on this machine.
        said = [line for line in analysis.stderr.splitlines()
                if UNIT.name in line and "is not executable" not in line]
        self.assertEqual(said, [])


if __name__ == "__main__":
    skip_unless_installed("systemd-analyze")
    run_tests()
