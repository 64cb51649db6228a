#!/usr/bin/env python3
"""A PTP service that answers management messages as its script tells it to.

usage: fake_ptp_service.py SOCKET < SCRIPT

Each line of the script is a JSON object, applied when it is read; the service goes on until its input ends.

    {"ports": 64}                       number of ports
    {"domain": 24, "transportSpecific": 1}
    {"clockType": 4096}                 of CLOCK_DESCRIPTION: 0x8000, 0x4000, 0x2000, 0x1000
    {"protocol": 2}                     network protocol of every port: 1 IPv4, 2 IPv6, 3 802.3
    {"states": {"1": 9}}                port states that are not 6 (MASTER); reported to whoever subscribed
    {"identity": "020000fffe000b01"}    the clock's
    {"silent": true}                    reads and never answers
    {"refuse": [49157]}                 ids that are answered with an error
    {"cut": 60}                         answers end after so many bytes; null for whole ones
    {"length": 9}                       the TLV claims so many bytes; null for the truth
    {"short": 5}                        the TLV has so many bytes of data, and says so; null for all
    {"packets": 100}                    each of a port's 32 counters, from now on; null for ever more
    {"garbage": 20}                     so many datagrams of noise before each answer
    {"repeat": 3}                       each answer is sent so often
    {"flood": 1000}                     so many valid answers that nobody asked for, at once

Says "applied" after each line.
"""

import json
import os
import random
import select
import socket
import struct
import sys

NO_SUCH_ID, WRONG_VALUE = 2, 4
RESPONSE, SET = 2, 1
MANAGEMENT_TLV, ERROR_TLV = 1, 2
HEAD = 54  # up to the data of the TLV


class Service:
    def __init__(self, path):
        self.ports, self.domain, self.transport_specific = 1, 0, 0
        self.clock_type, self.protocol = 0x8000, 3
        self.states = {}
        self.identity = bytes.fromhex("020000fffe000b01")
        self.silent, self.refuse, self.cut, self.length, self.short = False, [], None, None, None
        self.garbage, self.repeat = 0, 1
        self.subscribers, self.events = {}, 0  # a request and its client, by the client's identity
        self.packets, self.counted = None, 0
        self.last = None
        self.random = random.Random(1)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(path)

    def apply(self, change):
        known = {"ports", "domain", "transportSpecific", "clockType", "protocol", "states", "identity", "silent",
                 "refuse", "cut", "length", "short", "packets", "garbage", "repeat", "flood"}
        if unknown := set(change) - known:
            raise ValueError(f"unknown: {unknown}")
        names = {"transportSpecific": "transport_specific", "clockType": "clock_type"}
        for name, value in change.items():
            if name == "identity":
                self.identity = bytes.fromhex(value)
            elif name == "states":
                for port, state in value.items():
                    self.states[int(port)] = state
                    self.report(int(port))
            elif name == "flood":
                for _ in range(value if self.last else 0):
                    self.send(*self.last)
            else:
                setattr(self, names.get(name, name), value)

    def serve(self):
        request, client = self.socket.recvfrom(1500)
        if self.silent or len(request) < HEAD or not client:
            return
        if request[4] != self.domain or request[0] >> 4 != self.transport_specific:
            return
        if request[46] & 15 == SET:
            self.subscribers[request[20:30]] = request, client
        for _ in range(self.garbage):
            self.send(bytes(self.random.randrange(256) for _ in range(self.random.randrange(200))), client)
        answer = self.answer(request)
        self.last = answer, client
        for _ in range(self.repeat):
            self.send(answer if self.cut is None else answer[:self.cut], client)

    def send(self, message, client):
        try:
            self.socket.sendto(message, client)
        except OSError:
            pass  # the client has gone

    def report(self, port):
        for subscription, client in self.subscribers.values():
            request = bytearray(subscription)
            self.events += 1
            struct.pack_into(">H", request, 30, self.events & 0xffff)
            struct.pack_into(">H", request, 42, port)
            struct.pack_into(">H", request, 52, 0x2004)
            self.send(self.answer(bytes(request)), client)

    def answer(self, request):
        port, = struct.unpack_from(">H", request, 42)
        message_id, = struct.unpack_from(">H", request, 52)
        data = self.data(message_id, port, request)
        if message_id in self.refuse:
            data = NO_SUCH_ID
        if isinstance(data, int):
            tlv = struct.pack(">HHHHI", ERROR_TLV, 8, data, message_id, 0)
        else:
            data = data[:self.short]
            tlv = struct.pack(">HHH", MANAGEMENT_TLV, 2 + len(data) if self.length is None else self.length, message_id)
            tlv += data
        message = bytearray(request[:48]) + tlv
        struct.pack_into(">H", message, 2, len(message))
        message[20:30] = self.identity + struct.pack(">H", 0 if port == 0xffff else port)
        message[34:44] = request[20:30]
        message[46] = RESPONSE
        return bytes(message)

    def data(self, message_id, port, request):
        """The TLV's data, or the error's number."""
        if message_id in (0x2004, 0xc004, 0xc005, 0x0001) and not 1 <= port <= self.ports:
            return WRONG_VALUE
        port_identity = self.identity + struct.pack(">H", port)
        match message_id:
            case 0x0001:
                return (struct.pack(">HB10sH6s", self.clock_type, 10, b"IEEE 802.3", 6, self.identity[:6])
                        + struct.pack(">HH6s", self.protocol, 6, self.identity[:6]) + bytes(16))
            case 0x2000:
                return (struct.pack(">BBHBBBHB", 3, 0, self.ports, 128, 248, 0xfe, 0xffff, 128) + self.identity
                        + struct.pack(">BB", self.domain, 0))
            case 0x2001:
                return struct.pack(">Hqq", 1, -1 << 20, 5 << 20)
            case 0x2002:
                return (bytes.fromhex("020000fffe000a01") + struct.pack(">HBBHIBBBHB", 1, 0, 0, 0xffff, 0x7fffffff, 100,
                                                                        6, 0x21, 0x4e5d, 128)
                        + bytes.fromhex("020000fffe000a01"))
            case 0x2003:
                return struct.pack(">HBB", 37, 0x3c, 0x20)
            case 0x2004:
                return port_identity + struct.pack(">BbqbBbBbB", self.states.get(port, 6), 0, 0, 1, 3, 0, 1, 0, 2)
            case 0xc003:
                return request[HEAD:]
            case 0xc004:
                name = f"eth{port}".encode()
                return port_identity + struct.pack(">BBB", self.states.get(port, 6), 1, len(name)) + name
            case 0xc005:
                self.counted = self.counted + 1 if self.packets is None else self.packets
                return port_identity + struct.pack("<32Q", *([self.counted] * 32))
        return NO_SUCH_ID


def main():
    path, = sys.argv[1:]
    service = Service(path)
    os.set_blocking(0, False)
    script = b""
    while True:
        readable, _, _ = select.select([service.socket, 0], [], [])
        if service.socket in readable:
            service.serve()
        if 0 in readable:
            read = os.read(0, 65536)
            if not read:
                return
            *lines, script = (script + read).split(b"\n")
            for line in lines:
                service.apply(json.loads(line))
                print("applied", flush=True)


if __name__ == "__main__":
    main()
