"""SNMP in a few lines, for tests that ask more than command-line clients can: many clients in one process, and answers
to be looked at octet by octet. OIDs are tuples of numbers."""

import itertools
import socket

GET, GETNEXT, RESPONSE, SET, GETBULK = 0xa0, 0xa1, 0xa2, 0xa3, 0xa5
INTEGER, OCTETS, NULL, OID, SEQUENCE = 0x02, 0x04, 0x05, 0x06, 0x30
COUNTER32, GAUGE32, TIMETICKS, COUNTER64 = 0x41, 0x42, 0x43, 0x46
NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW = 0x80, 0x81, 0x82
EXCEPTIONS = (NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW)
VERSION_1, VERSION_2C, VERSION_3 = 0, 1, 3
LARGEST_MESSAGE = 65535

_identifiers = itertools.count(1)


def tlv(tag, content):
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def integer(value, tag=INTEGER):
    return tlv(tag, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def object_identifier(oid):
    encoded = bytearray([40 * oid[0] + oid[1]])
    for arc in oid[2:]:
        groups = [arc & 127]
        while arc := arc >> 7:
            groups.append(arc & 127 | 128)
        encoded += bytes(reversed(groups))
    return tlv(OID, bytes(encoded))


def encode(tag, value):
    if tag == OCTETS:
        return tlv(tag, value)
    if tag == OID:
        return object_identifier(value)
    if tag == NULL:
        return tlv(tag, b"")
    return integer(value, tag)


class Request:
    """A request of an identifier of its own. `varbinds` are (OID, tag, value)."""

    def __init__(self, kind, varbinds, repetitions=0, community="public", version=VERSION_2C, non_repeaters=0):
        self.kind, self.repetitions = kind, repetitions
        self.oids = [oid for oid, _, _ in varbinds]
        self.identifier = next(_identifiers) & 0x7fffffff
        listed = b"".join(tlv(SEQUENCE, object_identifier(oid) + encode(tag, value)) for oid, tag, value in varbinds)
        head = integer(self.identifier) + integer(non_repeaters) + integer(repetitions)
        self.pdu = tlv(kind, head + tlv(SEQUENCE, listed))
        self.message = tlv(SEQUENCE, integer(version) + tlv(OCTETS, community.encode()) + self.pdu)


def reading(kind, oids, repetitions=0, community="public", version=VERSION_2C, non_repeaters=0):
    return Request(kind, [(oid, NULL, None) for oid in oids], repetitions, community, version, non_repeaters)


class Response:
    """Raises ValueError where the message is not a response, or is encrypted."""

    def __init__(self, message):
        try:
            tag, pdu = pdu_of(message)
            if tag != RESPONSE:
                raise ValueError(f"not a response: {tag:#x}")
            *numbers, (_, listed) = elements(pdu)
            self.identifier, self.error, self.error_index = (decode(*number) for number in numbers)
            self.varbinds = []
            for _, varbind in elements(listed):
                (_, oid), (tag, value) = elements(varbind)
                self.varbinds.append((decode_oid(oid), tag, decode(tag, value)))
        except IndexError:
            raise ValueError("the message ends too soon") from None


def pdu_of(message):
    """Its tag and content."""
    version, *rest = elements(element(message, 0)[1])
    if decode(*version) == VERSION_3:
        _, _, (tag, scoped) = rest  # behind the header and the security parameters
        if tag != SEQUENCE:
            raise ValueError("the message is encrypted")
        rest = elements(scoped)
    return rest[-1]


def elements(octets):
    """Tag and content of each."""
    listed, rest = [], 0
    while rest < len(octets):
        tag, content, rest = element(octets, rest)
        listed.append((tag, content))
    return listed


def element(octets, start):
    """Tag, content, and where the next one starts."""
    tag, size, at = octets[start], octets[start + 1], start + 2
    if size & 0x80:
        at += size & 0x7f
        size = int.from_bytes(octets[start + 2:at], "big")
    if at + size > len(octets):
        raise IndexError
    return tag, octets[at:at + size], at + size


def decode_oid(octets):
    oid, arc = [*divmod(octets[0], 40)], 0
    for octet in octets[1:]:
        arc = arc << 7 | octet & 127
        if not octet & 128:
            oid.append(arc)
            arc = 0
    return tuple(oid)


def decode(tag, octets):
    if tag == OCTETS:
        return bytes(octets)
    if tag == OID:
        return decode_oid(octets)
    if tag in EXCEPTIONS or tag == NULL:
        return None
    return int.from_bytes(octets, "big", signed=True)


def udp_socket(port, address="127.0.0.1"):
    """Never on the port that it asks, which is free while the agent is away: it would talk to itself."""
    while True:
        made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        made.bind(("", 0))
        if made.getsockname()[1] != port:
            made.connect((address, port))
            return made
        made.close()


def ask(asking, request, seconds):
    """The response to a request; None where none comes in time."""
    asking.settimeout(seconds)
    asking.send(request.message)
    try:
        while True:
            response = Response(asking.recv(LARGEST_MESSAGE))
            if response.identifier == request.identifier:
                return response
    except (TimeoutError, ConnectionRefusedError):
        return None
