"""Stands between a client and an agent, and keeps what they say: net-snmp's commands make messages that are hard to make
otherwise."""

import contextlib
import select
import socket
import threading


class UdpRelay:
    """Of one client at a time. `requests` and `answers`: the datagrams, in their order."""

    def __init__(self, port):
        self._agent_port = port
        self.requests, self.answers = [], []
        self._stop = threading.Event()

    def __enter__(self):
        self._clients = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._clients.bind(("127.0.0.1", 0))
        self.port = self._clients.getsockname()[1]
        self._agent = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._agent.connect(("127.0.0.1", self._agent_port))
        self._thread = threading.Thread(target=self._run)
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stop.set()
        self._thread.join()
        self._clients.close()
        self._agent.close()

    def _run(self):
        client = None
        while not self._stop.is_set():
            ready, _, _ = select.select([self._clients, self._agent], [], [], 0.05)
            with contextlib.suppress(ConnectionRefusedError):
                if self._clients in ready:
                    request, client = self._clients.recvfrom(65535)
                    self.requests.append(request)
                    self._agent.send(request)
                if self._agent in ready:
                    self.answers.append(self._agent.recv(65535))
                    self._clients.sendto(self.answers[-1], client)
