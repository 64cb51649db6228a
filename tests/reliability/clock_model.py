"""What an agent must show of a status document, restated from docs/mib-conformance.md, and documents that change at
random."""

import bisect
import copy

from snmp_client import COUNTER32, COUNTER64, GAUGE32, INTEGER, OCTETS, OID

PTPBASE = (1, 3, 6, 1, 2, 1, 241)
SYSTEM, CLOCK = (*PTPBASE, 1, 1), (*PTPBASE, 1, 2)
INSTANCE = 1
BOUNDARY_TYPE, TRANSPARENT_TYPE = 2, 3
DISABLED, BOUNDARY, ORDINARY, E2E_TRANSPARENT, E2E_SYNTONIZED, P2P_TRANSPARENT = range(6)
CLOCK_TYPES = {BOUNDARY: BOUNDARY_TYPE, ORDINARY: BOUNDARY_TYPE, E2E_TRANSPARENT: TRANSPARENT_TYPE,
               E2E_SYNTONIZED: TRANSPARENT_TYPE, P2P_TRANSPARENT: TRANSPARENT_TYPE}
MODE_AS_DELAY = {E2E_TRANSPARENT: 1, E2E_SYNTONIZED: 1, P2P_TRANSPARENT: 2}
SLAVE, SLAVE_LOCKED = 9, 0x90
PORT_STATES = [*range(1, 10), SLAVE_LOCKED]
TRANSPORTS = {0: (*CLOCK, 12, 3), 1: (*CLOCK, 12, 1), 2: (*CLOCK, 12, 2)}


def truth(value):
    return INTEGER, 1 if value else 2


def interval(nanoseconds):
    return OCTETS, int(nanoseconds * 65536).to_bytes(8, "big", signed=True)


def clock_identity(text):
    return OCTETS, bytes.fromhex(text.replace(".", ""))


