#include "Ptp/PortDSKey.h"

namespace Ptp {

std::ostream& operator<<(std::ostream& os, const PortDSKey& key) { return os << key.stringValue(); }

}  // namespace Ptp
