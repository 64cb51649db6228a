"""A fresh Debian system in a folder, to install packages into."""

import contextlib
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import Failed, Process, command, wait_for
from packaging import skip

RELEASE = "bookworm"


@contextlib.contextmanager
def debian_root():
    """A DebianRoot that goes with the context: a copy of PTPSNMP_DEBIAN_ROOT where that names one, else debootstrapped."""
    with tempfile.TemporaryDirectory(prefix="ptpsnmp-root-", dir="/var/tmp") as folder:
        path = Path(folder) / "root"
        base = os.environ.get("PTPSNMP_DEBIAN_ROOT")
        if base:
            subprocess.run(["cp", "-a", "--reflink=auto", base, path], check=True)
        else:
            made = subprocess.run(["debootstrap", "--variant=minbase", RELEASE, path], capture_output=True, text=True)
            if made.returncode != 0:
                skip(f"debootstrap cannot make a Debian system here: {made.stdout.strip().splitlines()[-1]}")
        root = DebianRoot(path)
        try:
            root.run("apt-get", "-q", "update")
        except Failed as failure:
            skip(f"no Debian packages can be had here: {failure}")
        yield root


class DebianRoot:
    def __init__(self, path):
        self.path = path
        if Path("/etc/resolv.conf").exists():
            shutil.copyfile("/etc/resolv.conf", path / "etc" / "resolv.conf")

    def inside(self, *arguments):
        """A command line that runs a program there. It has /proc, in a mount namespace that ends with it."""
        enter = 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"'
        return ["unshare", "--mount", "--propagation", "private", "sh", "-ec", enter, str(self.path), *map(str, arguments)]

    def run(self, *arguments):
        """What a program prints that must succeed."""
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C.UTF-8"}
        result = subprocess.run(self.inside(*arguments), env=environment, capture_output=True, text=True, timeout=600)
        if result.returncode != 0:
            raise Failed(f"{' '.join(map(str, arguments))}: {result.stdout}{result.stderr}")
        return result.stdout + result.stderr

    def process(self, folder, name, *arguments):
        """A program that runs there until the context ends."""
        return Process(folder, name, self.inside(*arguments))

    def booted(self, folder):
        """The system running, under its own systemd: a Machine, which is halted at the end of the context."""
        return Machine(self, folder)

    def install(self, *packages):
        """Packages by name, or package files of this machine by path."""
        names = []
        for package in packages:
            if isinstance(package, Path):
                shutil.copy(package, self.path / "tmp")
                package = f"/tmp/{package.name}"
            names.append(package)
        return self.run("apt-get", "-qy", "--no-install-recommends", "install", *names)

    def files(self):
        """Every path of the system, but for those that a package manager leaves behind by its nature."""
        passing = ("tmp", "proc", "var/cache", "var/lib/apt", "var/lib/dpkg", "var/log", "etc/ld.so.cache")
        found = set()
        for folder, names, files in os.walk(self.path):
            relative = Path(folder).relative_to(self.path)
            names[:] = [name for name in names if str(relative / name) not in passing]
            found |= {str(relative / name) for name in names + files if str(relative / name) not in passing}
        return found


class Machine(Process):
    """A DebianRoot that was booted, with a network of its own: a container, its console in machine.log."""

    def __init__(self, root, folder):
        self._name = f"ptpsnmp-test-{os.getpid()}"
        # Each kind of bookkeeping outside of the container is declined: no machine's name, no journal, no unit.
        super().__init__(folder, "machine", [
            "systemd-nspawn", "--quiet", "--keep-unit", "--register=no", "--link-journal=no", "--private-network",
            f"--machine={self._name}", f"--directory={root.path}", "--boot"])

    def __enter__(self):
        super().__enter__()
        try:
            wait_for("the system is up", self._is_up, seconds=60)
        except Failed as failure:
            self.stop()
            raise unittest.SkipTest(f"no Debian system can be booted here: {failure}; {self.output()[-500:]}") from None
        return self

    def stop(self, *how):
        super().stop(*how)
        # It takes them away by itself only where /run is in memory.
        shutil.rmtree(f"/run/systemd/nspawn/propagate/{self._name}", ignore_errors=True)

    def _init(self):
        """The number that the container's process 1 has out here."""
        started = Path(f"/proc/{self._process.pid}/task/{self._process.pid}/children").read_text(encoding="ascii").split()
        if not started:
            raise Failed("nothing runs yet")
        return started[0]

    def _is_up(self):
        state = subprocess.run(self.inside("systemctl", "is-system-running"), capture_output=True, text=True, timeout=10)
        return state.stdout.strip() in ("running", "degraded")

    def inside(self, *arguments):
        enter = ["nsenter", f"--target={self._init()}", "--mount", "--uts", "--ipc", "--net", "--pid", "--root", "--wd"]
        return [*enter, "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND=noninteractive", *arguments]

    @property
    def root(self):
        """Where its file system lies out here, with all that is mounted in it."""
        return f"/proc/{self._init()}/root"

    def run(self, *arguments):
        return command(*self.inside(*arguments), timeout=120)

    def process(self, folder, name, *arguments):
        return Process(folder, name, self.inside(*arguments))
