#pragma once

#include <concepts>
#include <cstdint>
#include <ostream>
#include <span>
#include <string_view>
#include <type_traits>

#include "Kestor/String.h"

namespace Zarn {

struct EnumeratorData {
  std::uint8_t code;
  std::string_view name;
};

/// The registered codes of a one-byte enumeration, with the name of each.
struct EnumData {
  std::string_view name;  ///< the enumeration's qualified name
  std::span<const EnumeratorData> enumerators;

  const EnumeratorData* find(unsigned code) const noexcept;
  const EnumeratorData* find(std::string_view name) const noexcept;

  /// Throws RangeException, naming the enumeration and the text or code, where there is no such enumerator.
  std::uint8_t code(unsigned code) const;
  std::uint8_t code(std::string_view name) const;

  /// The enumerator's name, or the code in decimal where it has none (a peer may report any code).
  Kestor::String text(std::uint8_t code) const;
};

/// A one-byte enumeration whose namespace offers `const Zarn::EnumData& enumData(E)`.
template <class E>
concept RegisteredEnum = std::is_enum_v<E> && sizeof(E) == 1 && requires(E e) {
  { enumData(e) } -> std::same_as<const EnumData&>;
};

template <RegisteredEnum E>
Kestor::String enumText(E value) {
  return enumData(value).text(static_cast<std::uint8_t>(value));
}

}  // namespace Zarn
