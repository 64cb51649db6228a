#include "Ptp/Status.h"

#include "Zarn/TypeData.h"

namespace Ptp {

Zarn::MemAllocationTracker PtpMibData::memAllocationTracker_{"Ptp::PtpMibData"};

const Zarn::TypeData& PtpMibData::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Ptp::PtpMibData", {}};
  return data;
}

const Zarn::TypeData& Status::typeData() const noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      Zarn::attribute<&Status::defaultDS>(defaultDSAttribute, "defaultDS"),
      Zarn::attribute<&Status::currentDS>(currentDSAttribute, "currentDS"),
      Zarn::attribute<&Status::parentDS>(parentDSAttribute, "parentDS"),
      Zarn::attribute<&Status::timePropertiesDS>(timePropertiesDSAttribute, "timePropertiesDS"),
      Zarn::attribute<&Status::ptpMibData>(ptpMibDataAttribute, "ptpMibData"),
  };
  static constexpr Zarn::TypeData data{"Ptp::Status", attributes};
  return data;
}

Kestor::Ptr<PortDS> Status::portDS(const PortDSKey& key) const noexcept {
  const Kestor::Ptr<PortDS>* found = portDS_.find(key);
  return found != nullptr ? *found : nullptr;
}

template <class T>
void Status::referenceIs(Kestor::Ptr<T>& held, Kestor::Ptr<T>& given, Kestor::AttributeId attribute) {
  if (held == given) return;
  held.swap(given);  // the old one is released by the caller, after the change was published
  publisher().publish(attribute);
}

void Status::defaultDSIs(Kestor::Ptr<DefaultDS> defaultDS) { referenceIs(defaultDS_, defaultDS, defaultDSAttribute); }
void Status::currentDSIs(Kestor::Ptr<CurrentDS> currentDS) { referenceIs(currentDS_, currentDS, currentDSAttribute); }
void Status::parentDSIs(Kestor::Ptr<ParentDS> parentDS) { referenceIs(parentDS_, parentDS, parentDSAttribute); }
void Status::timePropertiesDSIs(Kestor::Ptr<TimePropertiesDS> timePropertiesDS) {
  referenceIs(timePropertiesDS_, timePropertiesDS, timePropertiesDSAttribute);
}
void Status::ptpMibDataIs(Kestor::Ptr<PtpMibData> ptpMibData) {
  referenceIs(ptpMibData_, ptpMibData, ptpMibDataAttribute);
}

void Status::portDSIs(const PortDSKey& key, Kestor::Ptr<PortDS> portDS) {
  const Kestor::Ptr<PortDS>* held = portDS_.find(key);
  if (held != nullptr && *held == portDS) return;
  const PortDSKey kept = key;  // the caller's key may live in an entry that a subscriber takes out
  portDS_.insertOrAssign(kept, std::move(portDS));
  publisher().publish(portDSAttribute, &kept);
}

void Status::portDSDel(const PortDSKey& key) {
  const PortDSKey kept = key;  // the caller's key may live in the entry that goes
  if (portDS_.remove(kept)) publisher().publish(portDSAttribute, &kept);
}

}  // namespace Ptp
