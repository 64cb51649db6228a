#include "IntfSnmp/IfMib.h"

#include "Zarn/TypeData.h"

namespace IntfSnmp {

const Zarn::TypeData& IfMib::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"IntfSnmp::IfMib", {}};
  return data;
}

}  // namespace IntfSnmp
