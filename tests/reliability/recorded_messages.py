"""Right messages, to be changed: SNMP as net-snmp's commands send it to a running agent, AgentX as a master would."""

import subprocess

import hostile_master_test as agentx
from clock_model import PTPBASE
from message_mutation import Signature, is_authenticated
from peers_test import AGENTX_RESPONSE
from snmp_client import GET, GETBULK, GETNEXT, VERSION_1, reading
from udp_relay import UdpRelay

PRIORITY1 = (*PTPBASE, 1, 2, 3, 1, 6, 24, 3, 1)
TABLES = [(*PTPBASE, 1, 2, table) for table in range(1, 11)]
CELL, TABLE = (".".join(map(str, oid)) for oid in (PRIORITY1, TABLES[7]))
CONFIGURATION = """rwcommunity public 127.0.0.1
createUser nob
createUser sha SHA authentication AES encryption
createUser md5 MD5 authentication DES encryption
rwuser nob noauth
rwuser sha auth
rwuser md5 auth
com2secunix here default public
group readers v2c here
view everything included .1
access readers "" any noauth exact everything everything none
"""
SHA = ["-v3", "-u", "sha", "-a", "SHA", "-A", "authentication"]
MD5 = ["-v3", "-u", "md5", "-a", "MD5", "-A", "authentication"]
ACCESSES = [(["-v1", "-c", "public"], None), (["-v2c", "-c", "public"], None),
            (["-v3", "-u", "nob", "-l", "noAuthNoPriv"], None),
            ([*SHA, "-l", "authNoPriv"], "sha1"), ([*SHA, "-l", "authPriv", "-x", "AES", "-X", "encryption"], "sha1"),
            ([*MD5, "-l", "authPriv", "-x", "DES", "-X", "encryption"], "md5")]
COMMANDS = [("snmpget", [], [CELL]), ("snmpgetnext", [], [CELL, TABLE]), ("snmpbulkget", ["-Cr20"], [TABLE, CELL]),
            ("snmpbulkget", ["--sendMessageMaxSize=484", "-Cr20"], [TABLE]), ("snmpset", [], [CELL, "i", "1"])]


def snmp_messages(port):
    """Each with its Signature, or None. The agent is one with the configuration above and a transparent clock."""
    messages = []
    for access, algorithm in ACCESSES:
        for command, options, oids in COMMANDS:
            with UdpRelay(port) as relay:
                subprocess.run([command, "-t10", "-r1", "-m", "", *access, *options, f"udp:127.0.0.1:{relay.port}", *oids],
                               capture_output=True, timeout=60)
                messages += [(message, Signature(algorithm, "authentication", message)
                              if algorithm and is_authenticated(message) else None) for message in relay.requests]
    large = (reading(GET, [PRIORITY1] * 100), reading(GETNEXT, TABLES * 10), reading(GETBULK, TABLES, 30),
             reading(GET, [PRIORITY1] * 30, version=VERSION_1), reading(GETBULK, [PRIORITY1] * 20, 2, non_repeaters=20))
    return messages + [(request.message, None) for request in large]


def agentx_messages():
    """In both orders of octets."""
    messages = []
    for writer in (agentx.Writer(), agentx.Writer(0)):
        ranges = b"".join(writer.name(table) + writer.name((*PTPBASE, 2)) for table in TABLES)
        integer = writer.varbind(PRIORITY1, agentx.INTEGER, writer.pack("I", 1))
        octets = writer.varbind(PRIORITY1, agentx.OCTETS, writer.octets(b"a value"))
        messages += [writer.get(PRIORITY1, PRIORITY1), writer.get(*TABLES, kind=agentx.GETNEXT),
                     writer.get(PRIORITY1[5:], prefix=2), writer.message(agentx.GETBULK, writer.pack("HH", 1, 10) + ranges),
                     writer.message(agentx.GET, writer.octets(b"context") + ranges, agentx.NON_DEFAULT_CONTEXT),
                     writer.message(agentx.TEST_SET, integer + octets), writer.message(agentx.COMMIT_SET, b""),
                     writer.message(agentx.UNDO_SET, b""), writer.message(agentx.CLEANUP_SET, b""),
                     writer.message(AGENTX_RESPONSE, bytes(8)), writer.message(AGENTX_RESPONSE, bytes(8) + integer + octets)]
    return messages
