#include "SnmpConversions/Conversions.h"

#include <array>

#include "Snmp/Converters.h"
#include "Zarn/Exception.h"

namespace SnmpConversions {
namespace {

template <class E>
constexpr unsigned code(E value) noexcept {
  return static_cast<std::uint8_t>(value);
}

// A negative length becomes a huge one, as it does wherever this converter is given one.
std::int32_t asnInteger(int value, unsigned char* buffer, std::int32_t length) {
  return Snmp::S32ToAsnIntegerF{}(value, buffer, static_cast<std::size_t>(static_cast<std::int64_t>(length)));
}

// 0, which is no clock type either, where the INTEGER varbind does not fit 32 bits.
int s32Or0(const void* value) {
  try {
    return Snmp::AsnIntegerToS32(value);
  } catch (const Zarn::RangeException&) {
    return 0;
  }
}

std::int32_t bigEndian(std::uint64_t value, unsigned char* buffer, std::int32_t length) {
  if (length < 8) return 0;
  for (unsigned i = 0; i < 8; ++i) buffer[i] = static_cast<unsigned char>(value >> (56 - 8 * i));
  return 8;
}

}  // namespace

std::int32_t PtpClockTypeToAsnInteger(const PtpSnmp::ClockType& value, unsigned char* buffer, std::int32_t length) {
  static constexpr std::array mibInteger{1, 2, 3, 4, 0};
  const unsigned index = code(value);
  return asnInteger(index < mibInteger.size() ? mibInteger[index] : 0, buffer, length);
}

PtpSnmp::ClockType AsnIntegerToPtpClockType(const void* value) {
  const unsigned index = static_cast<unsigned>(s32Or0(value)) - 1;
  if (index > 3) throw Zarn::RangeException("invalid value for PtpSnmp::ClockType");
  return static_cast<PtpSnmp::ClockType>(index);
}

std::int32_t PtpTimeIntervalToAsnOctetString(const Ptp::TimeInterval& value, unsigned char* buffer,
                                             std::int32_t length) {
  return bigEndian(static_cast<std::uint64_t>(value), buffer, length);
}

std::int32_t ClockIdentityToAsnOctetString(const Ptp::ClockIdentity& value, unsigned char* buffer,
                                           std::int32_t length) {
  return bigEndian(value.id.value(), buffer, length);
}

std::int32_t PortIdentityToAsnOctetString(const Ptp::PortIdentity& value, unsigned char* buffer, std::int32_t length) {
  return Snmp::StringToAsnOctetStringF{}(value.text(), buffer,
                                         static_cast<std::size_t>(static_cast<std::int64_t>(length)));
}

std::int32_t PtpModeAsDelayToAsnInteger(const Ptp::PtpMode& value, unsigned char* buffer, std::int32_t length) {
  switch (code(value)) {
    case 3:
    case 4: return asnInteger(1, buffer, length);
    case 5: return asnInteger(2, buffer, length);
    default: return asnInteger(254, buffer, length);
  }
}

std::int32_t PtpRoleToAsnInteger(const PtpMib::ClockRoleType& value, unsigned char* buffer, std::int32_t length) {
  return asnInteger(code(value) == 1 ? 2 : 1, buffer, length);
}

std::int32_t AddressTypeToAsnOid(const Ptp::TransportMode& value, unsigned char* buffer, std::int32_t length) {
  // Read from their text once: a walk asks for two of them per port.
  static const std::array<Snmp::ObjectIdentifier, 4> identifiers{
      Snmp::ObjectIdentifier(".1.3.6.1.2.1.241.1.2.12.3"), Snmp::ObjectIdentifier(".1.3.6.1.2.1.241.1.2.12.1"),
      Snmp::ObjectIdentifier(".1.3.6.1.2.1.241.1.2.12.2"), Snmp::ObjectIdentifier("")};
  const unsigned transport = code(value);
  return Snmp::SnmpObjectIdentifierToAsnOidF{}(identifiers[transport <= 2 ? transport : 3], buffer,
                                               static_cast<std::size_t>(static_cast<std::int64_t>(length)));
}

std::int32_t DelayMechToAsnInteger(const Ptp::DelayMechanism& value, unsigned char* buffer, std::int32_t length) {
  switch (code(value)) {
    case 1: return asnInteger(1, buffer, length);
    case 2: return asnInteger(2, buffer, length);
    default: return asnInteger(254, buffer, length);
  }
}

std::int32_t PortStateToAsnInteger(const Ptp::PortState& value, unsigned char* buffer, std::int32_t length) {
  const unsigned state = code(value);
  if (state <= 9) return asnInteger(static_cast<int>(state), buffer, length);
  return asnInteger(value == Ptp::PortState::slaveLocked ? 9 : 0, buffer, length);
}

std::int32_t RxTxModeToAsnInteger(const PtpMib::RxTxMode& value, unsigned char* buffer, std::int32_t length) {
  const unsigned mode = code(value);
  return asnInteger(mode <= 2 ? static_cast<int>(mode) + 1 : 0, buffer, length);
}

}  // namespace SnmpConversions
