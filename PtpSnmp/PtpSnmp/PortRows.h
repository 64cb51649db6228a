#pragma once

#include <cstdint>
#include <string_view>

#include "IntfSnmp/IfMib.h"
#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Ptp/Status.h"
#include "PtpSnmp/Keys.h"
#include "Zarn/RbTreeMap.h"
#include "Zarn/SlabAllocator.h"

/// The port-level rows. A row finds its port's data set, and its counters record, once, when it is made, and
/// keeps them; every attribute is read from them when it is asked for, and is zero (false, empty) where they
/// are absent. No attribute throws.
namespace PtpSnmp {

/// Serves the port, port data set and port running tables.
class PortTableEntry final : public Kestor::Node,
                             public Zarn::RbTreeMapHook,
                             public Zarn::SlabAllocated<PortTableEntry> {
 public:
  /// The status and the interface MIB may be null.
  PortTableEntry(const PortTableKey& key, const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                 const Ptp::PortDSKey& portDSKey, const Kestor::Ptr<const IntfSnmp::IfMib>& ifMib);
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const PortTableKey& key() const noexcept { return key_; }
  std::uint32_t domainIndex() const noexcept { return key_.domainIndex; }
  ClockType clockTypeIndex() const noexcept { return key_.clockTypeIndex; }
  std::uint32_t instanceIndex() const noexcept { return key_.instanceIndex; }
  std::uint32_t portNumberIndex() const noexcept { return key_.portNumberIndex; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }
  const Ptp::PortDSKey& portDSKey() const noexcept { return portDSKey_; }
  const Kestor::Ptr<const IntfSnmp::IfMib>& ifMib() const noexcept { return ifMib_; }
  const Kestor::Ptr<const Ptp::PortDS>& portDS() const noexcept { return portDS_; }
  const Kestor::Ptr<const Ptp::PtpMibPortData>& ptpMibPortData() const noexcept { return ptpMibPortData_; }

  /// Valid as long as the row is held and the status does not change.
  const Kestor::String& name() const noexcept;
  PtpMib::ClockRoleType role() const noexcept;
  bool syncTwoStep() const noexcept;
  std::uint32_t numOfAssociatedPorts() const noexcept;
  Ptp::PortIdentity portIdentity() const noexcept;
  std::int32_t logAnnouncementInterval() const noexcept;  ///< log2 of seconds, like the other intervals
  std::int32_t announceRctTimeout() const noexcept;       ///< announce intervals
  std::int32_t logSyncInterval() const noexcept;
  std::int32_t minDelayReqInterval() const noexcept;
  std::int32_t peerDelayReqInterval() const noexcept;
  Ptp::DelayMechanism delayMech() const noexcept;
  Ptp::TimeInterval peerMeanPathDelay() const noexcept;
  /// Unicast grants are not reported.
  std::uint32_t grantDuration() const noexcept { return 0; }
  /// Every port is reported as running PTP version 2, whatever the status holds.
  std::uint32_t ptpVersion() const noexcept { return 2; }
  Ptp::PortState state() const noexcept;
  /// The ifIndex of the port's interface, or 0 where the interface MIB has none.
  std::uint32_t interfaceIndex() const noexcept;
  Ptp::TransportMode transport() const noexcept;
  Ptp::TransportMode encapsulationType() const noexcept;
  PtpMib::RxTxMode txMode() const noexcept;
  PtpMib::RxTxMode rxMode() const noexcept;
  std::uint64_t packetsReceived() const noexcept;
  std::uint64_t packetsSent() const noexcept;

  /// The first constructor argument that differs from what the row holds, or an empty name.
  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus, const Ptp::PortDSKey& portDSKey,
                             const Kestor::Ptr<const IntfSnmp::IfMib>& ifMib) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const PortTableKey key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
  const Ptp::PortDSKey portDSKey_;
  const Kestor::Ptr<const IntfSnmp::IfMib> ifMib_;
  const Kestor::Ptr<const Ptp::PortDS> portDS_;
  const Kestor::Ptr<const Ptp::PtpMibPortData> ptpMibPortData_;
};

/// Serves the transparent clock's port table.
class PortTransDSTableEntry final : public Kestor::Node,
                                    public Zarn::RbTreeMapHook,
                                    public Zarn::SlabAllocated<PortTransDSTableEntry> {
 public:
  PortTransDSTableEntry(const PortTransDSTableKey& key, const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                        const Ptp::PortDSKey& portDSKey);
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const PortTransDSTableKey& key() const noexcept { return key_; }
  std::uint32_t domainIndex() const noexcept { return key_.domainIndex; }
  std::uint32_t instanceIndex() const noexcept { return key_.instanceIndex; }
  std::uint32_t portNumberIndex() const noexcept { return key_.portNumberIndex; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }
  const Ptp::PortDSKey& portDSKey() const noexcept { return portDSKey_; }
  const Kestor::Ptr<const Ptp::PortDS>& portDS() const noexcept { return portDS_; }

  /// The clock's part of the port identity: the MIB gives this column eight octets.
  Ptp::ClockIdentity portIdentity() const noexcept;
  bool faultyFlag() const noexcept;
  std::int32_t logMinPdelayReqInt() const noexcept;
  Ptp::TimeInterval peerMeanPathDelay() const noexcept;

  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus,
                             const Ptp::PortDSKey& portDSKey) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const PortTransDSTableKey key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
  const Ptp::PortDSKey portDSKey_;
  const Kestor::Ptr<const Ptp::PortDS> portDS_;
};

}  // namespace PtpSnmp
