"""A recorded status with as many ports as wanted, as docs/status-document.md has it."""

import json

CLOCK = "001122.fffe.334455"
PORTS_PER_LINE = 20000  # a line has a limit


def write(path, ports):
    def line(status):
        file.write(json.dumps({"at": 0, "status": status}) + "\n")

    with open(path, "w", encoding="utf-8") as file:
        line({"defaultDS": {"clockIdentity": CLOCK, "clockMode": "boundary", "numberPorts": ports, "priority1": 128},
              "currentDS": {"offsetFromMaster": -12.0625, "meanPathDelay": 1284.5},
              "mibData": {"packetsSent": 120, "packetsReceived": 345, "domainClockPortsTotal": ports}})
        for first in range(1, ports + 1, PORTS_PER_LINE):
            numbers = range(first, min(first + PORTS_PER_LINE, ports + 1))
            line({"ports": {f"{CLOCK}-{number}": port(number) for number in numbers},
                  "interfaces": {f"Ethernet{number}": 100 + number for number in numbers}})


def port(number):
    return {"interface": f"Ethernet{number}", "portState": "master", "role": "master", "delayMechanism": "e2e",
            "transport": "ipv4", "logAnnounceInterval": 1, "announceReceiptTimeout": 3, "logSyncInterval": -3,
            "peerMeanPathDelay": 1284.5, "mibData": {"packetsSent": 120 + number, "packetsReceived": 345 + number}}