class State:
    """The cells that are shown of one document, in their order."""

    def __init__(self, document):
        self.cells = {}
        default = document.get("defaultDS")
        clock_type = CLOCK_TYPES.get(default["clockMode"]) if default else None
        if clock_type is not None:
            self._clock(document, default, clock_type)
            for key, port in document.get("ports", {}).items():
                self._port(document, default, clock_type, key, port)
        self.oids = sorted(self.cells)

    def following(self, oid):
        """The first cell after an OID; None where there is none."""
        at = bisect.bisect_right(self.oids, oid)
        return self.oids[at] if at < len(self.oids) else None

    def _row(self, table, index, columns):
        for column, value in columns.items():
            self.cells[(*table, 1, column, *index)] = value

    def _clock(self, document, default, clock_type):
        current = document.get("currentDS", {})
        parent = document.get("parentDS", {})
        time = document.get("timePropertiesDS", {})
        mib_data = document.get("mibData")
        counted = mib_data or {}
        domain = default.get("domainNumber", 0)
        index = domain, clock_type, INSTANCE
        no_quality = {"clockClass": 0, "clockAccuracy": 0, "offsetScaledLogVariance": 0}
        quality = default.get("clockQuality", no_quality)
        gm_quality = parent.get("grandmasterClockQuality", no_quality)
        self._row((*SYSTEM, 1), (domain, INSTANCE), {3: (GAUGE32, counted.get("domainClockPortsTotal", 0))})
        self._row((*SYSTEM, 2), (clock_type,), {2: (GAUGE32, 0 if mib_data is None else 1)})
        self._row((*CLOCK, 1), index, {
            4: (GAUGE32, current.get("stepsRemoved", 0)),
            5: interval(current.get("offsetFromMaster", 0)),
            6: interval(current.get("meanPathDelay", 0)),
        })
        self._row((*CLOCK, 2), index, {
            4: (OCTETS, parent.get("parentPortIdentity", "000000.0000.000000-0").encode()),
            5: truth(parent.get("parentStats")),
            6: (INTEGER, parent.get("observedParentOffsetScaledLogVariance", 0)),
            7: (INTEGER, parent.get("observedParentClockPhaseChangeRate", 0)),
            8: clock_identity(parent.get("grandmasterIdentity", "000000.0000.000000")),
            9: (GAUGE32, parent.get("grandmasterPriority1", 0)),
            10: (GAUGE32, parent.get("grandmasterPriority2", 0)),
            11: (INTEGER, gm_quality["clockClass"]),
            12: (INTEGER, gm_quality["clockAccuracy"]),
            13: (GAUGE32, gm_quality["offsetScaledLogVariance"]),
        })
        self._row((*CLOCK, 3), index, {
            4: truth(default.get("twoStepFlag")),
            5: clock_identity(default["clockIdentity"]),
            6: (GAUGE32, default.get("priority1", 0)),
            7: (GAUGE32, default.get("priority2", 0)),
            8: truth(False),
            9: (INTEGER, quality["clockClass"]),
            10: (INTEGER, quality["clockAccuracy"]),
            11: (INTEGER, quality["offsetScaledLogVariance"]),
        })
        self._row((*CLOCK, 4), index, {
            5: (COUNTER64, counted.get("packetsSent", 0)),
            6: (COUNTER64, counted.get("packetsReceived", 0)),
        })
        self._row((*CLOCK, 5), index, {
            4: truth(time.get("currentUtcOffsetValid")),
            5: (INTEGER, time.get("currentUtcOffset", 0)),
            6: truth(time.get("leap59")),
            7: truth(time.get("leap61")),
            8: truth(time.get("timeTraceable")),
            9: truth(time.get("frequencyTraceable")),
            10: truth(time.get("ptpTimescale")),
            11: (INTEGER, time.get("timeSource", 0)),
        })
        if clock_type == TRANSPARENT_TYPE:
            self._row((*CLOCK, 6), (domain, INSTANCE), {
                3: clock_identity(default["clockIdentity"]),
                4: (COUNTER32, default.get("numberPorts", 0)),
                5: (INTEGER, MODE_AS_DELAY[default["clockMode"]]),
                6: (GAUGE32, domain),
            })

    def _port(self, document, default, clock_type, key, port):
        identity = port.get("portIdentity", key)
        number = int(identity.rpartition("-")[2])
        domain = default.get("domainNumber", 0)
        index = domain, clock_type, INSTANCE, number
        interface = port["interface"]
        name = OCTETS, port.get("portName", interface).encode()
        role = INTEGER, 1 + port.get("role", 0)
        # A port's counters hang from the clock's record.
        counted = port.get("mibData", {}) if document.get("mibData") is not None else {}
        state = port.get("portState", 1)
        delay = port.get("delayMechanism", 0)
        peer_delay = interval(port.get("peerMeanPathDelay", 0))
        self._row((*CLOCK, 7), index, {
            5: name,
            6: role,
            7: truth(port.get("syncTwoStep")),
            10: (GAUGE32, port.get("numberOfAssociatedPorts", 0)),
        })
        self._row((*CLOCK, 8), index, {
            5: name,
            6: (OCTETS, identity.encode()),
            7: (INTEGER, port.get("logAnnounceInterval", 0)),
            8: (INTEGER, port.get("announceReceiptTimeout", 0)),
            9: (INTEGER, port.get("logSyncInterval", 0)),
            10: (INTEGER, port.get("logMinDelayReqInterval", 0)),
            11: (INTEGER, port.get("logMinPdelayReqInterval", 0)),
            12: (INTEGER, delay if delay in (1, 2) else 254),
            13: peer_delay,
            14: (GAUGE32, 0),
            15: (GAUGE32, 2),
        })
        self._row((*CLOCK, 9), index, {
            5: name,
            6: (INTEGER, SLAVE if state == SLAVE_LOCKED else state),
            7: role,
            8: (INTEGER, document.get("interfaces", {}).get(interface, 0)),
            9: (OID, TRANSPORTS[port.get("transport", 0)]),
            10: (OID, TRANSPORTS[port.get("encapsulation", 0)]),
            11: (INTEGER, 1 + port.get("txMode", 0)),
            12: (INTEGER, 1 + port.get("rxMode", 0)),
            13: (COUNTER64, counted.get("packetsReceived", 0)),
            14: (COUNTER64, counted.get("packetsSent", 0)),
        })
        if clock_type == TRANSPARENT_TYPE:
            self._row((*CLOCK, 10), (domain, INSTANCE, number), {
                4: clock_identity(identity.rpartition("-")[0]),
                5: (INTEGER, port.get("logMinPdelayReqInterval", 0)),
                6: truth(port.get("faultyFlag")),
                7: peer_delay,
            })


