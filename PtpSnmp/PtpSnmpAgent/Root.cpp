#include "PtpSnmpAgent/Root.h"

#include "Zarn/Exception.h"
#include "Zarn/TypeData.h"

namespace PtpSnmp::Agent {
namespace {

template <class T>
Kestor::Ptr<T> argument(const Kestor::Ptr<Zarn::Entity>& entity, const char* name) {
  const Kestor::Ptr<T> typed(dynamic_cast<T*>(entity.get()));
  if (entity && !typed) {
    throw Zarn::RangeException(Kestor::String("PtpSnmp::Agent::Root.agent: the argument ") + name +
                               " is of another type: " + Kestor::String(entity->fwkType()));
  }
  return typed;
}

// Sets "agent" from the status, the MIB container and the interface map.
void agentFromEntities(Kestor::Node& node, std::span<const Kestor::Ptr<Zarn::Entity>> arguments) {
  if (arguments.size() != 3) {
    throw Zarn::RangeException("PtpSnmp::Agent::Root.agent takes ptpStatus, ptpMib and ifMib");
  }
  static_cast<Root&>(node).agentIs(argument<Ptp::Status>(arguments[0], "ptpStatus"),
                                   argument<PtpMib>(arguments[1], "ptpMib"),
                                   argument<IntfSnmp::IfMib>(arguments[2], "ifMib"));
}

}  // namespace

Kestor::Ptr<Root> Root::RootIs(const Kestor::String& name) { return Kestor::make<Root>(name); }

Kestor::Ptr<Root> rootFactory(const Kestor::String& name) { return Root::RootIs(name); }

Kestor::Ptr<Agent> Root::agentIs(const Agent::StatusPtr& ptpStatus, const Agent::PtpMibPtr& ptpMib,
                                 const Agent::IfMibPtr& ifMib) {
  if (agent_ && agent_->ptpStatus() == ptpStatus && agent_->ptpMib() == ptpMib && agent_->ifMib() == ifMib) {
    return agent_;
  }
  const auto agent = Kestor::make<Agent>(ptpStatus, ptpMib, ifMib);
  agent_ = agent;
  publisher().publishRecursively(agentAttribute);
  return agent;
}

void Root::agentDel() {
  agent_.reset();
  publisher().publishRecursively(agentAttribute);
}

Zarn::MemAllocationTracker Root::memAllocationTracker_{"PtpSnmp::Agent::Root"};

const Zarn::TypeData& Root::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      Zarn::attribute<&Root::name, Root>(nameAttribute, "name"),
      Zarn::attribute<&Root::agent>(agentAttribute, "agent", agentFromEntities),
  };
  static constexpr Zarn::TypeData data{
      "PtpSnmp::Agent::Root", attributes,
      [](const Kestor::String& name) -> Kestor::Ptr<Zarn::Entity> { return rootFactory(name); }};
  return data;
}
const Zarn::TypeData& Root::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp::Agent
