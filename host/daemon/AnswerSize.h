#pragma once

#include <cstddef>

struct snmp_session;
struct snmp_pdu;

namespace host {

// The library's own way to make an answer smaller writes over the end of its buffer (SNMPv3), or leaves varbinds out of
// an answer to a GetNext; an answer that exceeds a datagram it sends nevertheless, and nobody gets it.

/// No answer to so many names could fit: the shortest cell takes 21 octets.
inline constexpr std::size_t mostNames = 3000;

/// While it lives, the library works out the answer to this request. The library is told of no limit; buildAnswer keeps
/// to that of the request and of the transport. Of more than mostNames names the library is given the first alone, by
/// which it can see who may ask, and the answer is tooBig.
class AnsweredRequest {
 public:
  /// REQUIRES that there is no other.
  AnsweredRequest(const snmp_session& session, snmp_pdu& request) noexcept;
  AnsweredRequest(const AnsweredRequest&) = delete;
  AnsweredRequest& operator=(const AnsweredRequest&) = delete;
  ~AnsweredRequest();
};

/// The library's hook for writing a message (snmp_add_full), with its meaning: 0, or -1 with the session's error.
///
/// A message that is written fits into what its receiver takes (msgMaxSize) and its transport carries. An answer to a
/// GetBulk that would not has fewer varbinds. Any other gives way to tooBig, which has no varbinds (RFC 3416, 4.2.1);
/// in SNMPv1 it has those of the request (RFC 1157, 4.1.2). Where that does not fit either, nothing is written, for
/// nothing to be sent, and snmpSilentDrops counts it.
int buildAnswer(snmp_session* session, snmp_pdu* pdu, unsigned char** buffer, std::size_t* size,
                std::size_t* length) noexcept;

}  // namespace host
