#pragma once

#include "PtpSnmp/Export.h"
#include "PtpSnmpAgent/Agent.h"
#include "Zarn/Entity.h"

namespace PtpSnmp::Agent {

/// The top of the agent's entity tree: what the framework makes by name, and gives its inputs and output.
class Root final : public Zarn::Entity, public Zarn::SlabAllocated<Root> {
 public:
  static constexpr Kestor::AttributeId nameAttribute = 257;
  static constexpr Kestor::AttributeId agentAttribute = 258;

  explicit Root(const Kestor::String& name) : Entity(name) {}
  static Kestor::Ptr<Root> RootIs(const Kestor::String& name);
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const Kestor::Ptr<Agent>& agent() const noexcept { return agent_; }
  /// The agent for exactly these three objects: the one there is, or a new one in its place, and then the
  /// change is published up the tree.
  Kestor::Ptr<Agent> agentIs(const Agent::StatusPtr& ptpStatus, const Agent::PtpMibPtr& ptpMib,
                             const Agent::IfMibPtr& ifMib);
  void agentDel();

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  Kestor::Ptr<Agent> agent_;
};

/// Makes a root without an agent. The framework calls it through the type's record.
PTPSNMP_EXPORT Kestor::Ptr<Root> rootFactory(const Kestor::String& name);

}  // namespace PtpSnmp::Agent
