#include "Ptp/Identity.h"

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

constexpr std::size_t clockTextSize = 18;

// Digits stand at "oooooo.oooo.oooooo": three, two and three octets.
std::optional<std::uint64_t> parseClock(std::string_view text) {
  if (text.size() != clockTextSize || text[6] != '.' || text[11] != '.') return std::nullopt;
  const auto high = parse<std::uint64_t>(text.substr(0, 6), 16);
  const auto middle = parse<std::uint64_t>(text.substr(7, 4), 16);
  const auto low = parse<std::uint64_t>(text.substr(12, 6), 16);
  if (!high || !middle || !low) return std::nullopt;
  return *high << 40 | *middle << 24 | *low;
}

// Returns where the text ends.
char* writeClock(std::uint64_t clock, char* text) noexcept {
  static constexpr char digits[] = "0123456789abcdef";
  int shift = 64;
  for (std::size_t i = 0; i < clockTextSize; ++i) {
    text[i] = i == 6 || i == 11 ? '.' : digits[(clock >> (shift -= 4)) & 0xf];
  }
  return text + clockTextSize;
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
  Kestor::String text(clockTextSize, '\0');
  writeClock(id.value(), text.data());
  return text;
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

PortIdentity::Text PortIdentity::text() const noexcept {
  Text text;
  char* end = writeClock(clockIdentity.id.value(), text.characters_.data());
  *end++ = '-';
  end = std::to_chars(end, text.characters_.end(), portNumber.value()).ptr;
  text.size_ = static_cast<std::size_t>(end - text.characters_.begin());
  return text;
}

std::ostream& operator<<(std::ostream& os, const ClockIdentity& identity) { return os << identity.stringValue(); }
std::ostream& operator<<(std::ostream& os, const PortIdentity& identity) { return os << identity.stringValue(); }

}  // namespace Ptp
