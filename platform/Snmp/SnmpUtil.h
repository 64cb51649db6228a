#pragma once

#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Zarn/Entity.h"

namespace Snmp {

/// The agent's configuration, which modules are handed at their registration.
class Config final : public Kestor::Node {
 public:
  const Zarn::TypeData& typeData() const noexcept override;
};

}  // namespace Snmp

namespace SnmpUtil {

/// Never null.
Kestor::Ptr<const Snmp::Config> getSnmpConfig();

/// The entity at a path of the state database relative to the agent's root, or null.
Zarn::Entity* getEntityRelative(const char* path);

}  // namespace SnmpUtil
