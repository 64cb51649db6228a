#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

/// AgentX messages (RFC 2741) octet by octet. Written apart from what reads them.
namespace test::agentx {

using Bytes = std::vector<std::uint8_t>;

enum class Order { network, little };

/// Of any content, so that a message can be wrong.
class Writer {
 public:
  explicit Writer(Order order) : order_(order) {}

  Bytes number(std::uint32_t value, int octets = 4) const {
    Bytes bytes;
    for (int i = 0; i < octets; ++i) {
      bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (order_ == Order::network ? octets - 1 - i : i)));
    }
    return bytes;
  }
  Bytes string(std::string_view text) const {
    Bytes bytes = number(static_cast<std::uint32_t>(text.size()));
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
  }
  Bytes name(const std::vector<std::uint32_t>& arcs, std::uint8_t prefix = 2, bool include = false) const {
    Bytes bytes{static_cast<std::uint8_t>(arcs.size()), prefix, include, 0};
    for (const std::uint32_t arc : arcs) append(bytes, number(arc));
    return bytes;
  }
  Bytes name(int arcs, std::uint8_t prefix = 2) const {
    return name(std::vector<std::uint32_t>(static_cast<std::size_t>(arcs), 1), prefix);
  }
  Bytes varbind(std::uint32_t type, const Bytes& value) const {
    Bytes bytes = number(type, 2);
    append(bytes, {0, 0});
    append(bytes, name(3));
    append(bytes, value);
    return bytes;
  }
  Bytes message(std::uint8_t kind, const Bytes& payload, std::uint8_t flags = 0) const {
    Bytes bytes{1, kind, static_cast<std::uint8_t>(flags | (order_ == Order::network ? 0x10 : 0)), 0};
    for (const std::uint32_t field : {7U, 8U, 9U, static_cast<std::uint32_t>(payload.size())})
      append(bytes, number(field));
    append(bytes, payload);
    return bytes;
  }
  static void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }
  static Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) append(bytes, part);
    return bytes;
  }

 private:
  Order order_;
};

}  // namespace test::agentx
