#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "Kestor/String.h"
#include "Pelor/NetInt.h"

namespace Ptp {

/// IEEE 1588-2008, 7.5.2.2: an EUI-64. Text form "001122.fffe.334455".
struct ClockIdentity {
  Pelor::NetU64 id;

  ClockIdentity() = default;
  explicit ClockIdentity(Pelor::NetU64 netId) noexcept : id(netId) {}
  /// From the text form, hexadecimal digits of either case. Throws Zarn::RangeException.
  explicit ClockIdentity(std::string_view text);

  Kestor::String stringValue() const;

  friend bool operator==(const ClockIdentity&, const ClockIdentity&) noexcept = default;
};

/// IEEE 1588-2008, 5.3.5: a clock and one of its ports. Text form "001122.fffe.334455-1".
struct PortIdentity {
  ClockIdentity clockIdentity;
  Pelor::NetU16 portNumber;

  PortIdentity() = default;
  PortIdentity(ClockIdentity clock, Pelor::NetU16 port) noexcept : clockIdentity(clock), portNumber(port) {}
  /// From the text form. Throws Zarn::RangeException.
  explicit PortIdentity(std::string_view text);

  Kestor::String stringValue() const;
  /// The same, on the caller's frame.
  class Text;
  Text text() const noexcept;

  friend bool operator==(const PortIdentity&, const PortIdentity&) noexcept = default;
};

class PortIdentity::Text {
 public:
  operator std::string_view() const noexcept { return {characters_.data(), size_}; }

 private:
  friend struct PortIdentity;
  std::array<char, sizeof "001122.fffe.334455-65535" - 1> characters_;
  std::size_t size_ = 0;
};

inline Kestor::String PortIdentity::stringValue() const { return Kestor::String(std::string_view(text())); }

std::ostream& operator<<(std::ostream& os, const ClockIdentity& identity);
std::ostream& operator<<(std::ostream& os, const PortIdentity& identity);

}  // namespace Ptp
