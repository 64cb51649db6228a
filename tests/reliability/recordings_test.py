#!/usr/bin/env python3
"""Recordings that are large or hostile, followed by a daemon that is asked without pause: requests are answered while
a line is read, whatever its bytes are.

usage: PTPSNMPD=/path/to/ptpsnmpd recordings_test.py [unittest options]
"""

import contextlib
import json
import os
import signal
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from harness import Daemon, Process, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import GET, ask, reading, udp_socket  # noqa: E402

SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
LINE = (2 if SANITIZED else 15.8) * (1 << 20)  # bytes; 16 MiB is the limit
BLANK = (16 if SANITIZED else 256) * (1 << 20)  # bytes
LONGEST_ANSWER = 1 if SANITIZED else 0.1  # seconds
APPLIED = 60 if SANITIZED else 10  # seconds, for all ports that a clock can have
PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)
CLOCK = "001122.fffe.334455"


def status_line(at, status):
    return f'{{"at":{at},"status":{status}}}\n'.encode()


def clock_line(at, priority1):
    clock = {"clockIdentity": CLOCK, "clockMode": 1, "priority1": priority1}
    return status_line(at, json.dumps({"defaultDS": clock}))


def filled(head, member, tail):
    """A text of LINE bytes: {} in a member becomes its number."""
    members, size = [], 0
    while size < LINE:
        members.append(member.replace("{}", format(len(members), "x")))
        size += len(members[-1]) + 1
    return head + ",".join(members) + tail


HOSTILE = {
    "blank lines": lambda at: b"\n" * BLANK,
    "a blank line": lambda at: b" " * int(LINE) + b"\n",
    "a text": lambda at: status_line(at, '{"x":"' + "x" * int(LINE) + '"}'),
    "a number": lambda at: status_line(at, '{"x":' + "9" * int(LINE) + "}"),
    "a gap": lambda at: status_line(at, "{" + "\t" * int(LINE) + "}"),
    "gaps": lambda at: status_line(at, filled("{", '"{}":' + "\t" * 10000 + "null", "}")),
    "numbers": lambda at: status_line(at, filled('{"x":[', "1", "]}")),
    "numbers that take long": lambda at: status_line(at, filled('{"x":[', "1.7e-4940", "]}")),
    "names": lambda at: status_line(at, filled("{", '"{}":1', "}")),
    "names that remove nothing": lambda at: status_line(at, filled("{", '"{}":null', "}")),
    "names and an error": lambda at: status_line(at, filled("{", '"{}":1', ",x}")),
    "a name twice": lambda at: status_line(at, filled("{", '"{}":1', ',"0":1}')),
    "nesting": lambda at: status_line(at, filled("{", '"{}":' + '{"a":' * 13 + "1" + "}" * 13, "}")),
    "brackets": lambda at: b"[" * int(LINE) + b"\n",
    "ports of no clock": lambda at: status_line(at, filled('{"ports":{', '"{}":{"portState":5}', "}}")),
    "interfaces": lambda at: status_line(at, filled('{"interfaces":{', '"{}":1', "}}")),
}


def all_ports():
    """Of one clock, in a line near the limit."""
    members = ('"interface":"Ethernet{}","portState":"master","role":"master","delayMechanism":"e2e","transport":"ipv4",'
               '"logAnnounceInterval":1,"announceReceiptTimeout":3,"mibData":{"packetsSent":5,"packetsReceived":6}')
    return '{"ports":{' + ",".join(f'"{CLOCK}-{number}":{{{members.replace("{}", str(number))}}}'
                                   for number in range(1, 65536)) + "}}"


def longest_answer(port, priority1, seconds=300):
    """The longest time that a request took until the clock showed this priority."""
    longest, deadline = 0, time.monotonic() + seconds
    with udp_socket(port) as asking:
        while time.monotonic() < deadline:
            before = time.monotonic()
            response = ask(asking, reading(GET, [PRIORITY1]), seconds)
            longest = max(longest, time.monotonic() - before)
            if response.varbinds[0][2] == priority1:
                return longest
    raise TimeoutError(f"priority1 did not become {priority1}")


class Recordings(unittest.TestCase):
    @contextlib.contextmanager
    def recording(self, *lines):
        with scratch_folder() as folder:
            file = folder / "status.jsonl"
            with open(file, "wb") as recording:
                for line in lines:
                    recording.write(line)
            yield folder, f"replay:{file}"

    def test_no_line_keeps_requests_waiting_while_it_is_read(self):
        """Lost: nothing. The line after it is shown."""
        for kind, line in HOSTILE.items():
            # A line is read ahead when the one before it has been shown.
            with (self.subTest(kind),
                  self.recording(clock_line(0, 1), clock_line(0.3, 2), clock_line(0.5, 3), line(0.5),
                                 clock_line(0.5, 4)) as (folder, source),
                  Daemon(folder, "--source", source, "--trace", "Snmp/off") as daemon):
                quiet = longest_answer(daemon.port, 2)
                start = time.monotonic()
                longest = longest_answer(daemon.port, 4)
                print(f"{kind}: read in {time.monotonic() - start:.1f} s, answers within {longest * 1000:.0f} ms; "
                      f"before, within {quiet * 1000:.0f} ms", file=sys.stderr)
                self.assertLess(longest, max(LONGEST_ANSWER, 10 * quiet))
                self.assertEqual(daemon.stop(), 0)

    def test_a_status_of_all_ports_is_read_beside_requests_and_applied_at_once(self):
        """Lost: the time of the application, in which nobody may see half of it."""
        with (self.recording(clock_line(0, 1), clock_line(0.5, 2), status_line(0.5, all_ports()),
                             clock_line(0.5, 3)) as (folder, source),
              Daemon(folder, "--source", source, "--trace", "Snmp/off") as daemon):
            longest = longest_answer(daemon.port, 3)
            print(f"65535 ports: answers within {longest * 1000:.0f} ms", file=sys.stderr)
            self.assertLess(longest, APPLIED)
            self.assertEqual(daemon.stop(), 0)

    def test_a_line_that_is_half_read_holds_up_neither_a_reload_nor_the_end(self):
        """Lost: that line."""
        slow = HOSTILE["numbers that take long"](0.5)
        with self.recording(clock_line(0, 1), clock_line(0.5, 2), slow, clock_line(0.5, 3)) as (folder, source):
            other = folder / "other.jsonl"
            other.write_bytes(clock_line(0, 4))
            configuration, port = folder / "ptpsnmpd.conf", free_udp_port()
            follow = lambda what: configuration.write_text(f"rocommunity public 127.0.0.1\nptpSource {what}\n")
            follow(source)
            with Process(folder, "ptpsnmpd", [daemon_program(), "--config", configuration, "--listen",
                                              f"udp:127.0.0.1:{port}", "--trace", "Snmp/off"]) as daemon:
                wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
                longest_answer(port, 2)
                follow(f"replay:{other}")
                daemon.signal(signal.SIGHUP)
                self.assertLess(longest_answer(port, 4), 10 * LONGEST_ANSWER)
                follow(source)
                daemon.signal(signal.SIGHUP)
                longest_answer(port, 2)
                start = time.monotonic()
                self.assertEqual(daemon.stop(), 0)
                self.assertLess(time.monotonic() - start, 10 * LONGEST_ANSWER)
                self.assertNotIn("status.jsonl:3", daemon.output())


if __name__ == "__main__":
    run_tests()
