#include "Zarn/EnumData.h"

#include <fmt/format.h>

#include <algorithm>

#include "Zarn/Exception.h"

namespace Zarn {

const EnumeratorData* EnumData::find(unsigned code) const noexcept {
  const auto it = std::ranges::find(enumerators, code, [](const EnumeratorData& e) { return unsigned{e.code}; });
  return it == enumerators.end() ? nullptr : &*it;
}

const EnumeratorData* EnumData::find(std::string_view text) const noexcept {
  const auto it = std::ranges::find(enumerators, text, &EnumeratorData::name);
  return it == enumerators.end() ? nullptr : &*it;
}

std::uint8_t EnumData::code(unsigned value) const {
  if (const EnumeratorData* found = find(value)) return found->code;
  throw RangeException(fmt::format("{} has no code {}", name, value));
}

std::uint8_t EnumData::code(std::string_view text) const {
  if (const EnumeratorData* found = find(text)) return found->code;
  throw RangeException(fmt::format("{} has no enumerator \"{}\"", name, text));
}

Kestor::String EnumData::text(std::uint8_t value) const {
  const EnumeratorData* found = find(unsigned{value});
  return found != nullptr ? Kestor::String(found->name) : std::to_string(value);
}

}  // namespace Zarn
