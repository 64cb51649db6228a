#include "Ptp/PortDSKey.h"

#include "Zarn/HashMap2018.h"

namespace Ptp {

std::uint64_t PortDSKey::hash(std::uint64_t seed) const noexcept {
  return Zarn::singleAttributeHash(portNumber.value(), Zarn::singleAttributeHash(clockIdentity.value(), seed));
}

std::ostream& operator<<(std::ostream& os, const PortDSKey& key) { return os << key.stringValue(); }

}  // namespace Ptp
