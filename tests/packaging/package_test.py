#!/usr/bin/env python3
"""The Debian package: built, looked at, installed into a fresh Debian, run, and removed again.

usage: PTPSNMPD=... PTPSNMP_BUILD=... package_test.py [unittest options]

PTPSNMP_DEB names a package to take instead of building one, PTPSNMP_DEBIAN_ROOT a debootstrapped folder to copy instead
of making one.
"""

import contextlib
import re
import subprocess
import unittest

from harness import Failed, Snmp, command, free_udp_port, scratch_folder, wait_for
from packaging import SOURCE
from service import CONFIG, PORT_NAME, PTPBASE, ServiceTest, run_package_tests

DROP_IN = "etc/snmp/snmpd.conf.d/ptpsnmp.conf"
RESTARTS, BACK_WITHIN = 50, 10  # seconds
ENABLED = "etc/systemd/system/multi-user.target.wants/ptpsnmpd.service"


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
    """Without an init system, as in a container."""

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


class Service(ServiceTest):
    """With systemd. What it may see is the subject of sandbox_test.py."""

    def test_a_reload_does_not_interrupt_it(self):
        with self.in_service() as (_, machine):
            pid = self.wait_until_active(machine)
            machine.run("systemctl", "reload", "ptpsnmpd")
            self.assertEqual(self.wait_until_active(machine), pid)

    def test_it_comes_back_after_a_crash_and_after_a_hang(self):
        with self.in_service() as (_, machine):
            self.override(machine, "[Service]", "WatchdogSec=2")
            machine.run("systemctl", "restart", "ptpsnmpd")
            first = self.wait_until_active(machine)
            machine.run("kill", "-KILL", first)
            second = self.wait_until_active(machine, but_not_pid=first)
            machine.run("kill", "-STOP", second)
            self.wait_until_active(machine, but_not_pid=second)

    def ask_snmpd(self, machine, oid):
        return machine.run("snmpget", "-v2c", "-c", "public", "-Oqv", "-t1", "-r0", "127.0.0.1:161", oid).strip()

    def edit(self, machine, path, *replacements):
        for before, after in replacements:
            machine.run("sed", "-i", f"s|^{before}|{after}|", path)

    def test_snmpd_serves_the_tables_by_the_module_that_the_drop_in_names(self):
        with self.in_service() as (_, machine):
            self.edit(machine, f"/{DROP_IN}", ("#dlmod", "dlmod"), ("#ptpSource.*", "ptpSource demo"))
            machine.run("systemctl", "restart", "snmpd")
            wait_for("a port's name", lambda: self.ask_snmpd(machine, PORT_NAME) == '"Ethernet1"')

    def test_snmpd_serves_the_tables_over_agentx_and_may_be_killed_at_any_time(self):
        with self.in_service() as (folder, machine):
            self.edit(machine, f"/{DROP_IN}", ("#master", "master"))
            self.edit(machine, f"/{CONFIG}", ("ptpSource.*", "ptpSource demo"))
            self.override(machine, "[Service]", "ExecStart=", "ExecStart=/usr/sbin/ptpsnmpd --agentx",
                          "BindReadOnlyPaths=/var/agentx")
            machine.run("systemctl", "restart", "snmpd", "ptpsnmpd")
            shown = lambda: self.ask_snmpd(machine, PORT_NAME) == '"Ethernet1"'
            wait_for("a port's name", shown)
            walk = "while :; do snmpbulkwalk -v2c -c public -t1 -r0 127.0.0.1:161 1.3.6.1.2.1.241; done > /dev/null 2>&1"
            with machine.process(folder, "walker", "sh", "-c", walk):
                for _ in range(RESTARTS):
                    machine.run("systemctl", "kill", "--signal", "KILL", "snmpd")
                    machine.run("systemctl", "reset-failed", "snmpd")  # systemd would take so many for a fault
                    machine.run("systemctl", "restart", "snmpd")
                    wait_for("a port's name", shown, seconds=BACK_WITHIN)

    @staticmethod
    def engine(machine):
        """The SNMPv3 engine's ID and its number of starts."""
        identity, boots = machine.run("cat", "/var/lib/ptpsnmpd/engine").splitlines()
        return identity, int(boots.split()[1])

    def test_alone_it_serves_whom_the_example_for_version_3_names_and_nobody_else(self):
        with self.in_service() as (_, machine):
            machine.run("cp", "/usr/share/doc/ptpsnmp/examples/ptpsnmpd-v3.conf", f"/{CONFIG}")
            self.edit(machine, f"/{CONFIG}", ("ptpSource.*", "ptpSource demo"))
            machine.run("systemctl", "restart", "ptpsnmpd")
            user = ("-v3", "-u", "monitor", "-t1", "-r1", "-Oqv")
            authentic = ("-a", "SHA", "-A", "authentication passphrase")
            private = ("-x", "AES", "-X", "encryption passphrase")

            def get(*access):
                return machine.run("snmpget", *access, "127.0.0.1:1161", PORT_NAME).strip()

            self.assertEqual(get(*user, "-l", "authPriv", *authentic, *private), '"Ethernet1"')
            # A manager remembers the engine, which must be the same, one start older.
            identity, boots = self.engine(machine)
            machine.run("systemctl", "restart", "ptpsnmpd")
            self.assertEqual(self.engine(machine), (identity, boots + 1))
            self.assertEqual(get(*user, "-l", "authPriv", *authentic, *private), '"Ethernet1"')
            for refused in [(*user, "-l", "authNoPriv", *authentic), (*user, "-l", "noAuthNoPriv"),
                            (*user, "-l", "authPriv", *authentic, "-x", "AES", "-X", "another passphrase"),
                            ("-v2c", "-c", "public", "-t1", "-r1", "-Oqv")]:
                with self.assertRaises(Failed):
                    get(*refused)

    def test_it_is_not_started_where_policy_forbids_it(self):
        with self.in_service() as (_, machine):
            self.wait_until_active(machine)
            machine.run("dpkg", "--purge", "ptpsnmp")
            policy = "/usr/sbin/policy-rc.d"
            machine.run("sh", "-ec", 'printf "#!/bin/sh\\nexit 101\\n" > "$0"; chmod 755 "$0"', policy)
            try:
                machine.run("dpkg", "-i", f"/root/{self.package.name}")
                self.assertEqual(self.property(machine, "ActiveState"), "inactive")
            finally:
                machine.run("rm", policy)

    def test_a_purge_stops_it(self):
        with self.in_service() as (_, machine):
            pid = self.wait_until_active(machine)
            machine.run("dpkg", "--purge", "ptpsnmp")
            self.assertFalse((self.root.path / ENABLED).is_symlink())
            with self.assertRaises(Failed):
                machine.run("kill", "-0", pid)


if __name__ == "__main__":
    run_package_tests(Package, Debian, Service)
