"""What the tests of --check have in common."""

import os
import subprocess
import unittest

from harness import daemon_program

OTHER_USER = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


def check(folder, *options, under=()):
    """The exit status and what is said, in an environment with no configuration but the folder's. `under` is a command
    that runs it, such as one that makes it another user's."""
    os.chmod(folder, 0o755)
    environment = {**os.environ, "SNMPCONFPATH": str(folder)}
    arguments = [*under, daemon_program(), "--check", *map(str, options)]
    if under and subprocess.run([*under, daemon_program(), "--version"], capture_output=True, cwd="/").returncode != 0:
        raise unittest.SkipTest(f"the program cannot be run here by: {' '.join(under)}")
    result = subprocess.run(arguments, capture_output=True, text=True, timeout=60, env=environment, cwd="/",
                            stdin=subprocess.DEVNULL)
    return result.returncode, result.stdout + result.stderr


class Checks(unittest.TestCase):
    def assert_fails(self, result, *texts):
        status, said = result
        self.assertEqual(status, 1, said)
        for text in texts:
            self.assertIn(text, said)
