"""SNMPv3 messages without authentication (RFC 3412, RFC 3414), with any msgMaxSize."""

from snmp_client import GET, OCTETS, SEQUENCE, VERSION_3, decode, element, elements, integer, reading, tlv

USER_BASED, REPORTABLE = 3, b"\4"
LEAST_MAX_SIZE = 484


class Version3Request:
    """Another request, for a user without authentication."""

    def __init__(self, request, engine, user, max_size):
        self.identifier = request.identifier
        scoped = tlv(SEQUENCE, tlv(OCTETS, engine) + tlv(OCTETS, b"") + request.pdu)
        self.message = version3_message(scoped, engine, user, max_size)


def version3_message(scoped, engine, user, max_size, boots=0, time=0):
    header = integer(1) + integer(max_size) + tlv(OCTETS, REPORTABLE) + integer(USER_BASED)
    security = (tlv(OCTETS, engine) + integer(boots) + integer(time) + tlv(OCTETS, user.encode())
                + tlv(OCTETS, b"") + tlv(OCTETS, b""))
    return tlv(SEQUENCE, integer(VERSION_3) + tlv(SEQUENCE, header) + tlv(OCTETS, tlv(SEQUENCE, security)) + scoped)


def engine_of(asking):
    """The agent's engine ID, which it reports to who does not know it (RFC 3414, 4)."""
    asking.settimeout(5)
    asking.send(Version3Request(reading(GET, []), b"", "", 65507).message)
    _, _, (_, security), _ = elements(element(asking.recv(65535), 0)[1])
    return decode(*elements(element(security, 0)[1])[0])
