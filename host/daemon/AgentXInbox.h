#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "gate/AgentXGate.h"

namespace host {

/// The AgentX message that comes in, until it is whole. Of one that is larger than the library parses only the header
/// is kept, so that it can be answered.
class AgentXInbox {
 public:
  static constexpr std::size_t largestMessage = 1 << 16;  // that the library parses, here and in the master

  /// Where the next octets of this message, and of no other, are to be put. REQUIRES !whole().
  std::span<std::uint8_t> room();
  /// Takes as received the octets that were put there.
  void received(std::size_t count);
  /// Begins with the next message.
  void clear();

  bool whole() const noexcept { return received_ >= gate::agentXHeaderOctets && received_ == length_; }
  /// In octets, by its header; those of a header as long as that is not there.
  std::uint64_t length() const noexcept { return length_; }
  /// REQUIRES whole().
  gate::AgentXHeader header() const noexcept;
  /// REQUIRES whole() and length() <= largestMessage.
  std::span<const std::uint8_t> message() const noexcept { return {octets_.data(), static_cast<std::size_t>(length_)}; }

 private:
  std::vector<std::uint8_t> octets_;
  std::uint64_t received_ = 0;
  std::uint64_t length_ = gate::agentXHeaderOctets;
};

}  // namespace host
