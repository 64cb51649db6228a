#include "Snmp/SnmpUtil.h"

#include "Zarn/StateDatabase.h"
#include "Zarn/TypeData.h"

namespace Snmp {

const Zarn::TypeData& Config::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Snmp::Config", {}};
  return data;
}

}  // namespace Snmp

namespace SnmpUtil {

Kestor::Ptr<const Snmp::Config> getSnmpConfig() {
  static const auto config = Kestor::make<Snmp::Config>();
  return config;
}

Zarn::Entity* getEntityRelative(const char* path) { return Zarn::StateDatabase::instance().entity(path); }

}  // namespace SnmpUtil
