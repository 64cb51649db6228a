#pragma once

#include <cstdint>
#include <string_view>

#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Ptp/Status.h"
#include "PtpSnmp/Keys.h"
#include "Zarn/RbTreeMap.h"
#include "Zarn/SlabAllocator.h"

/// The clock-level rows. A row holds its key and the live status, never a value: each attribute is read from
/// the status when it is asked for, and is zero (false, all-zero) while the status or the data set is absent.
/// No attribute throws.
namespace PtpSnmp {

/// The parent port identity and the record that follows it in the parent data set.
struct ParentSourceAddrs {
  Ptp::PortIdentity portIdentity;
  Ptp::ParentSource source;
};
std::ostream& operator<<(std::ostream& os, const ParentSourceAddrs& addrs);

/// Serves the current, parent, default, running and time-properties tables.
class PtpTableEntry final : public Kestor::Node, public Zarn::RbTreeMapHook, public Zarn::SlabAllocated<PtpTableEntry> {
 public:
  PtpTableEntry(const PtpTableKey& key, const Kestor::Ptr<const Ptp::Status>& ptpStatus)
      : key_(key), ptpStatus_(ptpStatus) {}
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const PtpTableKey& key() const noexcept { return key_; }
  std::uint32_t domainIndex() const noexcept { return key_.domainIndex; }
  ClockType clockTypeIndex() const noexcept { return key_.clockTypeIndex; }
  std::uint32_t instanceIndex() const noexcept { return key_.instanceIndex; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }

  // The current data set.
  std::uint16_t stepsRemoved() const noexcept;
  Ptp::TimeInterval offsetFromMaster() const noexcept;
  Ptp::TimeInterval meanPathDelay() const noexcept;

  // The parent data set.
  Ptp::PortIdentity parentPortIdentity() const noexcept;
  ParentSourceAddrs parentSourceAddrs() const noexcept;
  bool parentStats() const noexcept;
  std::int32_t offset() const noexcept;
  std::int32_t clockPhChRate() const noexcept;
  Ptp::ClockIdentity gmClockIdentity() const noexcept;
  std::uint8_t gmClockPriority1() const noexcept;
  std::uint8_t gmClockPriority2() const noexcept;
  std::uint8_t gmClockQualityClass() const noexcept;
  std::uint8_t gmClockQualityAccuracy() const noexcept;
  std::uint16_t gmClockQualityOffset() const noexcept;

  // The default data set.
  bool twoStepFlag() const noexcept;
  Ptp::ClockIdentity clockIdentity() const noexcept;
  std::uint8_t priority1() const noexcept;
  std::uint8_t priority2() const noexcept;
  /// Always false: whether the clock may become a master is not reported, whatever the status holds.
  bool slaveOnly() const noexcept { return false; }
  std::uint8_t qualityClass() const noexcept;
  std::uint8_t qualityAccuracy() const noexcept;
  std::uint16_t qualityOffset() const noexcept;

  // The time-properties data set.
  bool currentUTCOffsetValid() const noexcept;
  std::int16_t currentUTCOffset() const noexcept;  ///< seconds
  bool leap59() const noexcept;
  bool leap61() const noexcept;
  bool timeTraceable() const noexcept;
  bool freqTraceable() const noexcept;
  bool ptpTimescale() const noexcept;
  std::uint8_t source() const noexcept;

  // The MIB data record.
  std::uint64_t packetsSent() const noexcept;
  std::uint64_t packetsReceived() const noexcept;

  /// The first constructor argument that differs from what the row holds, or an empty name.
  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const PtpTableKey key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
};

/// Serves the transparent clock's default table.
class TransDefaultDSTableEntry final : public Kestor::Node,
                                       public Zarn::RbTreeMapHook,
                                       public Zarn::SlabAllocated<TransDefaultDSTableEntry> {
 public:
  TransDefaultDSTableEntry(TransDefaultDSTableKey key, const Kestor::Ptr<const Ptp::Status>& ptpStatus)
      : key_(key), ptpStatus_(ptpStatus) {}
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const TransDefaultDSTableKey& key() const noexcept { return key_; }
  std::uint32_t domainIndex() const noexcept { return key_.domainIndex; }
  std::uint32_t instanceIndex() const noexcept { return key_.instanceIndex; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }

  Ptp::ClockIdentity clockIdentity() const noexcept;
  std::uint16_t numOfPorts() const noexcept;
  /// The device's PTP mode, from which the delay mechanism follows.
  Ptp::PtpMode modeAsDelay() const noexcept;
  std::uint8_t primaryDomain() const noexcept;

  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const TransDefaultDSTableKey key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
};

/// Serves the system table.
class SystemTableEntry final : public Kestor::Node,
                               public Zarn::RbTreeMapHook,
                               public Zarn::SlabAllocated<SystemTableEntry> {
 public:
  SystemTableEntry(SystemTableKey key, const Kestor::Ptr<const Ptp::Status>& ptpStatus)
      : key_(key), ptpStatus_(ptpStatus) {}
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const SystemTableKey& key() const noexcept { return key_; }
  std::uint32_t ptpDomainIndex() const noexcept { return key_.ptpDomainIndex; }
  std::uint32_t ptpInstanceIndex() const noexcept { return key_.ptpInstanceIndex; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }

  std::uint16_t ptpDomainClockPortsTotal() const noexcept;

  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const SystemTableKey key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
};

/// Serves the system-domain table.
class SystemDomainTableEntry final : public Kestor::Node,
                                     public Zarn::RbTreeMapHook,
                                     public Zarn::SlabAllocated<SystemDomainTableEntry> {
 public:
  SystemDomainTableEntry(ClockType key, const Kestor::Ptr<const Ptp::Status>& ptpStatus)
      : key_(key), ptpStatus_(ptpStatus) {}
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const ClockType& key() const noexcept { return key_; }
  ClockType clockTypeIndex() const noexcept { return key_; }
  const Kestor::Ptr<const Ptp::Status>& ptpStatus() const noexcept { return ptpStatus_; }

  /// At most one domain is reported per clock type: 1 while the status holds a MIB data record, else 0.
  std::uint32_t totals() const noexcept;

  std::string_view differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept;

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  const ClockType key_;
  const Kestor::Ptr<const Ptp::Status> ptpStatus_;
};

}  // namespace PtpSnmp
