#pragma once

#include <cstdint>

#include "Kestor/Node.h"
#include "Kestor/String.h"
#include "Pelor/IntfId.h"
#include "Pelor/IpGenAddr.h"
#include "Pelor/NetInt.h"
#include "Ptp/Enums.h"
#include "Ptp/Identity.h"
#include "Zarn/Entity.h"
#include "Zarn/SlabAllocator.h"

/// The PTP data sets (IEEE 1588-2008, 8.2), each as a plain struct of its values and as the node of the
/// status that holds them. 16-bit fields and identities are in network byte order.
namespace Ptp {

/// IEEE 1588-2008, 5.3.8: nanoseconds scaled by 2^16, in host byte order.
using TimeInterval = std::int64_t;

/// IEEE 1588-2008, 5.3.7.
struct ClockQuality {
  std::uint8_t clockClass = 0;
  std::uint8_t clockAccuracy = 0;
  Pelor::NetU16 offsetScaledLogVariance;

  friend bool operator==(const ClockQuality&, const ClockQuality&) noexcept = default;
};

/// IEEE 1588-2008, 8.2.1, and the device's PTP mode.
struct DefaultDSValues {
  ClockIdentity clockIdentity;
  PtpMode clockMode = PtpMode::disabled;
  std::uint8_t domainNumber = 0;
  bool twoStepFlag = false;
  bool slaveOnly = false;
  Pelor::NetU16 numberPorts;
  ClockQuality clockQuality;
  std::uint8_t priority1 = 0;
  std::uint8_t priority2 = 0;

  friend bool operator==(const DefaultDSValues&, const DefaultDSValues&) noexcept = default;
};

/// IEEE 1588-2008, 8.2.2.
struct CurrentDSValues {
  Pelor::NetU16 stepsRemoved;
  TimeInterval offsetFromMaster = 0;
  TimeInterval meanPathDelay = 0;

  friend bool operator==(const CurrentDSValues&, const CurrentDSValues&) noexcept = default;
};

/// Where the parent's messages come from. The two last fields are the platform's own and are passed on as
/// they are.
struct ParentSource {
  Pelor::IpGenAddr address;
  std::uint32_t word = 0;
  std::uint16_t halfWord = 0;

  friend bool operator==(const ParentSource&, const ParentSource&) noexcept = default;
};

/// IEEE 1588-2008, 8.2.3.
struct ParentDSValues {
  ClockQuality grandmasterClockQuality;
  PortIdentity parentPortIdentity;
  ParentSource parentSource;
  ClockIdentity grandmasterIdentity;
  bool parentStats = false;
  Pelor::NetU16 observedParentOffsetScaledLogVariance;
  std::int32_t observedParentClockPhaseChangeRate = 0;
  std::uint8_t grandmasterPriority1 = 0;
  std::uint8_t grandmasterPriority2 = 0;

  friend bool operator==(const ParentDSValues&, const ParentDSValues&) noexcept = default;
};

/// IEEE 1588-2008, 8.2.4. The UTC offset is a signed 16-bit number of seconds.
struct TimePropertiesDSValues {
  Pelor::NetU16 currentUtcOffset;
  bool currentUtcOffsetValid = false;
  bool leap59 = false;
  bool leap61 = false;
  bool timeTraceable = false;
  bool frequencyTraceable = false;
  bool ptpTimescale = false;
  std::uint8_t timeSource = 0;

