#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "Kestor/String.h"

namespace Pelor {

enum class AddressFamily : std::uint8_t { ipv4, ipv6 };

/// An IPv4 or IPv6 address. An IPv4 address stands in the first four bytes; the rest are zero.
struct IpGenAddr {
  std::array<std::uint8_t, 16> bytes{};
  AddressFamily family = AddressFamily::ipv4;

  IpGenAddr() = default;
  /// From "192.0.2.1" or "2001:db8::1". Throws Zarn::RangeException.
  explicit IpGenAddr(std::string_view text);

  Kestor::String stringValue() const;

  friend bool operator==(const IpGenAddr&, const IpGenAddr&) noexcept = default;
};

std::ostream& operator<<(std::ostream& os, const IpGenAddr& address);

}  // namespace Pelor
