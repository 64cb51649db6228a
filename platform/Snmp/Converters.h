#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "Snmp/ObjectIdentifier.h"

/// The generic converters between values and the bytes that snmp_set_var_typed_value takes. The forward ones
/// write into the caller's buffer and return the number of bytes written, or -1 where the buffer is too
/// short. Inline, since a cell's index alone takes eight of them.
namespace Snmp {

/// The agent library's Counter64: two longs, the high 32 bits first.
struct Counter64 {
  unsigned long high;
  unsigned long low;
};

namespace detail {

inline std::int32_t write(const void* value, std::size_t size, unsigned char* buffer, std::size_t length) noexcept {
  if (length < size) return -1;
  if (size != 0) std::memcpy(buffer, value, size);
  return static_cast<std::int32_t>(size);
}

// The agent library widens a 4-byte integer by the signedness of its ASN.1 type; an 8-byte one it would
// truncate with a log line.
template <class T>
std::int32_t writeInteger(T value, unsigned char* buffer, std::size_t length) noexcept {
  static_assert(sizeof value == 4);
  return write(&value, sizeof value, buffer, length);
}

[[noreturn]] void throwDoesNotFit(unsigned long number);
[[noreturn]] void throwDoesNotFit(long number);

}  // namespace detail

struct S32ToAsnIntegerF {
  std::int32_t operator()(int value, unsigned char* buffer, std::size_t length) const noexcept {
    return detail::writeInteger(value, buffer, length);
  }
};
struct U32ToAsnUnsignedF {
  std::int32_t operator()(unsigned int value, unsigned char* buffer, std::size_t length) const noexcept {
    return detail::writeInteger(value, buffer, length);
  }
};
/// SNMPv2-TC TruthValue: true 1, false 2.
struct BoolToAsnIntegerF {
  std::int32_t operator()(bool value, unsigned char* buffer, std::size_t length) const noexcept {
    return detail::writeInteger(value ? 1 : 2, buffer, length);
  }
};
/// The string's bytes, without a terminator.
struct StringToAsnOctetStringF {
  std::int32_t operator()(std::string_view value, unsigned char* buffer, std::size_t length) const noexcept {
    return detail::write(value.data(), value.size(), buffer, length);
  }
};
struct U64ToCounter64F {
  std::int32_t operator()(unsigned long value, unsigned char* buffer, std::size_t length) const noexcept {
    const Counter64 counter{value >> 32, value & 0xffffffff};
    return detail::write(&counter, sizeof counter, buffer, length);
  }
};
/// The array of sub-identifiers; 0 bytes for the empty identifier, which the agent library sends as a null identifier.
struct SnmpObjectIdentifierToAsnOidF {
  std::int32_t operator()(const ObjectIdentifier& value, unsigned char* buffer, std::size_t length) const noexcept {
    return detail::write(value.data(), value.size() * sizeof(ObjectIdentifier::SubIdentifier), buffer, length);
  }
};

/// Read the value of a varbind of type Unsigned32 or INTEGER, which the agent library keeps as a long. Throw
/// Zarn::RangeException where it does not fit 32 bits.
inline std::uint32_t AsnUnsignedToU32(const void* value) {
  unsigned long number = 0;
  std::memcpy(&number, value, sizeof number);
  if (number > std::numeric_limits<std::uint32_t>::max()) detail::throwDoesNotFit(number);
  return static_cast<std::uint32_t>(number);
}
inline int AsnIntegerToS32(const void* value) {
  long number = 0;
  std::memcpy(&number, value, sizeof number);
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
    detail::throwDoesNotFit(number);
  }
  return static_cast<int>(number);
}

}  // namespace Snmp
