#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <tuple>
#include <utility>

#include "Zarn/CharRange.h"
#include "Zarn/Exception.h"
#include "Zarn/ValueText.h"

namespace PtpSnmp {

/// A key's field: the name that its text form uses, and the member.
template <class K, class T>
struct KeyField {
  std::string_view name;
  T K::*member;
};
template <class K, class T>
KeyField(const char*, T K::*) -> KeyField<K, T>;

/// What all keys share, made from K::typeName and K::fields(), the tuple of its KeyFields in the MIB's index
/// order. That order is the order of comparison and of the text form, whatever the order in memory.
template <class K>
class Key {
 public:
  /// For the framework's collections and notifications, which know keys by address.
  static bool isEq(const void* left, const void* right) noexcept {
    if (left == right) return true;
    const K& a = *static_cast<const K*>(left);
    const K& b = *static_cast<const K*>(right);
    return std::apply([&](auto... field) { return ((a.*field.member == b.*field.member) && ...); }, K::fields());
  }

  friend bool operator==(const K& left, const K& right) noexcept { return isEq(&left, &right); }

  friend std::strong_ordering operator<=>(const K& left, const K& right) noexcept {
    std::strong_ordering order = std::strong_ordering::equal;
    if (&left == &right) return order;
    const auto differs = [&](auto field) { return (order = left.*field.member <=> right.*field.member) != 0; };
    std::apply([&](auto... field) { (differs(field) || ...); }, K::fields());
    return order;
  }

  friend std::ostream& operator<<(std::ostream& os, const K& key) {
    Zarn::ValueWriter writer(os, K::typeName);
    std::apply([&](auto... field) { (writer.attribute(field.name, key.*field.member), ...); }, K::fields());
    return os;
  }

  /// Keys serve ordered collections only.
  [[noreturn]] std::uint64_t hash(std::uint64_t /*seed*/) const {
    throw Zarn::UnhashableTypeException(Kestor::String(K::typeName) + " is not hashable");
  }

 protected:
  /// Reads the text form into the key's fields. Throws Zarn::RangeException.
  static void read(Zarn::CharRange& text, K& key) {
    constexpr auto fields = K::fields();
    constexpr std::size_t last = std::tuple_size_v<decltype(fields)> - 1;
    Zarn::valueBegin(text, K::typeName, std::get<0>(fields).name, &(key.*std::get<0>(fields).member));
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      (Zarn::valueAttribute(text, std::get<I + 1>(fields).name, &(key.*std::get<I + 1>(fields).member)), ...);
    }
    (std::make_index_sequence<last - 1>{});
    Zarn::valueEnd(text, std::get<last>(fields).name, &(key.*std::get<last>(fields).member));
  }
};

}  // namespace PtpSnmp
