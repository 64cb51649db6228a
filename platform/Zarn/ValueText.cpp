#include "Zarn/ValueText.h"

#include <fmt/format.h>

#include <charconv>

namespace Zarn {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetterOrDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

void takeOrThrow(CharRange& text, std::string_view expected) {
  if (!text.take(expected)) {
    throw RangeException(fmt::format("expected \"{}\" at \"{}\"", expected, text.rest()));
  }
}

}  // namespace

void sequenceToValue(CharRange& text, std::uint32_t* value) {
  const std::string_view at = text.rest();
  const std::string_view digits = text.takeWhile(isDigit);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), *value);
  if (error != std::errc{}) throw RangeException(fmt::format("expected an unsigned 32-bit number at \"{}\"", at));
}

std::string_view takeName(CharRange& text) {
  const std::string_view at = text.rest();
  const std::string_view name = text.takeWhile(isLetterOrDigit);
  if (name.empty()) throw RangeException(fmt::format("expected a name at \"{}\"", at));
  return name;
}

void throwUnreadCharacters(std::string_view whole, std::string_view rest) {
  throw RangeException(fmt::format("unread characters \"{}\" at the end of \"{}\"", rest, whole));
}

namespace detail {

void takeBegin(CharRange& text, std::string_view type) {
  takeOrThrow(text, type);
  takeOrThrow(text, "(");
}

void takeAttributeName(CharRange& text, std::string_view attribute) {
  takeOrThrow(text, attribute);
  takeOrThrow(text, "=");
}

void takeSeparator(CharRange& text) { takeOrThrow(text, ","); }

void takeEnd(CharRange& text) { takeOrThrow(text, ")"); }

void throwFailedToRead(std::string_view attribute, const Exception& why) {
  throw RangeException(fmt::format("failed to read attribute {}: {}", attribute, why.what()));
}

}  // namespace detail
}  // namespace Zarn
