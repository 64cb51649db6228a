#include "DomainSearch.h"

#include <algorithm>

namespace host::ptp4l {

namespace {
constexpr unsigned domainNumbers = 256;
constexpr unsigned marks = 2;
}  // namespace

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

// The domains of a round follow each other, so that the first to be given back is where the search goes on.
void DomainSearch::giveBack(const std::vector<Domain>& domains) noexcept {
  const auto first = std::find_if(domains.begin(), domains.end(), [this](Domain domain) { return domain != known_; });
  if (first != domains.end()) position_ = first->domainNumber * marks + first->transportSpecific;
}

Domain DomainSearch::next() noexcept {
  const unsigned position = position_++ % (domainNumbers * marks);
  return {.domainNumber = static_cast<std::uint8_t>(position / marks),
          .transportSpecific = static_cast<std::uint8_t>(position % marks)};
}

}  // namespace host::ptp4l