  friend bool operator==(const TimePropertiesDSValues&, const TimePropertiesDSValues&) noexcept = default;
};

/// IEEE 1588-2008, 8.2.5, and what the device knows of the port beside it. Intervals are log2 of seconds.
struct PortDSValues {
  PortIdentity portIdentity;
  Kestor::String name;
  Pelor::IntfId intfId;
  PortState portState = PortState::initializing;
  PtpMib::ClockRoleType role = PtpMib::ClockRoleType::master;
  std::int8_t logMinDelayReqInterval = 0;
  TimeInterval peerMeanPathDelay = 0;
  std::int8_t logAnnounceInterval = 0;
  std::uint8_t announceReceiptTimeout = 0;
  std::int8_t logSyncInterval = 0;
  DelayMechanism delayMechanism = DelayMechanism::none;
  std::int8_t logMinPdelayReqInterval = 0;
  bool syncTwoStep = false;
  bool faultyFlag = false;
  std::uint32_t numberOfAssociatedPorts = 0;
  TransportMode transport = TransportMode::ethernet;
  TransportMode encapsulation = TransportMode::ethernet;
  PtpMib::RxTxMode txMode = PtpMib::RxTxMode::unicast;
  PtpMib::RxTxMode rxMode = PtpMib::RxTxMode::unicast;

  friend bool operator==(const PortDSValues&, const PortDSValues&) noexcept = default;
};

/// Packets since the counters were last reset: event and general messages together.
struct PacketCounters {
  std::uint64_t packetsSent = 0;
  std::uint64_t packetsReceived = 0;

  friend bool operator==(const PacketCounters&, const PacketCounters&) noexcept = default;
};

/// The default data set. The two values that decide which rows exist are set through mutators that publish;
/// the rest is written in place.
class DefaultDS final : public Zarn::Entity, public Zarn::SlabAllocated<DefaultDS> {
 public:
  static constexpr Kestor::AttributeId domainNumberAttribute = 264;
  static constexpr Kestor::AttributeId clockModeAttribute = 267;

  explicit DefaultDS(const DefaultDSValues& values);
  const Zarn::TypeData& typeData() const noexcept override;

  const DefaultDSValues& values() const noexcept { return values_; }

  /// Takes over every value, and publishes a change of the domain number and then one of the clock mode, each
  /// only where it changed and at the moment at which the other still, or already, has its old, or new,
  /// value.
  void valuesIs(const DefaultDSValues& values);
  /// Sets one value and publishes, if it changed.
  void domainNumberIs(std::uint8_t domainNumber);
  void clockModeIs(PtpMode clockMode);

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  DefaultDSValues values_;
};

/// A data set that is written in place and has nothing to tell.
template <class Values>
class DataSet final : public Kestor::Node, public Values, public Zarn::SlabAllocated<DataSet<Values>> {
 public:
  explicit DataSet(const Values& values) : Values(values) {}
  const Zarn::TypeData& typeData() const noexcept override;

  const Values& values() const noexcept { return *this; }
  void valuesIs(const Values& values) { static_cast<Values&>(*this) = values; }

  static Zarn::MemAllocationTracker memAllocationTracker_;
};

using CurrentDS = DataSet<CurrentDSValues>;
using ParentDS = DataSet<ParentDSValues>;
using TimePropertiesDS = DataSet<TimePropertiesDSValues>;
using PortDS = DataSet<PortDSValues>;

/// One port's counters.
using PtpMibPortData = DataSet<PacketCounters>;

// Each has a record and a tracker of its own, in DataSets.cpp.
template <>
const Zarn::TypeData& CurrentDS::typeData() const noexcept;
template <>
const Zarn::TypeData& ParentDS::typeData() const noexcept;
template <>
const Zarn::TypeData& TimePropertiesDS::typeData() const noexcept;
template <>
const Zarn::TypeData& PortDS::typeData() const noexcept;
template <>
const Zarn::TypeData& PtpMibPortData::typeData() const noexcept;
template <>
Zarn::MemAllocationTracker CurrentDS::memAllocationTracker_;
template <>
Zarn::MemAllocationTracker ParentDS::memAllocationTracker_;
template <>
Zarn::MemAllocationTracker TimePropertiesDS::memAllocationTracker_;
template <>
Zarn::MemAllocationTracker PortDS::memAllocationTracker_;
template <>
Zarn::MemAllocationTracker PtpMibPortData::memAllocationTracker_;

}  // namespace Ptp
