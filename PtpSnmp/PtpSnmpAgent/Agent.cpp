#include "PtpSnmpAgent/Agent.h"

#include "Zarn/TypeData.h"

namespace PtpSnmp::Agent {

Agent::Agent(const StatusPtr& ptpStatus, const PtpMibPtr& ptpMib, const IfMibPtr& ifMib)
    : ptpStatus_(ptpStatus), ptpMib_(ptpMib), ifMib_(ifMib) {
  flagIs(notificationActiveFlag, true);
  ptpSnmpSmIs(ptpStatus, ifMib, ptpMib);
}

Agent::~Agent() {
  flagIs(notificationActiveFlag, false);
  ptpSnmpSmDel();
}

Kestor::Ptr<PtpSnmpSm> Agent::ptpSnmpSmIs(const StatusPtr& ptpStatus, const IfMibPtr& ifMib, const PtpMibPtr& ptpMib) {
  if (ptpSnmpSm_ && ptpSnmpSm_->ptpStatus() == ptpStatus && ptpSnmpSm_->ifMib() == ifMib &&
      ptpSnmpSm_->ptpMib() == ptpMib) {
    return ptpSnmpSm_;
  }
  ptpSnmpSm_ = PtpSnmpSm::PtpSnmpSmIs(ptpStatus, ifMib, ptpMib);
  const Kestor::Ptr<PtpSnmpSm> machine = ptpSnmpSm_;
  machine->hasNotificationActiveIs(true);
  return machine;
}

void Agent::ptpSnmpSmDel() {
  Kestor::Ptr<PtpSnmpSm> machine;
  machine.swap(ptpSnmpSm_);
  if (machine) machine->hasNotificationActiveIs(false);
}

Zarn::MemAllocationTracker Agent::memAllocationTracker_{"PtpSnmp::Agent::Agent"};

const Zarn::TypeData& Agent::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      Zarn::attribute<&Agent::ptpStatus>(257, "ptpStatus"),
      Zarn::attribute<&Agent::ptpMib>(258, "ptpMib"),
      Zarn::attribute<&Agent::ifMib>(259, "ifMib"),
      Zarn::attribute<&Agent::ptpSnmpSm>(260, "ptpSnmpSm"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::Agent::Agent", attributes};
  return data;
}
const Zarn::TypeData& Agent::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp::Agent
