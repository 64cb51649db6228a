#pragma once

#include "NetSnmp.h"

#include <cstdint>
#include <type_traits>

#include "Snmp/Converters.h"
#include "SnmpConversions/Conversions.h"

/// What a table's catalogue is made of. A column is one line: its number, its name in the trace of a GET, the
/// row's attribute as failure messages name it, and how the attribute's value becomes an ASN.1 value.
namespace PtpSnmp::Mib {

/// The converter's buffer length and, for octet strings, the lengths that may be sent.
struct LengthRule {
  std::int32_t buffer;
  std::int32_t min;
  std::int32_t max;
  bool checked;
};

inline constexpr std::int32_t maxBuffer = 1024;
inline constexpr LengthRule plain{maxBuffer, 0, 0, false};
inline constexpr LengthRule timeInterval{255, 1, 255, true};
inline constexpr LengthRule clockIdentity{8, 8, 8, true};
inline constexpr LengthRule portIdentity{256, 1, 256, true};
inline constexpr LengthRule portName{64, 1, 64, true};

template <class Row>
struct Encoding {
  const char* converter;  ///< as failure messages name it
  u_char asnType;
  LengthRule length;
  std::int32_t (*encode)(const Row& row, u_char* buffer, std::int32_t length);
};

template <class Row>
struct Column {
  unsigned number;
  const char* name;
  const char* attribute;
  Encoding<Row> encoding;
};

namespace detail {

template <class>
struct RowOf;
template <class R, class Row>
struct RowOf<R (Row::*)() const noexcept> {
  using Type = Row;
};

template <auto Attribute>
using Row = typename RowOf<decltype(Attribute)>::Type;

// Reads the attribute and hands it to a converter that takes Value.
template <auto Attribute, class Value, auto Convert>
std::int32_t encode(const Row<Attribute>& row, u_char* buffer, std::int32_t length) {
  return Convert(static_cast<const Value&>((row.*Attribute)()), buffer, length);
}

template <class Converter, class Value>
std::int32_t generic(const Value& value, u_char* buffer, std::int32_t length) {
  return Converter{}(value, buffer, static_cast<std::size_t>(length));
}

template <auto Attribute, class Value, class Converter>
constexpr auto encodeGeneric = &encode<Attribute, Value, generic<Converter, Value>>;

}  // namespace detail

// The generic converters, by the row's attribute.

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> S32{"S32ToAsnInteger", ASN_INTEGER, plain,
                                               detail::encodeGeneric<Attribute, int, Snmp::S32ToAsnIntegerF>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> U32{"U32ToAsnUnsigned", ASN_GAUGE, plain,
                                               detail::encodeGeneric<Attribute, unsigned, Snmp::U32ToAsnUnsignedF>};

/// The same, sent as Counter32.
template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> U32AsCounter32{
    "U32ToAsnUnsigned", ASN_COUNTER, plain, detail::encodeGeneric<Attribute, unsigned, Snmp::U32ToAsnUnsignedF>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> Bool{"BoolToAsnInteger", ASN_INTEGER, plain,
                                                detail::encodeGeneric<Attribute, bool, Snmp::BoolToAsnIntegerF>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> Counter64{
    "U64ToCounter64", ASN_COUNTER64, plain, detail::encodeGeneric<Attribute, unsigned long, Snmp::U64ToCounter64F>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> Name{
    "StringToAsnOctetString", ASN_OCTET_STR, portName,
    detail::encodeGeneric<Attribute, Kestor::String, Snmp::StringToAsnOctetStringF>};

// The PTP converters.

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> TimeInterval{
    "PtpTimeIntervalToAsnOctetString", ASN_OCTET_STR, timeInterval,
    detail::encode<Attribute, Ptp::TimeInterval, SnmpConversions::PtpTimeIntervalToAsnOctetString>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> ClockIdentity{
    "ClockIdentityToAsnOctetString", ASN_OCTET_STR, clockIdentity,
    detail::encode<Attribute, Ptp::ClockIdentity, SnmpConversions::ClockIdentityToAsnOctetString>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> PortIdentity{
    "PortIdentityToAsnOctetString", ASN_OCTET_STR, portIdentity,
    detail::encode<Attribute, Ptp::PortIdentity, SnmpConversions::PortIdentityToAsnOctetString>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> ModeAsDelay{
    "PtpModeAsDelayToAsnInteger", ASN_INTEGER, plain,
    detail::encode<Attribute, Ptp::PtpMode, SnmpConversions::PtpModeAsDelayToAsnInteger>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> Role{
    "PtpRoleToAsnInteger", ASN_INTEGER, plain,
    detail::encode<Attribute, ::PtpMib::ClockRoleType, SnmpConversions::PtpRoleToAsnInteger>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> Transport{
    "AddressTypeToAsnOid", ASN_OBJECT_ID, plain,
    detail::encode<Attribute, Ptp::TransportMode, SnmpConversions::AddressTypeToAsnOid>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> DelayMech{
    "DelayMechToAsnInteger", ASN_INTEGER, plain,
    detail::encode<Attribute, Ptp::DelayMechanism, SnmpConversions::DelayMechToAsnInteger>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> State{
    "PortStateToAsnInteger", ASN_INTEGER, plain,
    detail::encode<Attribute, Ptp::PortState, SnmpConversions::PortStateToAsnInteger>};

template <auto Attribute>
constexpr Encoding<detail::Row<Attribute>> RxTxMode{
    "RxTxModeToAsnInteger", ASN_INTEGER, plain,
    detail::encode<Attribute, ::PtpMib::RxTxMode, SnmpConversions::RxTxModeToAsnInteger>};

}  // namespace PtpSnmp::Mib
