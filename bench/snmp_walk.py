"""An SNMP client that costs little beside the agent it measures: requests are put together from bytes, and of an
answer only the number of its varbinds and the last name are read."""

from snmp_get import AgentSocket, integer, object_identifier, tlv

TIMEOUT_S = 10
GET, GETNEXT, GETBULK = 0xa0, 0xa1, 0xa5
REPETITIONS = 50


def long_tlv(tag, content):
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    return bytes([tag, 0x82]) + size.to_bytes(2, "big") + content


def open_value(data, at):
    """Where the content of the value at this place begins and ends."""
    size = data[at + 1]
    at += 2
    if size < 128:
        return at, at + size
    octets = size & 127
    return at + octets, at + octets + int.from_bytes(data[at:at + octets], "big")


def varbinds(response):
    """Where the varbinds of a response begin."""
    at, _ = open_value(response, 0)
    for _ in ("version", "community"):
        at = open_value(response, at)[1]
    at, _ = open_value(response, at)
    for name in ("id", "error status", "error index"):
        begin, at = open_value(response, at)
        if name == "error status" and any(response[begin:at]):
            raise RuntimeError(f"error status {response[begin:at].hex()}")
    return open_value(response, at)


class Client(AgentSocket):
    """Asks an agent on the loopback address, with SNMPv2c. Names are the encoded ones."""

    def __init__(self, port, community="public"):
        super().__init__(port, TIMEOUT_S)
        self._head = tlv(2, b"\x01") + tlv(4, community.encode())

    def ask(self, kind, names, repetitions=0):
        """The number of varbinds in the answer, and the last one's name."""
        self._sequence += 1
        identifier = integer(self._sequence)
        asked = b"".join(tlv(0x30, name + b"\x05\x00") for name in names)
        pdu = long_tlv(kind, identifier + integer(0) + integer(repetitions) + long_tlv(0x30, asked))
        self._socket.send(long_tlv(0x30, self._head + pdu))
        while True:
            response = self._socket.recv(65535)
            if identifier in response[:48]:
                break
        at, end = varbinds(response)
        count, last = 0, at
        while at < end:
            last = at
            _, at = open_value(response, at)
            count += 1
        begin, _ = open_value(response, last)
        _, name_end = open_value(response, begin)
        return count, response[begin:name_end]

    def walk(self, start, cells, root):
        """Walks so many cells, all of which must lie under the root; returns their number."""
        prefix = object_identifier(root)[2:]
        name, total = object_identifier(start), 0
        while total < cells:
            count, name = self.ask(GETBULK, [name], min(REPETITIONS, cells - total))
            total += count
            if name[2:2 + len(prefix)] != prefix:
                raise RuntimeError(f"{root} ends after {total} cells of {cells}")
        return total
