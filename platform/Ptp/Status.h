#pragma once

#include <cstdint>

#include "Kestor/Ptr.h"
#include "Ptp/DataSets.h"
#include "Ptp/PortDSKey.h"
#include "Zarn/Entity.h"
#include "Zarn/HashMap2018.h"

namespace Ptp {

/// What the status holds for management alone: the clock's counters and each port's.
class PtpMibData final : public Kestor::Node, public Zarn::SlabAllocated<PtpMibData> {
 public:
  struct HN_PtpMibPortData : PortDSKeyed {
    using Value = Kestor::Ptr<PtpMibPortData>;
  };
  using PortData = Zarn::HashMap2018<HN_PtpMibPortData>;

  const Zarn::TypeData& typeData() const noexcept override;

  PacketCounters counters;
  std::uint16_t domainClockPortsTotal = 0;  ///< clock ports in the domain; host byte order
  PortData ptpMibPortData;

  static Zarn::MemAllocationTracker memAllocationTracker_;
};

/// The root of the device's PTP status. Any reference may be null: the service may not hold that data set.
///
/// Each mutator publishes a change of its attribute when the reference, or the entry of the collection,
/// changed.
class Status final : public Zarn::Entity {
 public:
  static constexpr Kestor::AttributeId defaultDSAttribute = 263;
  static constexpr Kestor::AttributeId currentDSAttribute = 264;
  static constexpr Kestor::AttributeId parentDSAttribute = 265;
  static constexpr Kestor::AttributeId timePropertiesDSAttribute = 266;
  static constexpr Kestor::AttributeId ptpMibDataAttribute = 267;
  static constexpr Kestor::AttributeId portDSAttribute = 275;

  struct HN_PortDS : PortDSKeyed {
    using Value = Kestor::Ptr<PortDS>;
  };
  using PortDSMap = Zarn::HashMap2018<HN_PortDS>;

  explicit Status(const Kestor::String& name) : Entity(name) {}
  const Zarn::TypeData& typeData() const noexcept override;

  const Kestor::Ptr<DefaultDS>& defaultDS() const noexcept { return defaultDS_; }
  const Kestor::Ptr<CurrentDS>& currentDS() const noexcept { return currentDS_; }
  const Kestor::Ptr<ParentDS>& parentDS() const noexcept { return parentDS_; }
  const Kestor::Ptr<TimePropertiesDS>& timePropertiesDS() const noexcept { return timePropertiesDS_; }
  const Kestor::Ptr<PtpMibData>& ptpMibData() const noexcept { return ptpMibData_; }
  const PortDSMap& portDS() const noexcept { return portDS_; }
  /// The port's data set, or null.
  Kestor::Ptr<PortDS> portDS(const PortDSKey& key) const noexcept;

  void defaultDSIs(Kestor::Ptr<DefaultDS> defaultDS);
  void currentDSIs(Kestor::Ptr<CurrentDS> currentDS);
  void parentDSIs(Kestor::Ptr<ParentDS> parentDS);
  void timePropertiesDSIs(Kestor::Ptr<TimePropertiesDS> timePropertiesDS);
  void ptpMibDataIs(Kestor::Ptr<PtpMibData> ptpMibData);
  void portDSIs(const PortDSKey& key, Kestor::Ptr<PortDS> portDS);
  void portDSDel(const PortDSKey& key);

 private:
  template <class T>
  void referenceIs(Kestor::Ptr<T>& held, Kestor::Ptr<T>& given, Kestor::AttributeId attribute);

  Kestor::Ptr<DefaultDS> defaultDS_;
  Kestor::Ptr<CurrentDS> currentDS_;
  Kestor::Ptr<ParentDS> parentDS_;
  Kestor::Ptr<TimePropertiesDS> timePropertiesDS_;
  Kestor::Ptr<PtpMibData> ptpMibData_;
  PortDSMap portDS_;
};

}  // namespace Ptp
