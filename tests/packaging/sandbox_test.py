#!/usr/bin/env python3
"""The service's sandbox in a booted Debian: the files that it sees, and ptp4l's socket in each way to reach it.

usage: PTPSNMPD=... PTPSNMP_BUILD=... sandbox_test.py [unittest options]

PTPSNMP_DEB and PTPSNMP_DEBIAN_ROOT are those of package_test.py.
"""

import contextlib
import re
import sys
from pathlib import Path

from harness import Failed, command, wait_for
from service import CONFIG, PORT_IF_INDEX, PORT_NAME, ServiceTest, run_package_tests

CAP_DAC_OVERRIDE, NO_CAPABILITY = 1, -1
EXAMPLES = "/usr/share/doc/ptpsnmp/examples"
UNITS = "/run/systemd/system"  # for drop-ins that go with the machine

# Outside of /proc, of libraries and MIB files, and of /run. docs/security.md tells them.
DEVICES = {"null", "zero", "full", "random", "urandom", "tty"}
ETC = {"ld.so.cache", "snmp/snmp.conf", "snmp/ptpsnmpd.conf", "hosts.allow", "hosts.deny", "ssl/openssl.cnf",
       "nsswitch.conf", "host.conf", "hosts", "resolv.conf", "gai.conf", "services", "protocols", "passwd", "group"}
SEEN = ({("read", f"/etc/{file}") for file in ETC}
        | {(how, f"/dev/{device}") for how in ("read", "write") for device in DEVICES}
        | {("read", "/bin/kill"), ("read", "/usr/sbin/ptpsnmpd"), ("read", "/var/lib/ptpsnmpd/engine"),
           ("write", "/var/lib/ptpsnmpd"), ("write", "/var/lib/ptpsnmpd/engine"), ("write", "/tmp"),
           ("write", "/var/tmp")})
# The parts of /run that the service needs.
OWN_RUN = {("write", "/run/systemd/notify"), ("write", "/run/ptpsnmpd"), ("write", "/run/ptpsnmpd/ptpsnmpd-*"),
           ("write", "/run/ptpsnmpd/ptpsnmpd-*/client")}
# Notes of Debian's boot and its tools, without secrets, seen where all of /run is.
NOTES = {("read", "/run/utmp"), ("read", "/run/adduser"), ("read", "/run/agetty.reload"), ("read", "/run/motd.dynamic")}

SECRETS = ("/etc/krb5.keytab", "/etc/security/opasswd", "/etc/ssl/private/host.key", "/etc/letsencrypt/live/key.pem",
           "/etc/shadow-old", "/etc/frr/frr.conf", "/home/somebody/.ssh/id", "/root/.netrc", "/srv/secret",
           "/opt/product/secret", "/data/secret", "/usr/local/etc/secret", "/var/lib/other/secret", "/var/spool/secret",
           "/dev/shm/secret")
KNOWN_SOCKETS = ("/run/docker.sock", "/run/containerd/containerd.sock", "/run/podman/podman.sock", "/run/frr/zebra.vty",
                 "/run/bird/bird.ctl", "/run/systemd/io.unknown", "/run/user/0/bus")
UNKNOWN_SOCKET = "/run/unknown.sock"


def in_general(path):
    """The path with a * for what mkdtemp made up."""
    return re.sub(r"(/ptpsnmpd-)\w{6}(?=/|$)", r"\1*", path)


