#pragma once

#include "NetSnmp.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>

#include "PtpSnmp/Keys.h"
#include "Snmp/Converters.h"
#include "SnmpConversions/Conversions.h"

/// How a table's key travels as the index of a request: one component for each field, in the key's order.
namespace PtpSnmp::Mib {

template <class T>
struct Component;

template <>
struct Component<std::uint32_t> {
  static constexpr u_char asnType = ASN_UNSIGNED;
  static std::uint32_t parse(const void* value) { return Snmp::AsnUnsignedToU32(value); }
  static std::int32_t encode(std::uint32_t value, u_char* buffer, std::int32_t length) {
    return Snmp::U32ToAsnUnsignedF{}(value, buffer, static_cast<std::size_t>(length));
  }
};

template <>
struct Component<ClockType> {
  static constexpr u_char asnType = ASN_INTEGER;
  static ClockType parse(const void* value) { return SnmpConversions::AsnIntegerToPtpClockType(value); }
  static std::int32_t encode(ClockType value, u_char* buffer, std::int32_t length) {
    return SnmpConversions::PtpClockTypeToAsnInteger(value, buffer, length);
  }
};

namespace detail {
template <class K, class... T>
std::tuple<T...> valuesOf(std::tuple<KeyField<K, T>...>);
}

/// The components of a key that is a struct of fields.
template <class K>
struct KeyIndex {
  using Values = decltype(detail::valuesOf(K::fields()));
  static constexpr std::size_t size = std::tuple_size_v<Values>;
  static constexpr std::string_view typeName = K::typeName;

  template <std::size_t I>
  static constexpr std::string_view name() {
    return std::get<I>(K::fields()).name;
  }
  template <std::size_t I>
  static auto value(const K& key) {
    return key.*std::get<I>(K::fields()).member;
  }
};

/// The system-domain table's key is the clock type itself.
template <>
struct KeyIndex<ClockType> {
  using Values = std::tuple<ClockType>;
  static constexpr std::size_t size = 1;
  static constexpr std::string_view typeName = "PtpSnmp::ClockType";

  template <std::size_t I>
  static constexpr std::string_view name() {
    return "clockTypeIndex";
  }
  template <std::size_t I>
  static ClockType value(ClockType key) {
    return key;
  }
};

/// The ASN.1 types of a key's components.
template <class K>
constexpr auto componentTypes() {
  return []<class... T>(std::type_identity<std::tuple<T...>>) {
    return std::array<u_char, sizeof...(T)>{Component<T>::asnType...};
  }(std::type_identity<typename KeyIndex<K>::Values>{});
}

}  // namespace PtpSnmp::Mib
