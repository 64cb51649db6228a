#include "gate/Ber.h"

namespace host::gate {
namespace {

constexpr std::uint8_t integerTag = 0x02;
constexpr std::uint8_t octetsTag = 0x04;
constexpr std::uint8_t longForm = 0x80;       // of a length, and of an octet of a sub-identifier that is not the last
constexpr std::size_t mostLengthOctets = 4;   // several managers write four for any length
constexpr std::size_t mostIntegerOctets = 8;  // which some managers write for any number
constexpr std::size_t mostSubIdentifiers = 128;
constexpr std::uint64_t largestSubIdentifier = 0xffffffff;
constexpr unsigned secondArcs = 80;  // the first octets hold two sub-identifiers: X.690, 8.19.4

struct Header {
  std::size_t octets;  // of tag and length
  std::size_t length;  // of the contents
};

// `octets` is 0 where the header goes on behind the end.
std::optional<Header> header(Octets value) noexcept {
  if (value.size() < 2) return Header{0, 0};
  if ((value[1] & longForm) == 0) return Header{2, value[1]};
  const std::size_t count = value[1] & ~longForm;
  if (count == 0 || count > mostLengthOctets) return std::nullopt;
  if (value.size() < 2 + count) return Header{0, 0};
  std::size_t length = 0;
  for (const std::uint8_t octet : value.subspan(2, count)) length = length << 8 | octet;
  return Header{2 + count, length};
}

}  // namespace

std::optional<Octets> BerReader::take(std::uint8_t wanted) noexcept {
  if (tag() != wanted) return std::nullopt;
  const auto found = header(rest_);
  if (!found || found->octets == 0 || found->length > rest_.size() - found->octets) return std::nullopt;
  const Octets contents = rest_.subspan(found->octets, found->length);
  rest_ = rest_.subspan(found->octets + found->length);
  return contents;
}

std::optional<std::int64_t> BerReader::takeInteger(std::int64_t least, std::int64_t most) noexcept {
  BerReader after = *this;
  const auto contents = after.take(integerTag);
  if (!contents || contents->empty() || contents->size() > mostIntegerOctets) return std::nullopt;
  std::int64_t value = (contents->front() & 0x80) != 0 ? -1 : 0;
  for (const std::uint8_t octet : *contents) value = value * 256 + octet;
  if (value < least || value > most) return std::nullopt;
  *this = after;
  return value;
}

std::optional<Octets> BerReader::takeOctets(std::size_t most) noexcept {
  BerReader after = *this;
  const auto contents = after.take(octetsTag);
  if (!contents || contents->size() > most) return std::nullopt;
  *this = after;
  return contents;
}

std::optional<std::size_t> berLength(Octets beginning) noexcept {
  const auto found = header(beginning);
  if (!found) return std::nullopt;
  return found->octets == 0 ? 0 : found->octets + found->length;
}

bool isInteger(Octets contents, std::size_t octets) noexcept {
  if (contents.empty() || contents.size() > octets + 1) return false;
  const std::uint8_t first = contents.front();
  return contents.size() <= octets || first == 0 || (first == 0xff && (contents[1] & 0x80) != 0);
}

bool isObjectIdentifier(Octets contents) noexcept {
  if (contents.empty()) return true;  // which the library takes for 0.0, as managers do that begin a walk so
  if ((contents.back() & longForm) != 0) return false;
  std::size_t count = 1;
  std::uint64_t largest = largestSubIdentifier + secondArcs;  // of the first, which holds two
  for (const std::uint8_t* octet = contents.data(); octet != contents.data() + contents.size(); ++octet) {
    if (*octet == longForm) return false;  // X.690, 8.19.2
    std::uint64_t value = 0;
    for (; (*octet & longForm) != 0; ++octet) {  // the last octet of all ends it
      value = (value | (*octet & ~longForm & 0xffU)) << 7;
      if (value > largest) return false;
    }
    if ((value | *octet) > largest || ++count > mostSubIdentifiers) return false;
    largest = largestSubIdentifier;
  }
  return true;
}

}  // namespace host::gate
