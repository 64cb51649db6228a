#pragma once

#include <compare>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "Kestor/String.h"
#include "Ptp/Identity.h"
#include "Zarn/HashMap2018.h"

namespace Ptp {

/// Names a port within the status, from its appearance to its removal: the port identity that it had when it
/// appeared. The port number that it has now stands in its data set and may be another one.
struct PortDSKey {
  Pelor::NetU64 clockIdentity;
  Pelor::NetU64 portNumber;  ///< 16 bits of use; the width fills the key's 16 bytes without padding

  PortDSKey() = default;
  explicit PortDSKey(const PortIdentity& identity) noexcept
      : clockIdentity(identity.clockIdentity.id), portNumber(identity.portNumber.value()) {}
  /// From the text form, that of a port identity. Throws Zarn::RangeException.
  explicit PortDSKey(std::string_view text) : PortDSKey(PortIdentity(text)) {}

  PortIdentity identity() const noexcept {
    return {ClockIdentity(clockIdentity), Pelor::NetU16(static_cast<std::uint16_t>(portNumber.value()))};
  }
  Kestor::String stringValue() const { return identity().stringValue(); }
  /// Eight neighbouring ports get neighbouring hashes: ports are mostly visited in turn, and so share a cache
  /// line of a hash map's index.
  std::uint64_t hash(std::uint64_t seed) const noexcept {
    constexpr std::uint64_t neighbours = 8 - 1;
    const std::uint64_t port = portNumber.value();
    const std::uint64_t clock = Zarn::singleAttributeHash(clockIdentity.value(), seed);
    return (Zarn::singleAttributeHash(port & ~neighbours, clock) & ~neighbours) | (port & neighbours);
  }

  friend bool operator==(const PortDSKey&, const PortDSKey&) noexcept = default;
  /// By clock identity, then by port number, as numbers.
  friend std::strong_ordering operator<=>(const PortDSKey& left, const PortDSKey& right) noexcept {
    if (const auto order = left.clockIdentity.value() <=> right.clockIdentity.value(); order != 0) return order;
    return left.portNumber.value() <=> right.portNumber.value();
  }
};

static_assert(sizeof(PortDSKey) == 16);

std::ostream& operator<<(std::ostream& os, const PortDSKey& key);

/// Key and hash of a hash map by PortDSKey; derive the map's node from it and add Value.
struct PortDSKeyed {
  using Key = PortDSKey;
  static std::uint64_t hash(const Key& key, std::uint64_t seed) noexcept { return key.hash(seed); }
};

}  // namespace Ptp
