#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

/// SNMP messages octet by octet, so that they can be wrong. Written apart from what reads them.
namespace test::snmp {

using Bytes = std::vector<std::uint8_t>;
using Oid = std::vector<std::uint64_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
inline Bytes bytes(std::string_view text) { return {text.begin(), text.end()}; }

inline Bytes length(std::size_t value) {
  if (value < 128) return {static_cast<std::uint8_t>(value)};
  if (value < 256) return {0x81, static_cast<std::uint8_t>(value)};
  return {0x82, static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}
inline Bytes tlv(std::uint8_t tag, const Bytes& contents) { return Bytes{tag} + length(contents.size()) + contents; }

inline constexpr std::uint8_t sequence = 0x30;
inline constexpr std::uint8_t get = 0xa0;
inline constexpr std::uint8_t getNext = 0xa1;
inline constexpr std::uint8_t set = 0xa3;
inline constexpr std::uint8_t getBulk = 0xa5;

inline Bytes integer(std::int64_t value) {
  Bytes contents;
  for (int shift = 56; shift >= 0; shift -= 8) contents.push_back(static_cast<std::uint8_t>(value >> shift));
  while (contents.size() > 1 &&
         ((contents[0] == 0 && contents[1] < 0x80) || (contents[0] == 0xff && contents[1] >= 0x80))) {
    contents.erase(contents.begin());
  }
  return tlv(0x02, contents);
}
inline Bytes octets(const Bytes& contents) { return tlv(0x04, contents); }
inline Bytes octets(std::string_view text) { return octets(bytes(text)); }
inline Bytes null() { return tlv(0x05, {}); }

inline Bytes subIdentifier(std::uint64_t value) {
  Bytes encoded{static_cast<std::uint8_t>(value & 0x7f)};
  while ((value >>= 7) != 0) encoded.insert(encoded.begin(), static_cast<std::uint8_t>(0x80 | (value & 0x7f)));
  return encoded;
}
/// REQUIRES two arcs at least.
inline Bytes objectIdentifier(const Oid& oid) {
  Bytes contents = subIdentifier(oid[0] * 40 + oid[1]);
  for (std::size_t i = 2; i < oid.size(); ++i) contents = contents + subIdentifier(oid[i]);
  return tlv(0x06, contents);
}

inline Bytes varbind(const Oid& name, const Bytes& value = null()) {
  return tlv(sequence, objectIdentifier(name) + value);
}

inline Bytes pdu(std::uint8_t tag, const Bytes& varbinds, std::int64_t second = 0, std::int64_t third = 0,
                 std::int64_t requestId = 7) {
  return tlv(tag, integer(requestId) + integer(second) + integer(third) + tlv(sequence, varbinds));
}

/// Of version 1 (0) or 2c (1).
inline Bytes message(const Bytes& pdu, std::int64_t version = 1, std::string_view community = "public") {
  return tlv(sequence, integer(version) + octets(community) + pdu);
}

/// RFC 3412, 6 and RFC 3414, 2.4. What is not said is of a request without authentication to an engine that is known.
struct Version3 {
  Bytes messageId = integer(77);
  Bytes maxSize = integer(65507);
  Bytes flags = octets(Bytes{4});
  Bytes model = integer(3);
  Bytes engineId = octets(Bytes{0x80, 0, 0x1f, 0x88, 4, 'a'});
  Bytes boots = integer(1);
  Bytes time = integer(10);
  Bytes user = octets("nob");
  Bytes authentication = octets("");
  Bytes privacy = octets("");
  Bytes data;  ///< a scopedPdu(), or an OCTET STRING where that is encrypted

  Bytes securityParameters() const {
    return octets(tlv(sequence, engineId + boots + time + user + authentication + privacy));
  }
  Bytes message() const {
    return tlv(sequence, integer(3) + tlv(sequence, messageId + maxSize + flags + model) + securityParameters() + data);
  }
};

inline Bytes scopedPdu(const Bytes& pdu, std::string_view contextName = "",
                       const Bytes& contextEngineId = {0x80, 0, 0x1f, 0x88, 4, 'a'}) {
  return tlv(sequence, octets(contextEngineId) + octets(contextName) + pdu);
}

}  // namespace test::snmp
