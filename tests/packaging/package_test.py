#!/usr/bin/env python3
"""The Debian package: built, looked at, installed into a fresh Debian, run, and removed again.

usage: PTPSNMPD=... PTPSNMP_BUILD=... package_test.py [unittest options]

PTPSNMP_DEB names a package to take instead of building one, PTPSNMP_DEBIAN_ROOT a debootstrapped folder to copy instead
of making one.
"""

import contextlib
import os
import re
import subprocess
import unittest
from pathlib import Path

from debian_root import debian_root
from harness import Snmp, command, free_udp_port, run_tests, scratch_folder, wait_for
from packaging import SOURCE, skip, skip_unless_installed

PTPBASE = "1.3.6.1.2.1.241"
CONFIG = "etc/snmp/ptpsnmpd.conf"
DROP_IN = "etc/snmp/snmpd.conf.d/ptpsnmp.conf"
ENABLED = "etc/systemd/system/multi-user.target.wants/ptpsnmpd.service"


def make_package():
    given = os.environ.get("PTPSNMP_DEB")
    if given:
        return Path(given).resolve()
    return Path(command(str(SOURCE / "scripts" / "make-package"), timeout=1500).split()[-1])


@contextlib.contextmanager
def installed(root, package):
    """With the package installed; purged at the end, with all that came with it."""
    root.install(package)
    try:
        yield
    finally:
        root.run("apt-get", "-qy", "purge", "ptpsnmp")
        root.run("apt-get", "-qy", "--purge", "autoremove")


class Package(unittest.TestCase):
    def test_lintian_finds_no_error(self):
        found = subprocess.run(["lintian", "--allow-root", "--tag-display-limit", "0", str(self.package)],
                               capture_output=True, text=True, timeout=300)
        print(found.stdout.strip())
        self.assertEqual([line for line in found.stdout.splitlines() if line.startswith("E:")], [])
        self.assertEqual(found.returncode, 0, found.stderr)

    def test_its_changelog_ends_with_its_version(self):
        changelog = (SOURCE / "packaging" / "deb" / "changelog").read_text(encoding="utf-8")
        self.assertEqual(re.match(r"ptpsnmp \((.*?)\)", changelog)[1],
                         command("dpkg-deb", "--field", str(self.package), "Version").strip())

    def test_every_file_belongs_to_root(self):
        for line in command("dpkg-deb", "--contents", str(self.package)).splitlines():
            self.assertEqual(line.split()[1], "root/root", line)

    def test_it_needs_the_libraries_that_it_links(self):
        needed = command("dpkg-deb", "--field", str(self.package), "Depends")
        for library in ("libc6", "libsnmp", "libnl-route-3-200", "adduser"):
            self.assertIn(library, needed)

    def test_what_an_administrator_edits_is_kept_over_upgrades(self):
        with scratch_folder() as folder:
            command("dpkg-deb", "--control", str(self.package), str(folder / "control"))
            named = (folder / "control" / "conffiles").read_text(encoding="utf-8").split()
        self.assertEqual(sorted(named), [f"/{CONFIG}", f"/{DROP_IN}"])


class Debian(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = cls.enterClassContext(debian_root())

    def status(self, path, form):
        return self.root.run("stat", "-c", form, f"/{path}").strip()

    def test_the_installed_daemon_serves_the_demo(self):
        with scratch_folder() as folder, installed(self.root, self.package):
            port = free_udp_port()
            daemon = self.root.process(folder, "ptpsnmpd", "ptpsnmpd", "--source", "demo:transparent",
                                       "--listen", f"udp:127.0.0.1:{port}")
            with daemon:
                wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
                tables = {oid.split(".")[9] for oid in Snmp(port).walk(f"{PTPBASE}.1.2")}
                self.assertEqual(len(tables), 10)

    def test_the_service_is_enabled_and_has_a_user_of_its_own(self):
        with installed(self.root, self.package):
            self.assertTrue((self.root.path / ENABLED).is_symlink())
            self.assertRegex(self.root.run("getent", "passwd", "ptpsnmpd"), r":/nonexistent:/usr/sbin/nologin$")
            self.assertEqual(self.status(CONFIG, "%U:%G %a"), "root:ptpsnmpd 640")

    def test_an_upgrade_keeps_what_the_administrator_chose(self):
        with installed(self.root, self.package):
            config = self.root.path / CONFIG
            config.write_text("ptpSource demo\n", encoding="utf-8")
            self.root.run("chmod", "0600", f"/{CONFIG}")
            (self.root.path / ENABLED).unlink()  # systemctl disable
            self.root.run("dpkg", "-i", f"/tmp/{self.package.name}")
            self.assertEqual(config.read_text(encoding="utf-8"), "ptpSource demo\n")
            self.assertEqual(self.status(CONFIG, "%a"), "600")
            self.assertFalse((self.root.path / ENABLED).is_symlink())

    def test_after_a_removal_the_configuration_stays_and_after_a_purge_nothing_but_the_user(self):
        self.root.install("adduser")
        before = self.root.files()
        with installed(self.root, self.package):
            self.root.run("apt-get", "-qy", "remove", "ptpsnmp")
            self.assertTrue((self.root.path / CONFIG).exists())
            self.assertFalse((self.root.path / "usr/sbin/ptpsnmpd").exists())
        left = {path for path in self.root.files() - before if re.search("ptp", path, re.IGNORECASE)}
        self.assertEqual(left, set())
        self.assertEqual(self.root.run("find", "/", "-xdev", "-user", "ptpsnmpd"), "")
        self.assertIn("ptpsnmpd", self.root.run("getent", "passwd", "ptpsnmpd"))


if __name__ == "__main__":
    skip_unless_installed("dpkg-deb", "dpkg-shlibdeps", "lintian", "debootstrap", "unshare", "snmpbulkwalk")
    if os.geteuid() != 0:
        skip("a Debian system can be made by root only")
    Package.package = Debian.package = make_package()
    run_tests()
