#include "PtpSnmpAgent/PtpSnmpSm.h"

#include <map>

#include "Zarn/TypeData.h"

namespace PtpSnmp::Agent {
namespace {

// "<key>=<number>,...", in key order, so that equal maps read alike.
Kestor::String portNumbersText(const Kestor::Node& node) {
  std::map<Ptp::PortDSKey, std::uint16_t> sorted;
  for (const auto& [key, number] : static_cast<const PtpSnmpSm&>(node).portDSKeyToPortNumber()) {
    sorted.emplace(key, number);
  }
  Kestor::String text;
  for (const auto& [key, number] : sorted) {
    if (!text.empty()) text += ',';
    text += key.stringValue() + '=' + std::to_string(number);
  }
  return text;
}

}  // namespace

PtpSnmpSm::PtpSnmpSm(const StatusPtr& ptpStatus, const IfMibPtr& ifMib, const PtpMibPtr& ptpMib)
    : ptpStatus_(ptpStatus), ifMib_(ifMib), ptpMib_(ptpMib) {
  statusSlotIs(true);
  handleInitialized();
}

PtpSnmpSm::~PtpSnmpSm() {
  hasNotificationActiveIs(false);
  doZombieReactors(true);
  statusSlotIs(false);
  defaultDSSlotIs(false);
  portDSKeyToPortNumberDelAll();
}

Kestor::Ptr<PtpSnmpSm> PtpSnmpSm::PtpSnmpSmIs(const StatusPtr& ptpStatus, const IfMibPtr& ifMib,
                                              const PtpMibPtr& ptpMib) {
  auto machine = Kestor::make<PtpSnmpSm>(ptpStatus, ifMib, ptpMib);
  machine->hasNotificationActiveIs(true);
  return machine;
}

std::optional<std::uint16_t> PtpSnmpSm::portDSKeyToPortNumber(const Ptp::PortDSKey& key) const {
  const std::uint16_t* number = portDSKeyToPortNumber_.find(key);
  return number != nullptr ? std::optional(*number) : std::nullopt;
}

// Binding a slot that is bound, or unbinding one that is not, changes nothing.
void PtpSnmpSm::statusSlotIs(bool bound) {
  if (!ptpStatus_ || statusSlot_.bound() == bound) return;
  if (bound) {
    ptpStatus_->publisher().subscriberIs(statusSlot_, ptpStatusDispatch);
  } else {
    ptpStatus_->publisher().subscriberDel(statusSlot_);
  }
}

void PtpSnmpSm::defaultDSSlotIs(bool bound) {
  if (!defaultDS_ || defaultDSSlot_.bound() == bound) return;
  if (bound) {
    defaultDS_->publisher().subscriberIs(defaultDSSlot_, defaultDSDispatch);
  } else {
    defaultDS_->publisher().subscriberDel(defaultDSSlot_);
  }
}

void PtpSnmpSm::hasNotificationActiveIs(bool on) {
  if (hasNotificationActive() == on) return;
  flagIs(notificationActiveFlag, on);
  statusSlotIs(on);
  defaultDSSlotIs(on);
}

void PtpSnmpSm::doZombieReactors(bool zombie) {
  if (flag(zombieFlag) == zombie) return;
  flagIs(zombieFlag, zombie);
}

void PtpSnmpSm::runUnlessZombie(std::initializer_list<Handler> handlers) {
  for (const Handler handler : handlers) {
    if (flag(zombieFlag)) return;
    (this->*handler)();
  }
}

void PtpSnmpSm::defaultDSIs(const DefaultDSPtr& defaultDS) {
  if (defaultDS == defaultDS_) return;
  defaultDSSlotIs(false);
  defaultDS_ = defaultDS;
  if (!defaultDS_) return;
  defaultDSSlotIs(true);
  runUnlessZombie({&PtpSnmpSm::handlePtpTablesIndex, &PtpSnmpSm::handlePortTablesIndexColl,
                   &PtpSnmpSm::handleSystemDomainTableIndex, &PtpSnmpSm::handleSystemTableIndex});
}

PtpSnmpSm::DefaultDSPtr PtpSnmpSm::defaultDSDel() {
  defaultDSSlotIs(false);
  DefaultDSPtr held;
  held.swap(defaultDS_);
  return held;
}

void PtpSnmpSm::portDSKeyToPortNumberIs(const Ptp::PortDSKey& key, std::uint16_t portNumber) {
  portDSKeyToPortNumber_.insertOrAssign(key, portNumber);
}

std::uint16_t PtpSnmpSm::portDSKeyToPortNumberDel(const Ptp::PortDSKey& key) {
  const std::uint16_t number = portDSKeyToPortNumber(key).value_or(0);
  portDSKeyToPortNumber_.remove(key);
  return number;
}

void PtpSnmpSm::portDSKeyToPortNumberDelAll() { portDSKeyToPortNumber_.clear(); }

void PtpSnmpSm::ptpStatusDispatch(Kestor::Publisher&, Kestor::Subscriber& subscriber, Kestor::AttributeId attribute,
                                  const void* key, void*) noexcept {
  // Held, so that a handler that causes the machine's own deletion does not free it under the call.
  const Kestor::Ptr<PtpSnmpSm> machine(static_cast<PtpSnmpSm*>(subscriber.owner()));
  if (machine->flag(zombieFlag)) return;
  switch (attribute) {
    case Ptp::Status::defaultDSAttribute: machine->handleDefaultDS(); break;
    case Ptp::Status::portDSAttribute:
      // Without a default data set there is no domain to file the port under; the rebuild that the next one
      // brings finds the port.
      if (machine->defaultDS_) machine->handlePortTablesIndex(*static_cast<const Ptp::PortDSKey*>(key));
      break;
    default: break;
  }
}

void PtpSnmpSm::defaultDSDispatch(Kestor::Publisher&, Kestor::Subscriber& subscriber, Kestor::AttributeId attribute,
                                  const void*, void*) noexcept {
  const Kestor::Ptr<PtpSnmpSm> machine(static_cast<PtpSnmpSm*>(subscriber.owner()));
  switch (attribute) {
    case Ptp::DefaultDS::domainNumberAttribute:
      // The system domain table is keyed by the clock type alone: a new domain leaves it as it is.
      machine->runUnlessZombie({&PtpSnmpSm::handlePtpTablesIndex, &PtpSnmpSm::handlePortTablesIndexColl,
                                &PtpSnmpSm::handleSystemTableIndex});
      break;
    case Ptp::DefaultDS::clockModeAttribute:
      machine->runUnlessZombie({&PtpSnmpSm::handlePtpTablesIndex, &PtpSnmpSm::handlePortTablesIndexColl,
                                &PtpSnmpSm::handleSystemDomainTableIndex, &PtpSnmpSm::handleSystemTableIndex});
      break;
    default: break;
  }
}

Zarn::MemAllocationTracker PtpSnmpSm::memAllocationTracker_{"PtpSnmp::Agent::PtpSnmpSm"};

const Zarn::TypeData& PtpSnmpSm::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      Zarn::attribute<&PtpSnmpSm::ptpStatus>(257, "ptpStatus"),
      Zarn::attribute<&PtpSnmpSm::defaultDS>(258, "defaultDS"),
      Zarn::attribute<&PtpSnmpSm::ifMib>(259, "ifMib"),
      Zarn::attribute<&PtpSnmpSm::ptpMib>(260, "ptpMib"),
      {261, "portDSKeyToPortNumber", portNumbersText},
      Zarn::attribute<&PtpSnmpSm::hasNotificationActive>(262, "hasNotificationActive"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::Agent::PtpSnmpSm", attributes};
  return data;
}
const Zarn::TypeData& PtpSnmpSm::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp::Agent
