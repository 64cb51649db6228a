#include "gate/SnmpGate.h"

#include <algorithm>
#include <array>
#include <limits>

namespace host::gate {
namespace {

using enum SnmpVerdict;

constexpr std::uint8_t sequence = 0x30;
constexpr std::uint8_t octetString = 0x04;
constexpr std::int64_t int32Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t int32Most = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t uint32Most = std::numeric_limits<std::uint32_t>::max();

enum Version : std::uint8_t { version1 = 0, version2c = 1, version3 = 3 };
enum Pdu : std::uint8_t { get = 0xa0, getNext = 0xa1, response = 0xa2, set = 0xa3, getBulk = 0xa5, report = 0xa8 };

constexpr std::size_t longestCommunity = 255;      // what the library has room for
constexpr std::size_t longestEngineId = 32;        // RFC 3411, SnmpEngineID
constexpr std::size_t longestName = 255;           // RFC 3411, SnmpAdminString
constexpr std::size_t longestUser = 32;            // RFC 3414, 2.4
constexpr std::size_t longestAuthentication = 48;  // RFC 7860, 4.2.2
constexpr std::size_t longestPrivacy = 8;          // RFC 3414, 8.1.1.1 and RFC 3826, 3.1.2.1
constexpr std::int64_t leastMaxSize = 484;         // RFC 3412, 6
constexpr std::int64_t userBasedModel = 3;         // RFC 3411, SnmpSecurityModel
constexpr std::uint8_t encryptedFlag = 0x02;       // RFC 3412, 6.4

// The library reads numbers of its own where an Opaque begins so: 9f, type, length, contents.
bool isOpaque(Octets value) noexcept {
  constexpr std::uint8_t extension = 0x9f;
  if (value.size() <= 2 || value[0] != extension) return true;
  const std::uint8_t type = value[1];
  const bool fills = value[2] == value.size() - 3;
  const Octets contents = value.subspan(3);
  switch (type) {
    case 0x78: return fills && contents.size() == sizeof(float);
    case 0x79: return fills && contents.size() == sizeof(double);
    case 0x76:  // a counter, and integers without and with a sign
    case 0x7b:
    case 0x7a: return fills && isInteger(contents, sizeof(std::uint64_t));
    default: return true;
  }
}

bool isValue(std::uint8_t tag, Octets value) noexcept {
  switch (tag) {
    case 0x02:  // INTEGER
    case 0x41:
    case 0x42:
    case 0x43:  // Counter32, Gauge32, TimeTicks
    case 0x47:  // UInteger32, of before SMIv2
      return isInteger(value, sizeof(std::uint32_t));
    case 0x46: return isInteger(value, sizeof(std::uint64_t));  // Counter64
    case 0x04:                                                  // OCTET STRING
    case 0x45: return true;                                     // NsapAddress, of before SMIv2
    case 0x44: return isOpaque(value);
    case 0x06: return isObjectIdentifier(value);
    case 0x40: return value.size() == 4;  // IpAddress
    case 0x05:                            // NULL
    case 0x80:
    case 0x81:
    case 0x82:  // what RFC 3416 has in place of a value
      return value.empty();
    default: return false;
  }
}

bool isVarbind(Octets varbind) noexcept {
  constexpr std::uint8_t objectIdentifier = 0x06;
  BerReader reader(varbind);
  const auto name = reader.take(objectIdentifier);
  if (!name || !isObjectIdentifier(*name)) return false;
  const std::uint8_t tag = reader.tag();
  const auto value = reader.take(tag);
  return value && reader.atEnd() && isValue(tag, *value);
}

// RFC 3416, 3: the three numbers have the same form in each request, and so have a GetBulk's own two. Some managers
// write a request's number without a sign.
bool isRequest(Octets pdu) noexcept {
  BerReader reader(pdu);
  if (!reader.takeInteger(int32Least, uint32Most)) return false;
  if (!reader.takeInteger(int32Least, int32Most) || !reader.takeInteger(int32Least, int32Most)) return false;
  const auto list = reader.take(sequence);
  if (!list || !reader.atEnd()) return false;
  for (BerReader varbinds(*list); !varbinds.atEnd();) {
    const auto varbind = varbinds.take(sequence);
    if (!varbind || !isVarbind(*varbind)) return false;
  }
  return true;
}

// The PDU fills the rest of what contains it.
SnmpVerdict judgePdu(BerReader reader, Version version) noexcept {
  const std::uint8_t tag = reader.tag();
  const auto pdu = reader.take(tag);
  if (!pdu || !reader.atEnd() || tag < get || tag > report) return notWellFormed;
  const bool answered = tag == get || tag == getNext || tag == set || (tag == getBulk && version != version1);
  if (!answered) return tag == getBulk ? notWellFormed : notForAnAgent;
  return isRequest(*pdu) ? passes : notWellFormed;
}

// RFC 3412, 6: contextEngineID, contextName, data.
SnmpVerdict judgeScopedPdu(Octets scopedPdu) noexcept {
  BerReader reader(scopedPdu);
  if (!reader.takeOctets(longestEngineId)) return notWellFormed;
  const auto name = reader.takeOctets(longestName);
  // The library takes names for C strings.
  if (!name || std::ranges::find(*name, 0) != name->end()) return notWellFormed;
  return judgePdu(reader, version3);
}

// RFC 3414, 2.4: all that is in the OCTET STRING.
bool areSecurityParameters(Octets parameters) noexcept {
  BerReader outside(parameters);
  const auto inside = outside.take(sequence);
  if (!inside || !outside.atEnd()) return false;
  BerReader reader(*inside);
  if (!reader.takeOctets(longestEngineId)) return false;
  if (!reader.takeInteger(0, int32Most) || !reader.takeInteger(0, int32Most)) return false;  // boots and time
  const auto user = reader.takeOctets(longestUser);
  if (!user || std::ranges::find(*user, 0) != user->end()) return false;
  return reader.takeOctets(longestAuthentication) && reader.takeOctets(longestPrivacy) && reader.atEnd();
}

// RFC 3412, 6, from msgGlobalData on.
SnmpVerdict judgeVersion3(BerReader reader) noexcept {
  const auto global = reader.take(sequence);
  if (!global) return notWellFormed;
  BerReader header(*global);
  if (!header.takeInteger(0, int32Most) || !header.takeInteger(leastMaxSize, int32Most)) return notWellFormed;
  const auto flags = header.takeOctets(1);
  if (!flags || flags->size() != 1) return notWellFormed;
  const auto model = header.takeInteger(1, int32Most);
  if (!model || !header.atEnd()) return notWellFormed;
  const auto parameters = reader.takeOctets(largestSnmpMessage);
  if (!parameters) return notWellFormed;
  if (*model != userBasedModel) return unknownSecurityModel;
  if (!areSecurityParameters(*parameters)) return notWellFormed;
  const bool encrypted = (flags->front() & encryptedFlag) != 0;
  const auto data = reader.take(encrypted ? octetString : sequence);
  if (!data || !reader.atEnd()) return notWellFormed;
  return encrypted ? passes : judgeScopedPdu(*data);
}

}  // namespace

SnmpVerdict judgeSnmpMessage(Octets message) noexcept {
  BerReader outside(message);
  const auto inside = outside.take(sequence);
  if (!inside || !outside.atEnd() || message.size() > largestSnmpMessage) return notWellFormed;
  BerReader reader(*inside);
  const auto version = reader.takeInteger(int32Least, int32Most);
  if (!version) return notWellFormed;
  if (version == version3) return judgeVersion3(reader);
  if (version != version1 && version != version2c) return badVersion;
  if (!reader.takeOctets(longestCommunity)) return notWellFormed;
  return judgePdu(reader, version == version1 ? version1 : version2c);
}

SnmpVerdict judgeDeciphered(Octets scopedPdu) noexcept {
  const auto inside = BerReader(scopedPdu).take(sequence);
  return inside ? judgeScopedPdu(*inside) : notWellFormed;
}

std::size_t snmpMessageLength(Octets beginning) noexcept {
  constexpr std::size_t never = largestSnmpMessage + 1;
  if (!beginning.empty() && beginning.front() != sequence) return never;
  const auto length = berLength(beginning);
  return length ? std::min(*length, never) : never;
}

}  // namespace host::gate