def merge_patch(before, after):
    """The RFC 7396 patch that makes one document of the other."""
    patch = {name: None for name in before if name not in after}
    for name, value in after.items():
        if name not in before:
            patch[name] = value
        elif isinstance(value, dict) and isinstance(before[name], dict):
            if inner := merge_patch(before[name], value):
                patch[name] = inner
        elif value != before[name]:
            patch[name] = value
    return patch


class ChangingClock:
    """A status document that changes at random: values, ports, their numbers, domain, mode, whole data sets, and
    whether there is a PTP service at all."""

    KEYS = [f"0200{n:02x}.fffe.00{n % 3:02x}00-{n}" for n in range(1, 25)]
    NUMBERS = range(1, 41)  # more than keys, so that ports swap numbers and leave gaps

    def __init__(self, random):
        self.random = random
        self.changes = 0
        self._away = None  # the document, while there is no service
        self.document = {"interfaces": {}, "ports": {}, "mibData": {}}
        self._default()
        for data_set in (self._current, self._parent, self._time, self._mib_data):
            data_set()
        for key in self.KEYS:  # the most at once at first: whatever memory grows by later was lost
            self._port_comes(key)

    def change(self):
        """The document after one more change, which nobody else holds."""
        self.changes += 1
        if self._away is not None:
            self.document, self._away = self._away, None
        elif self.random.random() < 0.01:
            self._away, self.document = self.document, {}
        else:
            kinds = [self._current, self._parent, self._time, self._mib_data, self._drop, self._default, self._mode,
                     self._port_comes, self._port_goes, self._port_number, self._port_values, self._interface]
            for change in self.random.choices(kinds, [9, 2, 2, 9, 1, 1, 1, 6, 5, 2, 20, 3], k=self.random.randrange(1, 4)):
                change()
        return copy.deepcopy(self.document)

    def _flag(self):
        return self.random.random() < 0.5

    def _up_to(self, limit):
        return self.random.randrange(limit)

    def _interval(self):
        return self.random.randrange(-1 << 30, 1 << 30) / 16

    def _quality(self):
        return {"clockClass": self._up_to(256), "clockAccuracy": self._up_to(256),
                "offsetScaledLogVariance": self._up_to(65536)}

    def _counters(self):
        """Tells each document from any other, up to the largest number."""
        return {"packetsSent": self.random.choice([self.changes, (1 << 64) - 1 - self.changes]),
                "packetsReceived": self._up_to(1 << 63)}

    def _default(self):
        mode = self.document.get("defaultDS", {"clockMode": BOUNDARY})["clockMode"]
        self.document["defaultDS"] = {
            "clockIdentity": f"0200{self._up_to(256):02x}.fffe.00{self._up_to(256):02x}01", "clockMode": mode,
            "domainNumber": self.random.choice([0, 0, 1, 24, 127, 128, 255]), "twoStepFlag": self._flag(),
            "numberPorts": self._up_to(65536), "priority1": self._up_to(256), "priority2": self._up_to(256),
            "slaveOnly": self._flag(), "clockQuality": self._quality()}

    def _mode(self):
        self.document["defaultDS"]["clockMode"] = self._up_to(6)

    def _current(self):
        self.document["currentDS"] = {"stepsRemoved": self._up_to(65536), "offsetFromMaster": self._interval(),
                                      "meanPathDelay": self._interval()}

    def _parent(self):
        self.document["parentDS"] = {
            "parentPortIdentity": f"00aa{self._up_to(256):02x}.fffe.ccddee-{self._up_to(65536)}",
            "parentStats": self._flag(), "observedParentOffsetScaledLogVariance": self._up_to(65536),
            "observedParentClockPhaseChangeRate": self._up_to(1 << 32) - (1 << 31),
            "grandmasterIdentity": f"00aa{self._up_to(256):02x}.fffe.ccddee",
            "grandmasterClockQuality": self._quality(), "grandmasterPriority1": self._up_to(256),
            "grandmasterPriority2": self._up_to(256)}

    def _time(self):
        flags = ("currentUtcOffsetValid", "leap59", "leap61", "timeTraceable", "frequencyTraceable", "ptpTimescale")
        self.document["timePropertiesDS"] = {**{name: self._flag() for name in flags},
                                             "currentUtcOffset": self._up_to(65536) - 32768,
                                             "timeSource": self._up_to(256)}

    def _mib_data(self):
        self.document["mibData"] = {**self._counters(), "domainClockPortsTotal": self._up_to(65536)}

    def _drop(self):
        self.document.pop(self.random.choice(["currentDS", "parentDS", "timePropertiesDS", "mibData"]), None)

    def _port(self):
        """The key of a port that is there; None without one."""
        keys = list(self.document["ports"])
        return self.random.choice(keys) if keys else None

    def _free_number(self):
        taken = {port["portIdentity"].rpartition("-")[2] for port in self.document["ports"].values()}
        return self.random.choice([number for number in self.NUMBERS if str(number) not in taken])

    def _port_comes(self, key=None):
        key = key or self.random.choice(self.KEYS)
        if key not in self.document["ports"]:
            self.document["ports"][key] = {"portIdentity": f"{key.rpartition('-')[0]}-{self._free_number()}",
                                           "interface": f"eth{self._up_to(30)}"}
        self._values_of(key)

    def _port_goes(self):
        if key := self._port():
            del self.document["ports"][key]

    def _port_number(self):
        if key := self._port():
            self.document["ports"][key]["portIdentity"] = f"{key.rpartition('-')[0]}-{self._free_number()}"

    def _port_values(self):
        if key := self._port():
            self._values_of(key)

    def _values_of(self, key):
        port = self.document["ports"][key]
        small = ("logAnnounceInterval", "logSyncInterval", "logMinDelayReqInterval", "logMinPdelayReqInterval")
        port.update({name: self._up_to(256) - 128 for name in small})
        port.update({
            "portState": self.random.choice(PORT_STATES), "role": self._up_to(2), "announceReceiptTimeout": self._up_to(128),
            "delayMechanism": self.random.choice([0, 1, 2, 0xfe]), "syncTwoStep": self._flag(),
            "faultyFlag": self._flag(), "numberOfAssociatedPorts": self._up_to(1000), "transport": self._up_to(3),
            "encapsulation": self._up_to(3), "txMode": self._up_to(3), "rxMode": self._up_to(3),
            "peerMeanPathDelay": self._interval(), "mibData": self._counters()})
        if self.random.random() < 0.1:
            port.pop("mibData")  # the row has no record then, and is made anew when it gets one
        if self._flag():
            port["portName"] = "n" * (1 + self._up_to(64))
        else:
            port.pop("portName", None)

    def _interface(self):
        name = f"eth{self._up_to(30)}"
        if self.random.random() < 0.3:
            self.document["interfaces"].pop(name, None)
        else:
            self.document["interfaces"][name] = 1 + self._up_to((1 << 31) - 1)
