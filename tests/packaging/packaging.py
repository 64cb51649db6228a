"""What the packaging tests share."""

import os
import shutil
import sys
from pathlib import Path

from harness import SKIPPED, command

SOURCE = Path(__file__).parents[2]


def build_folder():
    return Path(os.environ["PTPSNMP_BUILD"])


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def skip_unless_installed(*programs):
    missing = [program for program in programs if shutil.which(program) is None]
    if missing:
        skip(f"not installed: {', '.join(missing)}")


def install_into(folder):
    """What `cmake --install` lays out, below a folder."""
    command("env", f"DESTDIR={folder}", "cmake", "--install", str(build_folder()), timeout=60)


def elf_files(folder):
    """The programs and libraries below a folder."""
    for path in sorted(Path(folder).rglob("*")):
        if path.is_file() and not path.is_symlink():
            with open(path, "rb") as file:
                if file.read(4) == b"\x7fELF":
                    yield path
