#!/usr/bin/env python3
"""Stands between a client and a PTP service, and swallows subscriptions to events: the client has to poll.

usage: without_events.py SOCKET SERVICE

Passes on all else, for one client at a time. Says "ready".
"""

import select
import socket
import struct
import sys

SUBSCRIBE_EVENTS_NP = 0xc003
MESSAGE_ID = 52  # where it stands in a management message


def datagram_socket(path):
    end = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    end.bind(path)
    return end


def main():
    path, service = sys.argv[1:]
    front, back = datagram_socket(path), datagram_socket(f"{path}.back")
    client = None
    print("ready", flush=True)
    while True:
        readable, _, _ = select.select([front, back], [], [])
        if front in readable:
            request, client = front.recvfrom(1500)
            if struct.unpack_from(">H", request, MESSAGE_ID)[0] != SUBSCRIBE_EVENTS_NP:
                back.sendto(request, service)
        if back in readable:
            response = back.recv(1500)
            if client:
                front.sendto(response, client)


if __name__ == "__main__":
    main()
