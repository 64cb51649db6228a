#include "StatusMapping.h"

namespace host::ptp4l {

namespace {

// Without a description the number of ports decides: an ordinary clock has a single one.
Ptp::PtpMode clockMode(const ClockReplies& replies) {
  for (const auto& [number, port] : replies.ports) {
    if (!port.description) continue;
    const std::uint16_t type = port.description->clockType;
    if ((type & ClockDescription::boundaryClock) != 0) return Ptp::PtpMode::boundary;
    if ((type & ClockDescription::ordinaryClock) != 0) return Ptp::PtpMode::ordinary;
    if ((type & ClockDescription::endToEndTransparentClock) != 0) return Ptp::PtpMode::endToEndTransparent;
    if ((type & ClockDescription::peerToPeerTransparentClock) != 0) return Ptp::PtpMode::peerToPeerTransparent;
  }
  return replies.defaultDS->numberPorts.value() > 1 ? Ptp::PtpMode::boundary : Ptp::PtpMode::ordinary;
}

Ptp::TransportMode transport(const std::optional<ClockDescription>& description) {
  if (!description) return Ptp::TransportMode::ethernet;
  switch (description->networkProtocol) {
    case ClockDescription::udpIpv4: return Ptp::TransportMode::ipv4;
    case ClockDescription::udpIpv6: return Ptp::TransportMode::ipv6;
    default: return Ptp::TransportMode::ethernet;
  }
}

bool followsTheParent(Ptp::PortState state) {
  return state == Ptp::PortState::slave || state == Ptp::PortState::uncalibrated;
}

PortSnapshot portSnapshot(const PortReplies& replies, bool twoStep) {
  PortSnapshot port;
  port.values = *replies.dataSet;
  port.interface = replies.interface.value_or("");
  port.counters = replies.counters;

  Ptp::PortDSValues& values = port.values;
  const bool slave = followsTheParent(values.portState);
  values.name = port.interface.empty() ? values.portIdentity.stringValue() : port.interface;
  values.role = slave ? PtpMib::ClockRoleType::slave : PtpMib::ClockRoleType::master;
  values.numberOfAssociatedPorts = slave ? 1 : 0;
  values.syncTwoStep = twoStep;
  values.faultyFlag = values.portState == Ptp::PortState::faulty;
  values.transport = transport(replies.description);
  values.encapsulation = values.transport;
  values.txMode = PtpMib::RxTxMode::multicast;
  values.rxMode = PtpMib::RxTxMode::multicast;
  return port;
}

}  // namespace

StatusSnapshot statusOf(const ClockReplies& replies, const IfIndexLookup& ifIndex) {
  StatusSnapshot status;
  if (!replies.defaultDS) return status;
  status.defaultDS = replies.defaultDS;
  status.defaultDS->clockMode = clockMode(replies);
  status.currentDS = replies.currentDS;
  status.parentDS = replies.parentDS;
  status.timePropertiesDS = replies.timePropertiesDS;

  MibDataSnapshot& mibData = status.mibData.emplace();
  mibData.domainClockPortsTotal = replies.defaultDS->numberPorts.value();
  for (const auto& [number, port] : replies.ports) {
    if (!port.dataSet) continue;
    const std::string interface = port.interface.value_or("");
    if (const auto index = ifIndex(interface)) status.interfaces[interface] = *index;
    status.ports.emplace(Ptp::PortDSKey(port.dataSet->portIdentity),
                         portSnapshot(port, replies.defaultDS->twoStepFlag));
  }
  return status;
}

}  // namespace host::ptp4l
