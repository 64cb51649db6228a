"""Changes SNMP and AgentX messages by chance: some stay messages, with contents that nobody sends; most do not."""

import contextlib
import hashlib
import hmac
import struct

from snmp_client import OCTETS, SEQUENCE, VERSION_3, decode, element, elements, tlv

CONSTRUCTED = (SEQUENCE, *range(0xa0, 0xa9))
TAGS = (0, 1, 2, 3, 4, 5, 6, 0x24, 0x30, 0x31, 0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x80, 0x81, 0x82,
        *range(0xa0, 0xaa), 0x1f, 0x9f, 0xff)
LENGTHS = [bytes.fromhex(each) for each in (
    "00", "01", "7f", "80", "8100", "81ff", "82ffff", "83ffffff", "847fffffff", "84ffffffff", "850000000001", "ff")]
NUMBERS = [bytes.fromhex(each) for each in (
    "", "00", "7f", "80", "ff", "7fffffff", "80000000", "ffffffff", "00ffffffff", "00ffffffffffffffff")]
OPAQUES = [bytes.fromhex(each) for each in ("9f780400000000", "9f7908", "9f76ff")]
NAMES = [b"\x2b" + b"\1" * 127, b"\x2b" + b"\1" * 126, bytes.fromhex("2b8fffffff7f"), b"\x2b\x86"]
CONTENTS = [*NUMBERS, *OPAQUES, *NAMES, bytes(300), b"x" * 3000]
DIGEST_OCTETS = 12  # of HMAC-MD5-96 and HMAC-SHA-96


class Signature:
    """Of a message with authentication (RFC 3414, 6), to be made anew when the message has changed."""

    def __init__(self, algorithm, passphrase, message):
        _, _, (_, security), _ = elements(element(message, 0)[1])
        (_, engine), *_, (_, self._digest), _ = elements(element(security, 0)[1])
        self._algorithm, self._key = algorithm, localized_key(algorithm, passphrase, bytes(engine))

    def renew(self, message):
        before, found, behind = message.partition(self._digest)
        if not found:
            return message
        empty = before + bytes(DIGEST_OCTETS) + behind
        return before + hmac.digest(self._key, empty, self._algorithm)[:DIGEST_OCTETS] + behind


def localized_key(algorithm, passphrase, engine, known={}):
    """RFC 3414, A.2."""
    if (algorithm, passphrase, engine) not in known:
        repeated = (passphrase.encode() * (2 ** 20 // len(passphrase) + 1))[:2 ** 20]
        key = hashlib.new(algorithm, repeated).digest()
        known[algorithm, passphrase, engine] = hashlib.new(algorithm, key + engine + key).digest()
    return known[algorithm, passphrase, engine]


def is_authenticated(message):
    version, *rest = elements(element(message, 0)[1])
    return decode(*version) == VERSION_3 and len(elements(element(rest[1][1], 0)[1])[4][1]) == DIGEST_OCTETS


class Node:
    """A value of BER, and what is in it where that is values, too."""

    def __init__(self, tag, content):
        self.tag, self.content, self.children = tag, bytes(content), None
        if tag in CONSTRUCTED or tag == OCTETS and content[:1] == bytes([SEQUENCE]):
            try:
                self.children = [Node(*each) for each in elements(content)]
            except IndexError:
                pass  # what is encrypted may begin so, too

    def encoded(self, lie=None):
        """`lie`: the node whose length is another one, and that length."""
        content = self.content if self.children is None else b"".join(child.encoded(lie) for child in self.children)
        return tlv(self.tag, content) if lie is None or lie[0] is not self else bytes([self.tag]) + lie[1] + content

    def nodes(self):
        return [self, *(node for child in self.children or () for node in child.nodes())]


class SnmpMutation:
    """`messages`: pairs of a message and its Signature or None."""

    def __init__(self, messages, random):
        self.messages, self._random = messages, random

    def next(self):
        message, signature = self._random.choice(self.messages)
        how = self._random.randrange(10)
        if how == 0:
            return message
        message = self._in_the_structure(message) if how < 5 else octets_changed(message, self._any(), self._random)
        return signature.renew(message) if signature and self._random.random() < 0.8 else message

    def _any(self):
        return self._random.choice(self.messages)[0]

    def _in_the_structure(self, message):
        random, root, lie = self._random, Node(*element(message, 0)[:2]), None
        for _ in range(random.choice((1, 1, 1, 2, 3))):
            node = random.choice(root.nodes())
            match random.randrange(6):
                case 0:
                    node.tag = random.choice(TAGS)
                case 1:
                    node.content, node.children = random.choice((*CONTENTS, random.randbytes(random.randrange(40)))), None
                case 2:
                    lie = node, random.choice((*LENGTHS, bytes([random.randrange(256)])))
                case 3 if node.children:
                    node.children.append(random.choice(node.children))
                case 4 if node.children:
                    node.children.remove(random.choice(node.children))
                case _:
                    other = random.choice(Node(*element(self._any(), 0)[:2]).nodes())
                    node.tag, node.content, node.children = other.tag, other.content, other.children
        return root.encoded(lie)[:65507]


def framed(message):
    """With the length that it has, for a connection that is to stay."""
    with contextlib.suppress(IndexError):
        if message[0] == SEQUENCE and element(message, 0)[2] == len(message):
            return message
    return tlv(SEQUENCE, message[2:])


def octets_changed(message, other, random):
    changed = bytearray(message)
    match random.randrange(4):
        case 0:
            return message[:random.randrange(len(message) + 1)]
        case 1:
            return message[:random.randrange(len(message))] + other[random.randrange(len(other)):]
        case 2:
            at = random.randrange(len(message))
            changed[at:at + random.randrange(3)] = random.randbytes(random.randrange(4))
        case _:
            for _ in range(random.choice((1, 1, 2, 4, 16))):
                changed[random.randrange(len(changed))] = random.choice((0, 1, 0x7f, 0x80, 0xff, random.randrange(256)))
    return bytes(changed)


class AgentXMutation:
    """Of messages in either order. `frames`: the length in the header is that of the message."""

    def __init__(self, messages, random):
        self.messages, self._random = messages, random

    def next(self, frames=True):
        message = self._random.choice(self.messages)
        if self._random.randrange(10) == 0:
            return message
        message = octets_changed(message, self._random.choice(self.messages), self._random)
        if not frames:
            return message
        header = message[:16].ljust(16, b"\1")
        order = ">" if header[2] & 0x10 else "<"
        return header + struct.pack(order + "I", len(message[20:])) + message[20:]
