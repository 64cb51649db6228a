#pragma once

#include <array>
#include <cstddef>

#include "gate/Ber.h"

namespace host::gate {

/// Finds where SNMP messages end in what a stream brings (RFC 3430, 2.1), whatever parts it comes in.
class SnmpFraming {
 public:
  /// How many of these octets belong to the message that has begun, or begins with them: all of them, or those up to
  /// its end. They are taken as read. All, where no message begins so. REQUIRES some octets.
  std::size_t take(Octets received) noexcept;

 private:
  static constexpr std::size_t longestHeader = 6;  // tag, and a length in five octets

  std::size_t left_ = 0;  ///< octets of the message that has begun; 0 while its header is read
  std::array<std::uint8_t, longestHeader> header_{};
  std::size_t headerOctets_ = 0;
};

}  // namespace host::gate
