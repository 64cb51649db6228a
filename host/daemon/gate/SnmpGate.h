#pragma once

#include "gate/Ber.h"

namespace host::gate {

/// The largest message that is looked at, and that the SNMP library has room for.
inline constexpr std::size_t largestSnmpMessage = 65536;

/// The outcome for a message.
enum class SnmpVerdict {
  passes,
  badVersion,            ///< none of SNMPv1, v2c and v3: snmpInBadVersions
  notWellFormed,         ///< snmpInASNParseErrs
  unknownSecurityModel,  ///< of SNMPv3, not the User-based one: snmpUnknownSecurityModels
  notForAnAgent,         ///< a response, notification or report, for which nobody waits here: snmpUnknownPDUHandlers
};

/// Judges an SNMP message (RFC 1157, RFC 1901, RFC 3412) before the library, which parses in place, sees it.
///
/// A message that passes is one value, to the octet. Each length in it lies within what contains it and fills it. Its
/// version is 1, 2c or 3; a community has at most 255 octets. Its request is one that an agent answers: Get, GetNext,
/// Set, and GetBulk but in version 1. Numbers have the ranges that RFC 3416 gives them, names at most 128
/// sub-identifiers of 32 bits, values a type of RFC 2578 or the Opaque forms that the library knows. In version 3 the
/// header and the security parameters have the bounds of RFC 3412 section 6 and RFC 3414 section 2.4, and the message
/// is encrypted where its flags say so. Encrypted contents are judged when they are deciphered.
SnmpVerdict judgeSnmpMessage(Octets message) noexcept;

/// Judges what was encrypted in a message of version 3. Padding may follow it (RFC 3414, 8.1.1.3).
SnmpVerdict judgeDeciphered(Octets scopedPdu) noexcept;

/// How many octets the message takes that begins here; 0 where more are needed to tell. Over largestSnmpMessage where
/// no message begins so.
std::size_t snmpMessageLength(Octets beginning) noexcept;

}  // namespace host::gate
