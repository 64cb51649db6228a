#!/usr/bin/env python3
"""Peers that stall, lie or stay on their connections, and what they cost: nothing but their own answers, or the time of
the fault.

usage: PTPSNMPD=/path/to/ptpsnmpd peers_test.py [unittest options]
"""

import contextlib
import os
import re
import select
import signal
import socket
import struct
import sys
import threading
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "end_to_end"))

from clock_model import PTPBASE  # noqa: E402
from fake_service_test import FakeService  # noqa: E402
from harness import Process, Snmpd, daemon_program, free_udp_port, run_tests, scratch_folder, wait_for  # noqa: E402
from snmp_client import GET, GETBULK, GETNEXT, Response, ask, reading, udp_socket  # noqa: E402

TABLES = ".".join(map(str, PTPBASE))
NO_ERROR, GENERAL_ERROR = 0, 5
PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 0, 2, 1)
SNMP_IN_PKTS = (1, 3, 6, 1, 2, 1, 11, 1, 0)
SANITIZED = os.environ.get("PTPSNMPD_SANITIZED") == "1"
MUCH = 500  # requests
FLOOD = 4000  # requests
ENDLESS = 1 << 26  # bytes
SILENCE = 5  # seconds without an answer, after which nobody is served any more


class Connections(unittest.TestCase):
    @contextlib.contextmanager
    def daemon(self, *limits):
        """One that listens at UDP, TCP and a Unix socket: its port and that socket."""
        with scratch_folder() as folder:
            port = free_udp_port()
            configuration = folder / "ptpsnmpd.conf"
            configuration.write_text("rocommunity public 127.0.0.1\ncom2secunix here default public\ngroup readers v2c here\n"
                                     'view everything included .1\naccess readers "" any noauth exact everything none none\n')
            with Process(folder, "ptpsnmpd", [
                    *limits, daemon_program(), "--config", configuration, "--listen", f"udp:127.0.0.1:{port}",
                    "--listen", f"tcp:127.0.0.1:{port}", "--listen", f"unix:{folder}/snmp",
                    "--source", "demo", "--trace", "Snmp/off"]) as daemon:
                wait_for("the daemon is ready", lambda: "is ready" in daemon.output())
                self.process = daemon
                yield port, folder / "snmp"
                self.assertEqual(daemon.stop(), 0)

    @contextlib.contextmanager
    def daemon_stopped(self):
        self.process.signal(signal.SIGSTOP)
        stat = Path(f"/proc/{self.process.process_id}/stat")
        wait_for("the daemon stands still", lambda: stat.read_text().rpartition(")")[2].split()[0] == "T")
        yield
        self.process.signal(signal.SIGCONT)

    def connect(self, port, path, kind):
        if kind == "tcp":
            connection = socket.create_connection(("127.0.0.1", port), SILENCE)
        else:
            connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            connection.connect(str(path))
            connection.settimeout(SILENCE)
        return connection

    def assert_served(self, port):
        with udp_socket(port) as asking:
            self.assertIsNotNone(ask(asking, reading(GET, [PRIORITY1]), SILENCE))

    def test_who_asks_and_does_not_read_loses_the_connection_and_costs_nobody_else(self):
        for kind in ("tcp", "unix"):
            with self.subTest(kind), self.daemon() as (port, path), self.connect(port, path, kind) as connection:
                request = reading(GETBULK, [PTPBASE], 50).message
                with self.assertRaises((BrokenPipeError, ConnectionResetError)):
                    while True:
                        connection.sendall(request)
                self.assert_served(port)

    def test_who_sends_a_message_without_end_loses_the_connection(self):
        for kind in ("tcp", "unix"):
            with self.subTest(kind), self.daemon() as (port, path), self.connect(port, path, kind) as connection:
                with self.assertRaises((BrokenPipeError, ConnectionResetError)):
                    connection.sendall(b"\x30\x84\x7f\xff\xff\x00")  # so many bytes follow
                    for _ in range(ENDLESS >> 16):
                        connection.sendall(bytes(1 << 16))
                self.assert_served(port)

    def test_who_asks_much_at_once_waits_for_its_turn(self):
        """The count of messages tells how many were read before one. The daemon stands still while all are sent."""
        for kind in ("tcp", "unix"):
            with self.subTest(kind), self.daemon() as (port, path), self.connect(port, path, kind) as connection, \
                    udp_socket(port) as other:
                connection.sendall(reading(GET, [PRIORITY1]).message)
                answer_to_one = connection.recv(65536)
                with self.daemon_stopped():
                    connection.sendall(b"".join(reading(GET, [PRIORITY1]).message for _ in range(MUCH)))
                    other.send(reading(GET, [SNMP_IN_PKTS]).message)
                other.settimeout(SILENCE)
                (_, _, messages), = Response(other.recv(65536)).varbinds
                self.assertLess(messages, 10)
                answered = 0
                while answered < MUCH * len(answer_to_one):
                    self.assertNotEqual(part := connection.recv(65536), b"", "the connection has ended")
                    answered += len(part)

    def test_who_reads_before_asking_again_gets_whole_answers(self):
        for kind in ("tcp", "unix"):
            with self.subTest(kind), self.daemon() as (port, path), self.connect(port, path, kind) as connection:
                for _ in range(50):
                    self.assertIsNotNone(ask(connection, reading(GETBULK, [PTPBASE], 1000), SILENCE))

    def test_connections_that_only_stay_leave_room_for_others_and_cost_none_that_asks(self):
        with self.daemon("prlimit", "--nofile=64") as (port, path), contextlib.ExitStack() as stack:
            asking = [stack.enter_context(self.connect(port, path, kind)) for kind in ("tcp", "unix")]
            for _ in range(50):
                for kind in ("tcp", "unix"):
                    stack.enter_context(self.connect(port, path, kind))
                for connection in asking:
                    self.assertIsNotNone(ask(connection, reading(GET, [PRIORITY1]), SILENCE))
            self.assert_served(port)
            for kind in ("tcp", "unix"):
                with self.connect(port, path, kind) as connection:
                    self.assertIsNotNone(ask(connection, reading(GET, [PRIORITY1]), SILENCE))


    def test_the_daemon_removes_its_own_socket_at_the_end_and_no_file_that_a_peer_is_named_after(self):
        with scratch_folder() as place, contextlib.chdir(place):
            victim = place / "victim"
            victim.touch()
            name = f"left{victim}"  # a path, too, from here on
            Path(name).parent.mkdir(parents=True)
            with self.daemon() as (port, path), socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
                connection.bind(name)
                connection.connect(str(path))
                connection.settimeout(SILENCE)
                self.assertIsNotNone(ask(connection, reading(GET, [PRIORITY1]), SILENCE))
                self.assertEqual(self.process.stop(), 0)
                self.assertTrue(victim.exists())
                self.assertFalse(path.exists())

    def test_connections_that_end_before_their_answer_is_read_cost_no_memory(self):
        """A sanitizer tells what was lost when the daemon ends."""
        def connections(kind, count, port, path):
            for _ in range(count):
                with self.connect(port, path, kind) as connection:
                    connection.sendall(reading(GET, [PRIORITY1]).message)
                    connection.recv(1)
        for kind in ("tcp", "unix"):
            with self.subTest(kind), self.daemon() as (port, path):
                connections(kind, 1000, port, path)
                before = self.heap_kilobytes()
                connections(kind, 4000, port, path)
                if not SANITIZED:
                    self.assertLess(self.heap_kilobytes() - before, 200)

    def heap_kilobytes(self):
        rollup = Path(f"/proc/{self.process.process_id}/smaps_rollup").read_text()
        return int(re.search(r"^Anonymous:\s+(\d+)", rollup, re.MULTILINE)[1])