class Sandbox(ServiceTest):
    def openable(self, machine, capability=CAP_DAC_OVERRIDE):
        """Pairs of "read" or "write" and a path: what the service's process may open."""
        pid = self.wait_until_active(machine)
        ids = [machine.run("id", option, "ptpsnmpd").strip() for option in ("-u", "-g")]
        groups = re.search(r"Groups:(.*)", machine.run("cat", f"/proc/{pid}/status"))[1].split()
        said = command(sys.executable, str(Path(__file__).with_name("openable.py")), f"{machine.root}/proc/{pid}/root",
                       *ids, *groups, str(capability), timeout=60)
        return {(how, in_general(path)) for how, path in (line.split(" ", 1) for line in said.splitlines())}

    def plant(self, machine, *paths):
        make = 'for path; do mkdir -p "${path%/*}"; echo secret > "$path"; chmod 600 "$path"; done'
        machine.run("sh", "-ec", make, "plant", *paths)

    def plant_sockets(self, machine, *paths):
        """Sockets of root's, of transient units: systemd makes the folders, too."""
        for number, path in enumerate(paths):
            machine.run("systemd-run", "--quiet", f"--unit=planted{number}", f"--socket-property=ListenStream={path}",
                        "--socket-property=SocketMode=0600", "true")

    def drop_in(self, machine, unit, *lines):
        folder = f"{UNITS}/{unit}.d"
        machine.run("sh", "-ec", 'mkdir -p "$0"; printf "%s\\n" "$@" > "$0/test.conf"', folder, *lines)
        machine.run("systemctl", "daemon-reload")

    def configure(self, machine, *lines):
        machine.run("sh", "-ec", 'printf "%s\\n" "$@" > "$0"', f"/{CONFIG}", *lines)

    def configure_ptp4l(self, machine, *lines):
        """Of Debian's unit ptp4l@, on an interface ptp0."""
        config = ("[global]", "time_stamping software", "free_running 1", "network_transport L2", *lines)
        (self.root.path / "etc" / "linuxptp" / "ptp4l.conf").write_text("\n".join(config) + "\n", encoding="utf-8")
        machine.run("ip", "link", "add", "ptp0", "up", "type", "veth", "peer", "name", "ptp1")
        machine.run("ip", "link", "set", "ptp1", "up")

    def get(self, machine, oid, port=1161):
        return machine.run("snmpget", "-v2c", "-c", "public", "-t1", "-r0", "-Oqv", f"127.0.0.1:{port}", oid).strip()

    def wait_for_row(self, machine):
        """The port's row, with the number that its interface has for a ptp4l of the same network namespace."""
        wait_for("the port's row", lambda: self.get(machine, PORT_NAME) == '"ptp0"')
        index = machine.run("cat", "/sys/class/net/ptp0/ifindex").strip()
        wait_for("its interface", lambda: self.get(machine, PORT_IF_INDEX) == index)

    def wait_for_no_row(self, machine):
        wait_for("no row", lambda: "No Such" in self.get(machine, PORT_NAME))

    def assert_has_no_capability(self, machine):
        status = machine.run("cat", f"/proc/{self.wait_until_active(machine)}/status")
        self.assertEqual(set(re.findall(r"Cap\w+:\s(\w+)", status)), {"0" * 16})

    def assert_ptp4l_may_restart(self, machine):
        """Restarted, killed, and away for a while, which leaves its socket behind or makes it anew."""
        machine.run("systemctl", "restart", "ptp4l@ptp0")
        for signal in ("TERM", "KILL"):
            machine.run("systemctl", "kill", "--signal", signal, "ptp4l@ptp0")
            self.wait_for_no_row(machine)
            machine.run("systemctl", "start", "ptp4l@ptp0")
            self.wait_for_row(machine)

    def test_it_is_one_user_with_one_capability_and_gains_no_other(self):
        with self.in_service() as (_, machine):
            status = machine.run("cat", f"/proc/{self.wait_until_active(machine)}/status")
            self.assertRegex(status, r"CapBnd:\s0{15}2\n")  # CAP_DAC_OVERRIDE
            self.assertRegex(status, r"NoNewPrivs:\s1\n")
            self.assertNotRegex(status, r"Uid:\s0")

    def test_it_sees_the_files_that_it_needs_and_no_other(self):
        with self.in_service() as (_, machine):
            self.plant(machine, *SECRETS)
            machine.run("systemctl", "restart", "ptpsnmpd")
            seen = {(how, path) for how, path in self.openable(machine) if not path.startswith("/run/")}
            self.assertEqual(seen - SEEN, set())
            for needed in ("/etc/snmp/ptpsnmpd.conf", "/etc/hosts.deny", "/etc/nsswitch.conf"):
                self.assertIn(("read", needed), seen)

    def test_of_run_it_sees_what_is_neither_known_nor_its_own_as_the_manual_says(self):
        with self.in_service() as (_, machine):
            self.plant_sockets(machine, *KNOWN_SOCKETS, UNKNOWN_SOCKET)
            self.configure_ptp4l(machine)
            machine.run("systemctl", "start", "ptp4l@ptp0")
            machine.run("systemctl", "restart", "ptpsnmpd")
            self.wait_for_row(machine)
            seen = {(how, path) for how, path in self.openable(machine) if path.startswith("/run/")}
            self.assertEqual(seen - NOTES, OWN_RUN | {("write", "/run/ptp4l"), ("write", UNKNOWN_SOCKET)})

    def test_it_follows_a_ptp4l_of_root_that_restarts(self):
        with self.in_service() as (_, machine):
            self.configure_ptp4l(machine)
            machine.run("systemctl", "start", "ptp4l@ptp0")
            self.wait_for_row(machine)
            self.assert_ptp4l_may_restart(machine)

    def test_with_ptp4ls_socket_in_a_folder_of_its_own_it_sees_nothing_else_of_run_and_needs_no_capability(self):
        with self.in_service() as (_, machine):
            self.plant_sockets(machine, *KNOWN_SOCKETS, UNKNOWN_SOCKET)
            self.configure_ptp4l(machine, "uds_address /run/ptp/ptp4l")
            self.configure(machine, "ptpSource ptp4l:/run/ptp/ptp4l")
            example = f"{EXAMPLES}/own-folder"
            machine.run("systemd-tmpfiles", "--create", f"{example}/ptp4l-tmpfiles.conf")
            machine.run("mkdir", "-p", f"{UNITS}/ptpsnmpd.service.d")
            machine.run("cp", f"{example}/run.conf", f"{UNITS}/ptpsnmpd.service.d")
            machine.run("systemctl", "daemon-reload")
            machine.run("systemctl", "restart", "ptpsnmpd", "ptp4l@ptp0")
            self.wait_for_row(machine)
            self.assert_has_no_capability(machine)
            seen = {(how, path) for how, path in self.openable(machine, NO_CAPABILITY) if path.startswith("/run/")}
            self.assertEqual(seen, OWN_RUN | {("write", "/run/ptp/ptp4l")})
            self.assert_ptp4l_may_restart(machine)
            machine.run("systemctl", "reload", "ptpsnmpd")
            self.wait_for_row(machine)

    def test_with_ptp4ls_socket_given_to_a_group_it_needs_no_capability(self):
        with self.in_service() as (_, machine):
            self.configure_ptp4l(machine)
            machine.run("groupadd", "--force", "--system", "ptp")
            self.drop_in(machine, "ptp4l@.service", "[Service]", "ExecStartPre=-/bin/rm -f /run/ptp4l",
                         "ExecStartPost=/bin/sh -c 'until [ -S /run/ptp4l ]; do sleep 0.1; done; chgrp ptp /run/ptp4l'")
            self.drop_in(machine, "ptpsnmpd.service", "[Service]", "AmbientCapabilities=", "CapabilityBoundingSet=",
                         "SupplementaryGroups=ptp")
            machine.run("systemctl", "restart", "ptpsnmpd", "ptp4l@ptp0")
            self.wait_for_row(machine)
            self.assert_has_no_capability(machine)
            self.assert_ptp4l_may_restart(machine)

    def test_a_recording_lies_in_the_folder_of_the_configuration_or_in_one_that_a_drop_in_names(self):
        with self.in_service() as (_, machine):
            status = ('{"at":0,"status":{"defaultDS":{"clockIdentity":"020000.fffe.000001","clockMode":"boundary"},'
                      '"ports":{"020000.fffe.000001-1":{"portName":"recorded"}}}}')
            with contextlib.ExitStack() as cleanup:
                for folder in ("/etc/snmp", "/srv/recordings"):
                    self.plant(machine, f"{folder}/test.jsonl")
                    cleanup.callback(machine.run, "rm", f"{folder}/test.jsonl")
                    machine.run("sh", "-ec", 'echo "$1" > "$0"; chmod 644 "$0"', f"{folder}/test.jsonl", status)
                    self.configure(machine, f"ptpSource replay:{folder}/test.jsonl")
                    self.drop_in(machine, "ptpsnmpd.service", "[Service]", "BindReadOnlyPaths=-/srv/recordings")
                    machine.run("systemctl", "restart", "ptpsnmpd")
                    self.wait_until_active(machine)
                    wait_for("the port", lambda: self.get(machine, PORT_NAME) == '"recorded"')

    def test_names_and_ports_below_1024_can_be_served_on(self):
        with self.in_service() as (_, machine):
            (self.root.path / "etc" / "hosts").write_text("127.0.0.1 localhost\n", encoding="utf-8")
            machine.run("systemctl", "stop", "snmpd")
            self.configure(machine, "ptpSource demo", "agentAddress udp:localhost:161", "rocommunity public localhost")
            self.drop_in(machine, "ptpsnmpd.service", "[Service]", "AmbientCapabilities=CAP_NET_BIND_SERVICE",
                         "CapabilityBoundingSet=CAP_NET_BIND_SERVICE")
            machine.run("systemctl", "restart", "ptpsnmpd")
            wait_for("a port's name", lambda: self.get(machine, PORT_NAME, port=161) == '"Ethernet1"')

    def test_hosts_that_hosts_deny_names_get_no_answer(self):
        with self.in_service() as (_, machine):
            deny = self.root.path / "etc" / "hosts.deny"
            before = deny.read_text(encoding="utf-8")
            self.configure(machine, "ptpSource demo")
            try:
                deny.write_text("ptpsnmpd: ALL\n", encoding="utf-8")
                machine.run("systemctl", "restart", "ptpsnmpd")
                self.wait_until_active(machine)
                with self.assertRaisesRegex(Failed, "Timeout"):
                    self.get(machine, PORT_NAME)
            finally:
                deny.write_text(before, encoding="utf-8")
            machine.run("systemctl", "restart", "ptpsnmpd")
            wait_for("a port's name", lambda: self.get(machine, PORT_NAME) == '"Ethernet1"')


if __name__ == "__main__":
    run_package_tests(Sandbox)
