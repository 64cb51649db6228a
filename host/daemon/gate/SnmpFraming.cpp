#include "gate/SnmpFraming.h"

#include <algorithm>

#include "gate/SnmpGate.h"

namespace host::gate {

std::size_t SnmpFraming::take(Octets received) noexcept {
  std::size_t taken = 0;
  while (left_ == 0 && taken < received.size()) {
    header_[headerOctets_++] = received[taken++];
    const std::size_t length = snmpMessageLength(Octets(header_).first(headerOctets_));
    if (length > largestSnmpMessage) {
      headerOctets_ = 0;
      return received.size();
    }
    if (length == 0) continue;
    left_ = length - headerOctets_;
    headerOctets_ = 0;
    if (left_ == 0) return taken;
  }
  const std::size_t more = std::min(left_, received.size() - taken);
  left_ -= more;
  return taken + more;
}

}  // namespace host::gate
