#include "PtpSnmp/PortRows.h"

#include "Zarn/TypeData.h"

namespace PtpSnmp {
namespace {

Kestor::Ptr<const Ptp::PortDS> findPortDS(const Kestor::Ptr<const Ptp::Status>& status, const Ptp::PortDSKey& key) {
  if (!status) return nullptr;
  return status->portDS(key);
}

Kestor::Ptr<const Ptp::PtpMibPortData> findPtpMibPortData(const Kestor::Ptr<const Ptp::Status>& status,
                                                          const Ptp::PortDSKey& key) {
  if (!status || !status->ptpMibData()) return nullptr;
  const Kestor::Ptr<Ptp::PtpMibPortData>* found = status->ptpMibData()->ptpMibPortData.find(key);
  return found != nullptr ? *found : nullptr;
}

// Reads a member of the object that a row keeps, or a zero value where the row has none.
template <class Object, class Values, class T>
T valueOr0(const Kestor::Ptr<const Object>& object, T Values::*member) noexcept {
  return object ? (*object).*member : T{};
}

}  // namespace

PortTableEntry::PortTableEntry(const PortTableKey& key, const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                               const Ptp::PortDSKey& portDSKey, const Kestor::Ptr<const IntfSnmp::IfMib>& ifMib)
    : key_(key),
      ptpStatus_(ptpStatus),
      portDSKey_(portDSKey),
      ifMib_(ifMib),
      portDS_(findPortDS(ptpStatus, portDSKey)),
      ptpMibPortData_(findPtpMibPortData(ptpStatus, portDSKey)) {}

const Kestor::String& PortTableEntry::name() const noexcept {
  static const Kestor::String none;
  return portDS_ ? portDS_->name : none;
}
PtpMib::ClockRoleType PortTableEntry::role() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::role); }
bool PortTableEntry::syncTwoStep() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::syncTwoStep); }
std::uint32_t PortTableEntry::numOfAssociatedPorts() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::numberOfAssociatedPorts);
}
Ptp::PortIdentity PortTableEntry::portIdentity() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::portIdentity);
}
std::int32_t PortTableEntry::logAnnouncementInterval() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::logAnnounceInterval);
}
std::int32_t PortTableEntry::announceRctTimeout() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::announceReceiptTimeout);
}
std::int32_t PortTableEntry::logSyncInterval() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::logSyncInterval);
}
std::int32_t PortTableEntry::minDelayReqInterval() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::logMinDelayReqInterval);
}
std::int32_t PortTableEntry::peerDelayReqInterval() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::logMinPdelayReqInterval);
}
Ptp::DelayMechanism PortTableEntry::delayMech() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::delayMechanism);
}
Ptp::TimeInterval PortTableEntry::peerMeanPathDelay() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::peerMeanPathDelay);
}
Ptp::PortState PortTableEntry::state() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::portState); }
Ptp::TransportMode PortTableEntry::transport() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::transport); }
Ptp::TransportMode PortTableEntry::encapsulationType() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::encapsulation);
}
PtpMib::RxTxMode PortTableEntry::txMode() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::txMode); }
PtpMib::RxTxMode PortTableEntry::rxMode() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::rxMode); }
std::uint64_t PortTableEntry::packetsReceived() const noexcept {
  return valueOr0(ptpMibPortData_, &Ptp::PacketCounters::packetsReceived);
}
std::uint64_t PortTableEntry::packetsSent() const noexcept {
  return valueOr0(ptpMibPortData_, &Ptp::PacketCounters::packetsSent);
}

std::uint32_t PortTableEntry::interfaceIndex() const noexcept {
  const Kestor::Ptr<const IntfSnmp::IfMib> ifMib = ifMib_;
  const Kestor::Ptr<const Ptp::PortDS> portDS = portDS_;
  if (!ifMib || !portDS) return 0;
  const std::uint32_t* ifIndex = ifMib->ifIndexByIntfId().find(portDS->intfId);
  return ifIndex != nullptr ? *ifIndex : 0;
}

std::string_view PortTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                                           const Ptp::PortDSKey& portDSKey,
                                           const Kestor::Ptr<const IntfSnmp::IfMib>& ifMib) const noexcept {
  if (ptpStatus_ != ptpStatus) return "ptpStatus";
  if (portDSKey_ != portDSKey) return "portDSKey";
  if (ifMib_ != ifMib) return "ifMib";
  return "";
}

PortTransDSTableEntry::PortTransDSTableEntry(const PortTransDSTableKey& key,
                                             const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                                             const Ptp::PortDSKey& portDSKey)
    : key_(key), ptpStatus_(ptpStatus), portDSKey_(portDSKey), portDS_(findPortDS(ptpStatus, portDSKey)) {}

