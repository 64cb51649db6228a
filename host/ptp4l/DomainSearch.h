#pragma once

#include <cstddef>
#include <vector>

#include "ManagementMessage.h"

namespace host::ptp4l {

/// Which domains to ask in. A clock reads only the messages of its own domain and does not say which one that
/// is, so that a client that does not know must try them all.
class DomainSearch {
 public:
  /// How many domains one round of the search tries. They must leave room in the service's queue, which holds
  /// 10 datagrams by default, for the other clients.
  static constexpr std::size_t roundSize = 8;

  /// The domain that answered last: domain 0 until one did.
  Domain known() const noexcept { return known_; }
  /// The known domain and some of the others, the low ones first. 73 rounds in a row try every domain number,
  /// both as IEEE 1588 marks it and as IEEE 802.1AS does.
  std::vector<Domain> round();
  void found(Domain domain) noexcept;
  /// These were part of the last round and were not tried: they come first in the next one.
  void giveBack(const std::vector<Domain>& domains) noexcept;

 private:
  Domain next() noexcept;

  Domain known_;
  unsigned position_ = 0;
};

}  // namespace host::ptp4l
