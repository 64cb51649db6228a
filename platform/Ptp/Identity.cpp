#include "Ptp/Identity.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <charconv>
#include <optional>

#include "Zarn/Exception.h"

namespace Ptp {
namespace {

template <class T>
std::optional<T> parse(std::string_view digits, int base) {
  T value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (digits.empty() || error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

// Digits stand at "oooooo.oooo.oooooo": three, two and three octets.
std::optional<std::uint64_t> parseClock(std::string_view text) {
  if (text.size() != 18 || text[6] != '.' || text[11] != '.') return std::nullopt;
  const auto high = parse<std::uint64_t>(text.substr(0, 6), 16);
  const auto middle = parse<std::uint64_t>(text.substr(7, 4), 16);
  const auto low = parse<std::uint64_t>(text.substr(12, 6), 16);
  if (!high || !middle || !low) return std::nullopt;
  return *high << 40 | *middle << 24 | *low;
}

}  // namespace

ClockIdentity::ClockIdentity(std::string_view text) {
  const auto value = parseClock(text);
  if (!value) {
    throw Zarn::RangeException(fmt::format("\"{}\" is not a clock identity such as \"001122.fffe.334455\"", text));
  }
  id.valueIs(*value);
}

Kestor::String ClockIdentity::stringValue() const {
  const std::uint64_t value = id.value();
  return fmt::format(FMT_COMPILE("{:06x}.{:04x}.{:06x}"), value >> 40, (value >> 24) & 0xffff, value & 0xffffff);
}

PortIdentity::PortIdentity(std::string_view text) {
  const std::size_t dash = text.find('-');
  const auto clock = parseClock(text.substr(0, dash));
  const auto port = dash == std::string_view::npos ? std::nullopt : parse<std::uint16_t>(text.substr(dash + 1), 10);
  if (!clock || !port) {
    throw Zarn::RangeException(fmt::format("\"{}\" is not a port identity such as \"001122.fffe.334455-1\"", text));
  }
  clockIdentity.id.valueIs(*clock);
  portNumber.valueIs(*port);
}

Kestor::String PortIdentity::stringValue() const {
  const std::uint64_t value = clockIdentity.id.value();
  return fmt::format(FMT_COMPILE("{:06x}.{:04x}.{:06x}-{}"), value >> 40, (value >> 24) & 0xffff, value & 0xffffff,
                     portNumber.value());
}

std::ostream& operator<<(std::ostream& os, const ClockIdentity& identity) { return os << identity.stringValue(); }
std::ostream& operator<<(std::ostream& os, const PortIdentity& identity) { return os << identity.stringValue(); }

}  // namespace Ptp
