#include "Snmp/ObjectIdentifier.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "Zarn/Exception.h"

namespace Snmp {

ObjectIdentifier::ObjectIdentifier(std::string_view text) {
  std::string_view rest = text;
  if (rest.size() > 1 && rest.starts_with('.')) rest.remove_prefix(1);
  while (!rest.empty()) {
    const std::string_view number = rest.substr(0, rest.find('.'));
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool lastDot = rest.size() == number.size() + 1;
    if (error != std::errc{} || end != number.data() + number.size() || lastDot || size() == maxLength) {
      throw Zarn::RangeException(fmt::format("\"{}\" is not an object identifier", text));
    }
    subIdentifiers_.push_back(value);
    rest.remove_prefix(std::min(rest.size(), number.size() + 1));
  }
}

}  // namespace Snmp
