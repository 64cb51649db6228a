#pragma once

#include <cstdint>
#include <string>

#include "StatusSnapshot.h"

/// The fields of the status document, each list stated once: visitFields(values, visit) calls visit(name,
/// field) for each member of the values' object, with Presence::required where a document without it is
/// refused. A field whose form in the document does not follow from its type is wrapped into one of the types
/// below.
namespace host {

enum class Presence { optional, required };

/// A time interval, in the document in nanoseconds with a fraction.
struct Nanoseconds {
  Ptp::TimeInterval& scaled;
};

/// A signed number in a field of the unsigned type.
struct Signed16 {
  Pelor::NetU16& bits;
};

/// The name of a port or an interface: 1 to 64 bytes.
struct Name {
  std::string& text;
};

/// The identity of a port of this clock: unlike that of a parent, which may be no port at all, its number is
/// not 0.
struct OwnPortIdentity {
  Ptp::PortIdentity& identity;
};

template <class Visit>
void visitFields(Ptp::ClockQuality& values, Visit& visit) {
  visit("clockClass", values.clockClass);
  visit("clockAccuracy", values.clockAccuracy);
  visit("offsetScaledLogVariance", values.offsetScaledLogVariance);
}

template <class Visit>
void visitFields(Ptp::DefaultDSValues& values, Visit& visit) {
  visit("clockIdentity", values.clockIdentity, Presence::required);
  visit("clockMode", values.clockMode, Presence::required);
  visit("domainNumber", values.domainNumber);
  visit("twoStepFlag", values.twoStepFlag);
  visit("slaveOnly", values.slaveOnly);
  visit("numberPorts", values.numberPorts);
  visit("clockQuality", values.clockQuality);
  visit("priority1", values.priority1);
  visit("priority2", values.priority2);
}

template <class Visit>
void visitFields(Ptp::CurrentDSValues& values, Visit& visit) {
  visit("stepsRemoved", values.stepsRemoved);
  visit("offsetFromMaster", Nanoseconds{values.offsetFromMaster});
  visit("meanPathDelay", Nanoseconds{values.meanPathDelay});
}

template <class Visit>
void visitFields(Ptp::ParentSource& values, Visit& visit) {
  visit("address", values.address);
  visit("word", values.word);
  visit("halfWord", values.halfWord);
}

template <class Visit>
void visitFields(Ptp::ParentDSValues& values, Visit& visit) {
  visit("parentPortIdentity", values.parentPortIdentity);
  visit("parentSource", values.parentSource);
  visit("parentStats", values.parentStats);
  visit("observedParentOffsetScaledLogVariance", values.observedParentOffsetScaledLogVariance);
  visit("observedParentClockPhaseChangeRate", values.observedParentClockPhaseChangeRate);
  visit("grandmasterIdentity", values.grandmasterIdentity);
  visit("grandmasterClockQuality", values.grandmasterClockQuality);
  visit("grandmasterPriority1", values.grandmasterPriority1);
  visit("grandmasterPriority2", values.grandmasterPriority2);
}

template <class Visit>
void visitFields(Ptp::TimePropertiesDSValues& values, Visit& visit) {
  visit("currentUtcOffset", Signed16{values.currentUtcOffset});
  visit("currentUtcOffsetValid", values.currentUtcOffsetValid);
  visit("leap59", values.leap59);
  visit("leap61", values.leap61);
  visit("timeTraceable", values.timeTraceable);
  visit("frequencyTraceable", values.frequencyTraceable);
  visit("ptpTimescale", values.ptpTimescale);
  visit("timeSource", values.timeSource);
}

template <class Visit>
void visitFields(Ptp::PacketCounters& values, Visit& visit) {
  visit("packetsSent", values.packetsSent);
  visit("packetsReceived", values.packetsReceived);
}

template <class Visit>
void visitFields(MibDataSnapshot& values, Visit& visit) {
  visitFields(values.counters, visit);
  visit("domainClockPortsTotal", values.domainClockPortsTotal);
}

template <class Visit>
void visitFields(PortSnapshot& port, Visit& visit) {
  Ptp::PortDSValues& values = port.values;
  visit("portIdentity", OwnPortIdentity{values.portIdentity});
  visit("portName", Name{values.name});
  visit("interface", Name{port.interface});
  visit("portState", values.portState);
  visit("role", values.role);
  visit("logMinDelayReqInterval", values.logMinDelayReqInterval);
  visit("peerMeanPathDelay", Nanoseconds{values.peerMeanPathDelay});
  visit("logAnnounceInterval", values.logAnnounceInterval);
  visit("announceReceiptTimeout", values.announceReceiptTimeout);
  visit("logSyncInterval", values.logSyncInterval);
  visit("delayMechanism", values.delayMechanism);
  visit("logMinPdelayReqInterval", values.logMinPdelayReqInterval);
  visit("syncTwoStep", values.syncTwoStep);
  visit("faultyFlag", values.faultyFlag);
  visit("numberOfAssociatedPorts", values.numberOfAssociatedPorts);
  visit("transport", values.transport);
  visit("encapsulation", values.encapsulation);
  visit("txMode", values.txMode);
  visit("rxMode", values.rxMode);
  visit("mibData", port.counters);
}

template <class Visit>
void visitFields(StatusSnapshot& status, Visit& visit) {
  visit("defaultDS", status.defaultDS);
  visit("currentDS", status.currentDS);
  visit("parentDS", status.parentDS);
  visit("timePropertiesDS", status.timePropertiesDS);
  visit("mibData", status.mibData);
  visit("ports", status.ports);
  visit("interfaces", status.interfaces);
}

}  // namespace host