Ptp::ClockIdentity PortTransDSTableEntry::portIdentity() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::portIdentity).clockIdentity;
}
bool PortTransDSTableEntry::faultyFlag() const noexcept { return valueOr0(portDS_, &Ptp::PortDS::faultyFlag); }
std::int32_t PortTransDSTableEntry::logMinPdelayReqInt() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::logMinPdelayReqInterval);
}
Ptp::TimeInterval PortTransDSTableEntry::peerMeanPathDelay() const noexcept {
  return valueOr0(portDS_, &Ptp::PortDS::peerMeanPathDelay);
}

std::string_view PortTransDSTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                                                  const Ptp::PortDSKey& portDSKey) const noexcept {
  if (ptpStatus_ != ptpStatus) return "ptpStatus";
  if (portDSKey_ != portDSKey) return "portDSKey";
  return "";
}

// Type records and allocation trackers. Attribute ids count in declaration order.

using Zarn::attribute;

Zarn::MemAllocationTracker PortTableEntry::memAllocationTracker_{"PtpSnmp::PortTableEntry"};

const Zarn::TypeData& PortTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&PortTableEntry::key>(257, "key"),
      attribute<&PortTableEntry::domainIndex>(258, "domainIndex"),
      attribute<&PortTableEntry::clockTypeIndex>(259, "clockTypeIndex"),
      attribute<&PortTableEntry::instanceIndex>(260, "instanceIndex"),
      attribute<&PortTableEntry::portNumberIndex>(261, "portNumberIndex"),
      attribute<&PortTableEntry::ptpStatus>(262, "ptpStatus"),
      attribute<&PortTableEntry::portDSKey>(263, "portDSKey"),
      attribute<&PortTableEntry::ifMib>(264, "ifMib"),
      attribute<&PortTableEntry::portDS>(265, "portDS"),
      attribute<&PortTableEntry::ptpMibPortData>(266, "ptpMibPortData"),
      attribute<&PortTableEntry::name>(267, "name"),
      attribute<&PortTableEntry::role>(268, "role"),
      attribute<&PortTableEntry::syncTwoStep>(269, "syncTwoStep"),
      attribute<&PortTableEntry::numOfAssociatedPorts>(270, "numOfAssociatedPorts"),
      attribute<&PortTableEntry::portIdentity>(271, "portIdentity"),
      attribute<&PortTableEntry::logAnnouncementInterval>(272, "logAnnouncementInterval"),
      attribute<&PortTableEntry::announceRctTimeout>(273, "announceRctTimeout"),
      attribute<&PortTableEntry::logSyncInterval>(274, "logSyncInterval"),
      attribute<&PortTableEntry::minDelayReqInterval>(275, "minDelayReqInterval"),
      attribute<&PortTableEntry::peerDelayReqInterval>(276, "peerDelayReqInterval"),
      attribute<&PortTableEntry::delayMech>(277, "delayMech"),
      attribute<&PortTableEntry::peerMeanPathDelay>(278, "peerMeanPathDelay"),
      attribute<&PortTableEntry::ptpVersion>(279, "ptpVersion"),
      attribute<&PortTableEntry::state>(280, "state"),
      attribute<&PortTableEntry::interfaceIndex>(281, "interfaceIndex"),
      attribute<&PortTableEntry::transport>(282, "transport"),
      attribute<&PortTableEntry::encapsulationType>(283, "encapsulationType"),
      attribute<&PortTableEntry::txMode>(284, "txMode"),
      attribute<&PortTableEntry::rxMode>(285, "rxMode"),
      attribute<&PortTableEntry::packetsReceived>(286, "packetsReceived"),
      attribute<&PortTableEntry::packetsSent>(287, "packetsSent"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::PortTableEntry", attributes};
  return data;
}
const Zarn::TypeData& PortTableEntry::typeData() const noexcept { return type(); }

Zarn::MemAllocationTracker PortTransDSTableEntry::memAllocationTracker_{"PtpSnmp::PortTransDSTableEntry"};

const Zarn::TypeData& PortTransDSTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&PortTransDSTableEntry::key>(257, "key"),
      attribute<&PortTransDSTableEntry::domainIndex>(258, "domainIndex"),
      attribute<&PortTransDSTableEntry::instanceIndex>(259, "instanceIndex"),
      attribute<&PortTransDSTableEntry::portNumberIndex>(260, "portNumberIndex"),
      attribute<&PortTransDSTableEntry::ptpStatus>(261, "ptpStatus"),
      attribute<&PortTransDSTableEntry::portDSKey>(262, "portDSKey"),
      attribute<&PortTransDSTableEntry::portDS>(263, "portDS"),
      attribute<&PortTransDSTableEntry::portIdentity>(264, "portIdentity"),
      attribute<&PortTransDSTableEntry::faultyFlag>(265, "faultyFlag"),
      attribute<&PortTransDSTableEntry::logMinPdelayReqInt>(266, "logMinPdelayReqInt"),
      attribute<&PortTransDSTableEntry::peerMeanPathDelay>(267, "peerMeanPathDelay"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::PortTransDSTableEntry", attributes};
  return data;
}
const Zarn::TypeData& PortTransDSTableEntry::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp
