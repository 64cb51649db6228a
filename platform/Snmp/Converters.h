#pragma once

#include <cstddef>
#include <cstdint>

#include "Kestor/String.h"
#include "Snmp/ObjectIdentifier.h"

/// The generic converters between values and the bytes that snmp_set_var_typed_value takes. The forward ones
/// write into the caller's buffer and return the number of bytes written, or -1 where the buffer is too
/// short.
namespace Snmp {

/// The agent library's Counter64: two longs, the high 32 bits first.
struct Counter64 {
  unsigned long high;
  unsigned long low;
};

struct S32ToAsnIntegerF {
  std::int32_t operator()(int value, unsigned char* buffer, std::size_t length) const noexcept;
};
struct U32ToAsnUnsignedF {
  std::int32_t operator()(unsigned int value, unsigned char* buffer, std::size_t length) const noexcept;
};
/// SNMPv2-TC TruthValue: true 1, false 2.
struct BoolToAsnIntegerF {
  std::int32_t operator()(bool value, unsigned char* buffer, std::size_t length) const noexcept;
};
/// The string's bytes, without a terminator.
struct StringToAsnOctetStringF {
  std::int32_t operator()(const Kestor::String& value, unsigned char* buffer, std::size_t length) const noexcept;
};
struct U64ToCounter64F {
  std::int32_t operator()(unsigned long value, unsigned char* buffer, std::size_t length) const noexcept;
};
/// The array of sub-identifiers; 0 bytes for the empty identifier, which the agent library sends as a null identifier.
struct SnmpObjectIdentifierToAsnOidF {
  std::int32_t operator()(const ObjectIdentifier& value, unsigned char* buffer, std::size_t length) const noexcept;
};

/// Read the value of a varbind of type Unsigned32 or INTEGER, which the agent library keeps as a long. Throw
/// Zarn::RangeException where it does not fit 32 bits.
std::uint32_t AsnUnsignedToU32(const void* value);
int AsnIntegerToS32(const void* value);

}  // namespace Snmp
