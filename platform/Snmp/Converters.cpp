#include "Snmp/Converters.h"

#include <fmt/format.h>

#include <cstring>
#include <limits>

#include "Zarn/Exception.h"

namespace Snmp {
namespace {

std::int32_t write(const void* value, std::size_t size, unsigned char* buffer, std::size_t length) noexcept {
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

}  // namespace

std::int32_t S32ToAsnIntegerF::operator()(int value, unsigned char* buffer, std::size_t length) const noexcept {
  return writeInteger(value, buffer, length);
}

std::int32_t U32ToAsnUnsignedF::operator()(unsigned int value, unsigned char* buffer,
                                           std::size_t length) const noexcept {
  return writeInteger(value, buffer, length);
}

std::int32_t BoolToAsnIntegerF::operator()(bool value, unsigned char* buffer, std::size_t length) const noexcept {
  return writeInteger(value ? 1 : 2, buffer, length);
}

std::int32_t StringToAsnOctetStringF::operator()(const Kestor::String& value, unsigned char* buffer,
                                                 std::size_t length) const noexcept {
  return write(value.data(), value.size(), buffer, length);
}

std::int32_t U64ToCounter64F::operator()(unsigned long value, unsigned char* buffer,
                                         std::size_t length) const noexcept {
  const Counter64 counter{value >> 32, value & 0xffffffff};
  return write(&counter, sizeof counter, buffer, length);
}

std::int32_t SnmpObjectIdentifierToAsnOidF::operator()(const ObjectIdentifier& value, unsigned char* buffer,
                                                       std::size_t length) const noexcept {
  return write(value.data(), value.size() * sizeof(ObjectIdentifier::SubIdentifier), buffer, length);
}

std::uint32_t AsnUnsignedToU32(const void* value) {
  unsigned long number = 0;
  std::memcpy(&number, value, sizeof number);
  if (number > std::numeric_limits<std::uint32_t>::max()) {
    throw Zarn::RangeException(fmt::format("{} does not fit an unsigned 32-bit integer", number));
  }
  return static_cast<std::uint32_t>(number);
}

int AsnIntegerToS32(const void* value) {
  long number = 0;
  std::memcpy(&number, value, sizeof number);
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
    throw Zarn::RangeException(fmt::format("{} does not fit a signed 32-bit integer", number));
  }
  return static_cast<int>(number);
}

}  // namespace Snmp
