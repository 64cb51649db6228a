"""The Debian package in service: in a booted Debian, under systemd."""

import contextlib
import os
import shutil
import unittest
from pathlib import Path

from debian_root import debian_root
from harness import command, run_tests, scratch_folder, wait_for
from packaging import SOURCE, skip, skip_unless_installed

PTPBASE = "1.3.6.1.2.1.241"
PORT_NAME = f"{PTPBASE}.1.2.9.1.5.0.2.1.1"  # of a boundary clock's port 1 in domain 0
PORT_IF_INDEX = f"{PTPBASE}.1.2.9.1.8.0.2.1.1"
CONFIG = "etc/snmp/ptpsnmpd.conf"


def make_package():
    given = os.environ.get("PTPSNMP_DEB")
    if given:
        return Path(given).resolve()
    return Path(command(str(SOURCE / "scripts" / "make-package"), timeout=1500).split()[-1])


class ServiceTest(unittest.TestCase):
    """With systemd, and a ptp4l to follow."""

    @classmethod
    def setUpClass(cls):
        cls.root.install("systemd", "systemd-sysv", "procps", "iproute2", "linuxptp", "snmp", "snmpd", cls.package)
        cls.root.run("apt-get", "-qy", "purge", "ptpsnmp")  # what it depends on stays: a booted system has no network

    @contextlib.contextmanager
    def in_service(self):
        """A machine on which the package was installed, which is all that it takes."""
        with scratch_folder() as folder, self.root.booted(folder) as machine:
            package = self.root.path / "root" / self.package.name
            shutil.copy(self.package, package)
            machine.run("dpkg", "-i", f"/root/{self.package.name}")
            try:
                yield folder, machine
            except BaseException:
                print(machine.run("journalctl", "--no-pager", "--boot", "--unit", "ptpsnmpd", "--unit", "snmpd"))
                raise
            finally:
                machine.run("dpkg", "--purge", "ptpsnmp")

    def property(self, machine, name):
        return machine.run("systemctl", "show", "--property", name, "--value", "ptpsnmpd").strip()

    def override(self, machine, *lines):
        """What `systemctl edit` does, until the machine ends."""
        folder = "/run/systemd/system/ptpsnmpd.service.d"
        machine.run("sh", "-ec", 'mkdir -p "$0"; printf "%s\\n" "$@" > "$0/override.conf"', folder, *lines)
        machine.run("systemctl", "daemon-reload")

    def wait_until_active(self, machine, but_not_pid="0"):
        """The number of the daemon's process, once it told systemd that it is ready."""
        def pid():
            number = self.property(machine, "MainPID")
            return number if self.property(machine, "ActiveState") == "active" and number != but_not_pid else None
        return wait_for("the service is active", pid, seconds=60)


def run_package_tests(*cases):
    """Runs the test cases of the main program, which find the package and a Debian in their attributes."""
    skip_unless_installed("dpkg-deb", "dpkg-shlibdeps", "lintian", "debootstrap", "unshare", "snmpbulkwalk",
                          "systemd-nspawn", "nsenter")
    if os.geteuid() != 0:
        skip("a Debian system can be made by root only")
    package = make_package()
    with debian_root() as root:
        for case in cases:
            case.package, case.root = package, root
        run_tests()
