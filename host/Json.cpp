#include "Json.h"

#include <fmt/format.h>

namespace host {
namespace {

constexpr std::size_t maxShownBytes = 160;

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text.substr(0, maxShownBytes)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
      shown += c;
    } else {
      shown += fmt::format("\\x{:02x}", byte);
    }
  }
  if (text.size() > maxShownBytes) shown += "...";
  return shown;
}

std::string inQuotes(std::string_view text) { return fmt::format("\"{}\"", printable(text)); }

std::string describe(const Json& value) {
  if (value.is_string()) return inQuotes(value.get_ref<const std::string&>());
  if (value.is_number_unsigned()) return fmt::format("{}", value.get<std::uint64_t>());
  if (value.is_number_integer()) return fmt::format("{}", value.get<std::int64_t>());
  if (value.is_number_float()) return fmt::format("{}", value.get<long double>());
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  if (value.is_object()) return "an object";
  if (value.is_array()) return "an array";
  return "null";
}

}  // namespace host