OPEN, REGISTER, PING, AGENTX_RESPONSE = 1, 3, 13, 18
NETWORK_ORDER = 0x10


class OddMaster:
    """A master agent that hears every word and answers as `answer(pdu type, response)` says: when, and how much."""

    def __init__(self, path, answer):
        self._path, self._answer = str(path), answer
        self.heard, self._stop = [], threading.Event()
        self.ended = threading.Event()  # a connection, while it was answered

    def __enter__(self):
        self._listening = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._listening.bind(self._path)
        self._listening.listen(8)
        self._listening.settimeout(0.1)
        self._threads = [threading.Thread(target=self._accept)]
        self._threads[0].start()
        return self

    def __exit__(self, *_):
        self._stop.set()
        for thread in self._threads:
            thread.join()
        self._listening.close()
        Path(self._path).unlink()

    def _accept(self):
        while not self._stop.is_set():
            with contextlib.suppress(TimeoutError):
                connection, _ = self._listening.accept()
                connection.settimeout(0.1)
                self._threads.append(threading.Thread(target=self._serve, args=(connection,)))
                self._threads[-1].start()

    def _serve(self, connection):
        received = b""
        with connection:
            while not self._stop.is_set():
                try:
                    read = connection.recv(65536)
                except TimeoutError:
                    self.idle(connection)
                    continue
                except OSError:
                    return
                if not read:
                    return
                received += read
                while len(received) >= 20:
                    order = ">" if received[2] & NETWORK_ORDER else "<"
                    size, = struct.unpack_from(order + "I", received, 16)
                    if len(received) < 20 + size:
                        break
                    pdu, received = received[:20 + size], received[20 + size:]
                    if not self._respond(connection, pdu, order):
                        return

    def idle(self, connection):
        """Nothing more has been said for a while."""

    def _respond(self, connection, pdu, order):
        self.heard.append(pdu[1])
        _, transaction, packet = struct.unpack_from(order + "III", pdu, 4)
        response = (bytes([1, AGENTX_RESPONSE, pdu[2] & NETWORK_ORDER, 0])
                    + struct.pack(order + "IIIIIHH", 7, transaction, packet, 8, 0, 0, 0))
        delay, response, stay = self._answer(pdu[1], response)
        if self._stop.wait(delay):
            return False
        try:
            connection.settimeout(SILENCE)
            connection.sendall(response)
        except (BrokenPipeError, ConnectionResetError):
            self.ended.set()
        finally:
            connection.settimeout(0.1)
        return stay


