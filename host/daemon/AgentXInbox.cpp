#include "AgentXInbox.h"

#include <algorithm>

namespace host {

std::span<std::uint8_t> AgentXInbox::room() {
  octets_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(length_, largestMessage)));
  const bool kept = length_ <= largestMessage;
  const std::size_t at = kept ? static_cast<std::size_t>(received_) : gate::agentXHeaderOctets;
  const auto missing = static_cast<std::size_t>(std::min<std::uint64_t>(length_ - received_, octets_.size() - at));
  return std::span(octets_).subspan(at, missing);
}

void AgentXInbox::received(std::size_t count) {
  received_ += count;
  if (received_ == gate::agentXHeaderOctets && length_ == gate::agentXHeaderOctets)
    length_ = gate::agentXLength(header());
}

void AgentXInbox::clear() {
  received_ = 0;
  length_ = gate::agentXHeaderOctets;
}

gate::AgentXHeader AgentXInbox::header() const noexcept {
  gate::AgentXHeader header;
  std::copy_n(octets_.begin(), header.size(), header.begin());
  return header;
}

}  // namespace host
