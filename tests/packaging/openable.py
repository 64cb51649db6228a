"""The files that a process could open, by its own view of the file system, its user and its capability.

usage: openable.py ROOT UID GID... CAPABILITY

ROOT is /proc/PID/root, UID the process's user, each GID a group of it, CAPABILITY the number of its one capability or
-1. Prints a line for each file: "read" or "write", which for a socket is to connect to it, and the path. A folder is
"write" where files can be made in it. Nothing is opened. What the unit forbids otherwise, such as system calls, is not
regarded.
"""

import ctypes
import os
import stat
import struct
import sys

PR_SET_KEEPCAPS = 8
CAPABILITY_VERSION_3 = 0x20080522
EVERYBODYS = ("/usr/lib", "/usr/lib64", "/lib", "/lib64", "/usr/share/snmp", "/proc")

libc = ctypes.CDLL(None, use_errno=True)


def checked(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), "prctl or capset")


def become(uid, groups, capability):
    checked(libc.prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0))
    os.setgroups(groups)
    os.setresgid(groups[0], groups[0], groups[0])
    os.setresuid(uid, uid, uid)
    kept = 1 << capability if capability >= 0 else 0
    checked(libc.capset(struct.pack("=Ii", CAPABILITY_VERSION_3, 0), struct.pack("=6I", kept, kept, 0, 0, 0, 0)))


def may(path, how):
    return os.access(path, how, effective_ids=True)


def is_mask(status):
    """True for the empty file without permissions that systemd puts over an inaccessible one."""
    return stat.S_IMODE(status.st_mode) == 0 and status.st_size == 0


def openable():
    for folder, names, files in os.walk("/"):
        names[:] = [name for name in names if os.path.join(folder, name) not in EVERYBODYS]
        if may(folder, os.W_OK | os.X_OK):
            yield "write", folder
        for path in (os.path.join(folder, file) for file in files):
            status = os.lstat(path)
            mode = status.st_mode
            if stat.S_ISLNK(mode) or is_mask(status):
                continue
            if not stat.S_ISSOCK(mode) and may(path, os.R_OK):
                yield "read", path
            if may(path, os.W_OK):
                yield "write", path


def main():
    root, uid, *groups, capability = sys.argv[1:]
    os.chroot(root)
    os.chdir("/")
    become(int(uid), [int(group) for group in groups], int(capability))
    for how, path in openable():
        print(how, path)


if __name__ == "__main__":
    main()
