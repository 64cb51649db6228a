#include "DomainSearch.h"

namespace host::ptp4l {

std::vector<Domain> DomainSearch::round() {
  std::vector<Domain> domains{known_};
  while (domains.size() < roundSize) {
    if (const Domain domain = next(); domain != known_) domains.push_back(domain);
  }
  return domains;
}

void DomainSearch::found(Domain domain) noexcept {
  known_ = domain;
  position_ = 0;
}

Domain DomainSearch::next() noexcept {
  constexpr unsigned domains = 256;
  constexpr unsigned marks = 2;
  const unsigned position = position_++ % (domains * marks);
  return {.domainNumber = static_cast<std::uint8_t>(position / marks),
          .transportSpecific = static_cast<std::uint8_t>(position % marks)};
}

}  // namespace host::ptp4l