def answer_at_once(_, response):
    return 0, response, True


def get_bulk(order, identifier, repetitions=200):
    """Asks for all the tables. RFC 2741, 6.2.6."""
    pack = ">" if order else "<"
    name = struct.pack(pack + "BBBB3I", 3, 2, 0, 0, 1, 2, 241)  # 1.3.6.1 and the prefix, and the rest
    body = struct.pack(pack + "HH", 0, repetitions) + name + struct.pack(pack + "BBBB3I", 3, 2, 0, 0, 1, 2, 242)
    return struct.pack(pack + "BBBBIIII", 1, 7, order, 0, 7, identifier, identifier, len(body)) + body


class AskingMaster(OddMaster):
    """Once it has tables it asks, and never reads. `done`: what it was given has been sent; where it has something to
    say again and again, the connection has ended."""

    def __init__(self, path, answer, request=b"", again=b""):
        super().__init__(path, answer)
        self._request, self._again, self.done, self._asked = request, again, threading.Event(), False

    def idle(self, connection):
        if REGISTER not in self.heard or self._asked:
            return
        self._asked = True
        connection.settimeout(SILENCE)
        with contextlib.suppress(TimeoutError):
            try:
                connection.sendall(self._request)
                for _ in range(ENDLESS // len(self._again) if self._again else 0):
                    connection.sendall(self._again)
                connection.shutdown(socket.SHUT_WR)
                if not self._again:
                    self.done.set()
            except (BrokenPipeError, ConnectionResetError):
                self.done.set()
        connection.settimeout(0.1)


class FloodingMaster(OddMaster):
    """Once it has tables it asks without a pause, and reads. `most`: requests that were out at a time."""

    def __init__(self, path, answer):
        super().__init__(path, answer)
        self.done, self.most = threading.Event(), 0

    def idle(self, connection):
        if REGISTER not in self.heard or self.done.is_set():
            return
        request, received, answers = get_bulk(NETWORK_ORDER, 1, 1), b"", 0
        connection.settimeout(SILENCE)
        for sent in range(1, FLOOD + 1):
            connection.sendall(request)
            if select.select([connection], [], [], 0)[0]:
                received += connection.recv(1 << 20)
            while len(received) >= 20 and len(received) >= 20 + (size := struct.unpack_from(">I", received, 16)[0]):
                received, answers = received[20 + size:], answers + 1
            self.most = max(self.most, sent - answers)
        self.done.set()
        connection.settimeout(0.1)


class FloodingAtOpenMaster(OddMaster):
    """Asks without a pause instead of giving a session, and reads."""

    def _respond(self, connection, pdu, order):
        if pdu[1] != OPEN:
            return super()._respond(connection, pdu, order)
        connection.settimeout(SILENCE)
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            while not self._stop.is_set():
                connection.sendall(get_bulk(NETWORK_ORDER, 1, 1) * 50)  # never is there nothing to read
                if select.select([connection], [], [], 0)[0] and not connection.recv(1 << 20):
                    break
        self.ended.set()
        return False


class FullMaster(OddMaster):
    """Answers the first ping, and before that lets as many connect as it takes, so that no more can."""

    def __init__(self, path, answer):
        super().__init__(path, answer)
        self.full, self._waiting = threading.Event(), contextlib.ExitStack()

    def __enter__(self):
        super().__enter__()
        self._listening.listen(0)
        return self

    def __exit__(self, *arguments):
        super().__exit__(*arguments)
        self._waiting.close()

    def _accept(self):
        while not self._stop.is_set() and len(self._threads) < 2:
            with contextlib.suppress(TimeoutError):
                connection, _ = self._listening.accept()
                connection.settimeout(0.1)
                self._threads.append(threading.Thread(target=self._serve, args=(connection,)))
        while len(self._threads) == 2 and not self.full.is_set():
            one_more = self._waiting.enter_context(socket.socket(socket.AF_UNIX, socket.SOCK_STREAM))
            one_more.setblocking(False)
            try:
                one_more.connect(self._path)
            except BlockingIOError:
                self.full.set()
        if self.full.is_set():
            self._threads[1].start()


class OddMasters(unittest.TestCase):
    def beside(self, answer, until, odd_master=OddMaster):
        """The daemon beside such a master, until it has been heard; then beside a true one, where all is well."""
        with scratch_folder() as folder, FakeService(str(folder / "ptp4l")) as service:
            master_socket = folder / "agentx"
            with contextlib.ExitStack() as stack:
                odd = stack.enter_context(odd_master(master_socket, answer))
                sub_agent = Process(folder, "ptpsnmpd", [
                    daemon_program(), "--agentx", master_socket, "--source", f"ptp4l:{service.path}", "--poll", "50",
                    "--trace", "Snmp/off"])
                with sub_agent:
                    wait_for("the oddity", lambda: until(odd), 20)
                    # The clock is followed all the same.
                    service.tell(silent=True)
                    wait_for("the service is missed", lambda: "does not answer" in sub_agent.output(), 20)
                    service.tell(silent=False)
                    stack.close()
                    with Snmpd(folder, "master agentx", f"agentXSocket {master_socket}") as master:
                        wait_for("rows", lambda: master.snmp.walk(TABLES))
                        self.assertEqual(sub_agent.stop(), 0)

    def test_a_master_that_asks_without_a_pause_instead_of_giving_a_session_costs_the_time_of_the_fault(self):
        self.beside(answer_at_once, lambda master: master.ended.is_set(), FloodingAtOpenMaster)

    def test_a_master_that_lets_nobody_connect_any_more_costs_the_time_of_the_fault(self):
        self.beside(answer_at_once, lambda master: master.full.is_set() and PING in master.heard, FullMaster)

    def test_answers_that_come_too_late_cost_the_time_of_the_fault(self):
        """Lost: what is asked through that master."""
        def late(_, response):
            return 1.5, response, True
        self.beside(late, lambda odd: odd.heard.count(OPEN) >= 2)

    def test_late_answers_to_registrations_cost_the_time_of_the_fault(self):
        def late(kind, response):
            return 1.5 if kind == REGISTER else 0, response, True
        self.beside(late, lambda odd: REGISTER in odd.heard)

    def test_a_registration_whose_answer_breaks_off_costs_the_time_of_the_fault(self):
        for length in (1, 10, 20, 23):
            with self.subTest(length=length):
                def cut(kind, response, length=length):
                    return (0, response[:length], False) if kind == REGISTER else (0, response, True)
                self.beside(cut, lambda odd: odd.heard.count(REGISTER) >= 1)

    def test_registrations_that_are_refused_or_answered_with_nonsense_cost_the_time_of_the_fault(self):
        for name, answer in {"refused": lambda r: r[:24] + r[24:26] + b"\xff\xff", "garbage": lambda r: os.urandom(28),
                             "another packet": lambda r: r[:12] + b"\x7f\x7f\x7f\x7f" + r[16:],
                             "endless": lambda r: r[:16] + b"\x7f\xff\xff\xff" + r[20:]}.items():
            with self.subTest(name):
                def odd(kind, response, answer=answer):
                    if kind != REGISTER:
                        return 0, response, True
                    return 0, answer(response), name not in ("garbage", "endless")
                self.beside(odd, lambda odd: odd.heard.count(REGISTER) >= 1)

    def test_a_master_that_asks_instead_of_answering_a_registration_costs_the_time_of_the_fault(self):
        """By the number of the registration, which is all that the library looks for."""
        def asking(kind, response):
            if kind != REGISTER:
                return 0, response, True
            order = ">" if response[2] & NETWORK_ORDER else "<"
            identifier, = struct.unpack_from(order + "I", response, 12)
            return 0, get_bulk(response[2] & NETWORK_ORDER, identifier, 1), True
        self.beside(asking, lambda odd: odd.heard.count(REGISTER) >= 2)

    def test_a_master_that_asks_and_does_not_read_costs_the_time_of_the_fault(self):
        whole = get_bulk(NETWORK_ORDER, 1)
        self.beside(answer_at_once, lambda master: master.done.is_set(),
                    lambda path, answer: AskingMaster(path, answer, again=whole))

    def test_a_master_that_goes_away_before_its_first_answer_costs_the_time_of_the_fault(self):
        def going(kind, response):
            return (0, b"", False) if kind == OPEN else (0, response, True)
        self.beside(going, lambda odd: OPEN in odd.heard)

    def test_a_master_whose_first_answer_has_no_end_costs_the_time_of_the_fault(self):
        def endless(kind, response):
            return 0, response[:16] + b"\x7f\xff\x00\x00" + bytes(ENDLESS) if kind == OPEN else response, False
        self.beside(endless, lambda odd: odd.ended.is_set())

    def test_a_master_that_asks_much_waits_before_its_requests_heap_up(self):
        masters = []

        def flooding(path, answer):
            masters.append(FloodingMaster(path, answer))
            return masters[0]
        self.beside(answer_at_once, lambda master: master.done.is_set(), flooding)
        self.assertLess(masters[0].most, FLOOD / 4)

    def test_a_master_that_asks_without_end_costs_the_time_of_the_fault(self):
        endless = get_bulk(NETWORK_ORDER, 1)[:16] + b"\x7f\xff\x00\x00"  # so many bytes follow
        self.beside(answer_at_once, lambda master: master.done.is_set(),
                    lambda path, answer: AskingMaster(path, answer, endless, bytes(65536)))

    def test_requests_that_are_nonsense_cost_the_time_of_the_fault(self):
        whole = get_bulk(NETWORK_ORDER, 1)
        for name, request in {"cut": whole[:30], "of another session": whole[:4] + b"\0\0\0\x63" + whole[8:],
                              "longer than said": whole[:19] + b"\x08" + whole[20:],
                              "endless": whole[:16] + b"\x7f\xff\xff\xff" + whole[20:],
                              "of no kind": whole[:1] + b"\xfe" + whole[2:], "of another version": b"\x07" + whole[1:],
                              "of long names": whole[:24] + b"\xff" + whole[25:], "noise": os.urandom(500)}.items():
            with self.subTest(name):
                self.beside(answer_at_once, lambda master: master.done.is_set(),
                            lambda path, answer, request=request: AskingMaster(path, answer, request))


class TrueMaster(unittest.TestCase):
    def test_a_request_of_any_length_that_it_passes_on_is_answered_and_leaves_the_connection(self):
        """An AgentX request is some six times as long as the SNMP request; the library takes 64 KiB."""
        with scratch_folder() as folder:
            master_socket = folder / "agentx"
            with Snmpd(folder, "master agentx", f"agentXSocket {master_socket}") as master, \
                    Process(folder, "ptpsnmpd", [daemon_program(), "--agentx", master_socket, "--source", "demo",
                                                 "--trace", "Snmp/off"]) as sub_agent, \
                    udp_socket(master.port) as asking:
                wait_for("rows", lambda: master.snmp.walk(TABLES))
                for kind, count, name in ((GETNEXT, 1500, PTPBASE), (GETNEXT, 4600, PTPBASE), (GET, 1300, PRIORITY1),
                                          (GET, 3000, PRIORITY1)):
                    with self.subTest(kind=kind, count=count):
                        request = reading(kind, [name] * count)
                        self.assertLess(len(request.message), 65507)
                        self.assertIsNotNone(response := ask(asking, request, SILENCE))
                        self.assertIn(response.error, (NO_ERROR, GENERAL_ERROR))
                        self.assertIsNotNone(ask(asking, reading(GET, [PRIORITY1]), SILENCE))
                        self.assertNotIn("closed", sub_agent.output())


if __name__ == "__main__":
    run_tests()
