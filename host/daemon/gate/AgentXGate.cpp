#include "gate/AgentXGate.h"

#include <algorithm>
#include <optional>

namespace host::gate {
namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::uint8_t version1 = 1;
constexpr std::size_t mostSubIdentifiers = 128;  // RFC 2578, 3.5
constexpr std::size_t longestContext = 255;      // RFC 3411, SnmpAdminString

// Flags of the header: RFC 2741, 6.1.
constexpr std::uint8_t nonDefaultContext = 0x08;
constexpr std::uint8_t networkOrder = 0x10;
constexpr std::uint8_t reserved = 0xe0;

constexpr std::uint8_t getType = 5;
constexpr std::uint8_t getNextType = 6;
constexpr std::uint8_t getBulkType = 7;

template <std::size_t size>
std::uint32_t number(std::span<const std::uint8_t, size> octets, bool fromHigh) noexcept {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < size; ++i) value = value << 8 | octets[fromHigh ? i : size - 1 - i];
  return value;
}

bool isNetworkOrder(const AgentXHeader& header) noexcept { return (header[2] & networkOrder) != 0; }

/// Takes a payload apart. Each step fails where the payload ends before it.
class Payload {
 public:
  Payload(Octets octets, bool fromHigh) noexcept : rest_(octets), fromHigh_(fromHigh) {}

  bool atEnd() const noexcept { return rest_.empty(); }

  std::optional<Octets> take(std::size_t count) noexcept {
    if (count > rest_.size()) return std::nullopt;
    const Octets taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  bool skip(std::size_t count) noexcept { return take(count).has_value(); }

  // RFC 2741, 5.3: a length and as many octets, filled up to a multiple of four.
  std::optional<Octets> takeString() noexcept {
    const auto length = take(4);
    if (!length) return std::nullopt;
    const std::size_t count = number(length->first<4>(), fromHigh_);
    const auto filled = count > rest_.size() ? std::nullopt : take((count + 3) & ~std::size_t{3});
    return filled ? std::optional(filled->first(count)) : std::nullopt;
  }

  // RFC 2741, 5.1: a count of sub-identifiers, a prefix that stands for 1.3.6.1.PREFIX, whether to include, and 0.
  bool takeName() noexcept {
    const auto head = take(4);
    if (!head) return false;
    const std::size_t count = (*head)[0];
    const std::size_t prefix = (*head)[1] == 0 ? 0 : 5;
    return count + prefix <= mostSubIdentifiers && skip(4 * count);
  }

  // RFC 2741, 5.4.
  bool takeVarbind() noexcept {
    const auto type = take(2);
    return type && skip(2) && takeName() && takeValue(number(type->first<2>(), fromHigh_));
  }

 private:
  bool takeValue(std::uint32_t type) noexcept {
    switch (type) {
      case 2:
      case 65:
      case 66:
      case 67: return skip(4);  // Integer, Counter32, Gauge32, TimeTicks
      case 70: return skip(8);  // Counter64
      case 4:
      case 68: return takeString().has_value();  // Octet String, Opaque
      case 64: {                                 // IpAddress
        const auto address = takeString();
        return address && address->size() == 4;
      }
      case 6: return takeName();  // Object Identifier
      case 5:
      case 128:
      case 129:
      case 130: return true;  // Null, noSuchObject, noSuchInstance, endOfMibView
      default: return false;
    }
  }

  Octets rest_;
  bool fromHigh_;
};

bool areSearchRanges(Payload payload) noexcept {
  while (!payload.atEnd()) {
    if (!payload.takeName() || !payload.takeName()) return false;
  }
  return true;
}

bool areVarbinds(Payload payload) noexcept {
  while (!payload.atEnd()) {
    if (!payload.takeVarbind()) return false;
  }
  return true;
}

bool isContext(std::optional<Octets> context) noexcept {
  return context && context->size() <= longestContext && std::ranges::find(*context, 0) == context->end();
}

}  // namespace

std::uint64_t agentXLength(const AgentXHeader& header) noexcept {
  return std::uint64_t{agentXHeaderOctets} + number(std::span(header).last<4>(), isNetworkOrder(header));
}

std::uint32_t agentXPacketId(const AgentXHeader& header) noexcept {
  return number(std::span(header).subspan<12, 4>(), isNetworkOrder(header));
}

// RFC 2741, 6.2.16: the time is 0, then come the error and its index.
AgentXResponse agentXRefusal(const AgentXHeader& header, AgentXError error, std::uint8_t index) noexcept {
  const bool fromHigh = isNetworkOrder(header);
  const auto code = static_cast<std::uint16_t>(error);
  AgentXResponse response{};
  std::ranges::copy(header, response.begin());
  response[1] = agentXResponseType;
  response[2] &= networkOrder;
  std::fill_n(response.begin() + 16, 4, std::uint8_t{0});
  response[fromHigh ? 19 : 16] = 8;
  response[fromHigh ? 24 : 25] = static_cast<std::uint8_t>(code >> 8);
  response[fromHigh ? 25 : 24] = static_cast<std::uint8_t>(code);
  response[fromHigh ? 27 : 26] = index;
  return response;
}

bool isAgentXMessage(Octets message) noexcept {
  AgentXHeader header;
  if (message.size() < header.size()) return false;
  std::ranges::copy(message.first<agentXHeaderOctets>(), header.begin());
  if (header[0] != version1 || (header[2] & reserved) != 0 || agentXLength(header) != message.size()) return false;
  Payload payload(message.subspan(header.size()), isNetworkOrder(header));
  if ((header[2] & nonDefaultContext) != 0 && !isContext(payload.takeString())) return false;
  switch (header[1]) {
    case getType:
    case getNextType: return areSearchRanges(payload);
    case getBulkType: return payload.skip(4) && areSearchRanges(payload);
    case agentXTestSetType: return areVarbinds(payload);
    case agentXCommitSetType:
    case agentXUndoSetType:
    case agentXCleanupSetType: return payload.atEnd();
    case agentXResponseType: return payload.skip(8) && areVarbinds(payload);
    default: return false;
  }
}

}  // namespace host::gate
