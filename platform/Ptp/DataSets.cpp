#include "Ptp/DataSets.h"

#include "Zarn/TypeData.h"

namespace Ptp {

DefaultDS::DefaultDS(const DefaultDSValues& values) : Entity("defaultDS"), values_(values) {}

const Zarn::TypeData& DefaultDS::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::DefaultDS", {}};
  return data;
}

void DefaultDS::valuesIs(const DefaultDSValues& values) {
  const Kestor::Ptr<const DefaultDS> self(this);  // a subscriber may release the data set between two changes
  DefaultDSValues quiet = values;
  quiet.domainNumber = values_.domainNumber;
  quiet.clockMode = values_.clockMode;
  values_ = quiet;
  domainNumberIs(values.domainNumber);
  clockModeIs(values.clockMode);
}

void DefaultDS::domainNumberIs(std::uint8_t domainNumber) {
  if (values_.domainNumber == domainNumber) return;
  values_.domainNumber = domainNumber;
  publisher().publish(domainNumberAttribute);
}

void DefaultDS::clockModeIs(PtpMode clockMode) {
  if (values_.clockMode == clockMode) return;
  values_.clockMode = clockMode;
  publisher().publish(clockModeAttribute);
}

Zarn::MemAllocationTracker DefaultDS::memAllocationTracker_{"Ptp::DefaultDS"};

template <>
Zarn::MemAllocationTracker CurrentDS::memAllocationTracker_{"Ptp::CurrentDS"};
template <>
Zarn::MemAllocationTracker ParentDS::memAllocationTracker_{"Ptp::ParentDS"};
template <>
Zarn::MemAllocationTracker TimePropertiesDS::memAllocationTracker_{"Ptp::TimePropertiesDS"};
template <>
Zarn::MemAllocationTracker PortDS::memAllocationTracker_{"Ptp::PortDS"};
template <>
Zarn::MemAllocationTracker PtpMibPortData::memAllocationTracker_{"Ptp::PtpMibPortData"};

template <>
const Zarn::TypeData& CurrentDS::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::CurrentDS", {}};
  return data;
}
template <>
const Zarn::TypeData& ParentDS::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::ParentDS", {}};
  return data;
}
template <>
const Zarn::TypeData& TimePropertiesDS::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::TimePropertiesDS", {}};
  return data;
}
template <>
const Zarn::TypeData& PortDS::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::PortDS", {}};
  return data;
}
template <>
const Zarn::TypeData& PtpMibPortData::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::PtpMibPortData", {}};
  return data;
}

}  // namespace Ptp
