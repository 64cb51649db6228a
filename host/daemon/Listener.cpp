#include "Listener.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <net-snmp/library/snmpTCPDomain.h>
#include <net-snmp/library/snmpTCPIPv6Domain.h>
#include <net-snmp/library/snmpUDPDomain.h>
#include <net-snmp/library/snmpUDPIPv6Domain.h>
#include <net-snmp/library/snmpUnixDomain.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "AnswerSize.h"
#include "DatagramTransport.h"
#include "RepeatableLog.h"
#include "StreamTransport.h"
#include "gate/SnmpGate.h"

namespace host {
namespace {

using gate::SnmpVerdict;

// The library counts as errors in ASN.1 what it parses itself.
int statisticOf(SnmpVerdict verdict) {
  switch (verdict) {
    case SnmpVerdict::badVersion: return STAT_SNMPINBADVERSIONS;
    case SnmpVerdict::unknownSecurityModel: return STAT_SNMPUNKNOWNSECURITYMODELS;
    case SnmpVerdict::notForAnAgent: return STAT_SNMPUNKNOWNPDUHANDLERS;
    default: return STAT_SNMPINASNPARSEERRS;
  }
}

const char* reasonOf(SnmpVerdict verdict) {
  switch (verdict) {
    case SnmpVerdict::badVersion: return "a message of another version than SNMPv1, v2c and v3 is dropped";
    case SnmpVerdict::unknownSecurityModel: return "a message of SNMPv3 with an unknown security model is dropped";
    case SnmpVerdict::notForAnAgent: return "a message that is no request to an SNMP agent is dropped";
    default: return "a message that is not well-formed SNMP is dropped";
  }
}

bool passes(SnmpVerdict verdict, const char* reason) {
  if (verdict == SnmpVerdict::passes) return true;
  snmp_increment_statistic(statisticOf(verdict));
  log::repeatable(spdlog::level::warn, reason);
  return false;
}

bool passes(SnmpVerdict verdict) { return passes(verdict, reasonOf(verdict)); }

// The library calls the functions below: only exhausted memory could throw there, and ends the process.

int parse(netsnmp_session* session, netsnmp_pdu* pdu, u_char* message, std::size_t length) noexcept {
  if (!passes(gate::judgeSnmpMessage({message, length}))) return SNMPERR_ASN_PARSE_ERR;
  auto* const found = static_cast<session_list*>(snmp_sess_pointer(session));
  return snmp_parse(found, session, pdu, message, length);
}

// The library ends a connection only for a length below 0; any other it would wait for.
int messageLength(u_char* beginning, std::size_t length) noexcept {
  const std::size_t whole = gate::snmpMessageLength({beginning, length});
  if (whole <= gate::largestSnmpMessage) return static_cast<int>(whole);
  passes(SnmpVerdict::notWellFormed);
  return -1;
}

int answer(int operation, netsnmp_session* session, int requestId, netsnmp_pdu* pdu, void* magic) noexcept {
  if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
    return handle_snmp_packet(operation, session, requestId, pdu, magic);
  }
  const AnsweredRequest answered(*session, *pdu);
  return handle_snmp_packet(operation, session, requestId, pdu, magic);
}

constexpr char otherKey[] =
    "an encrypted message is dropped: it is no request when it is deciphered, perhaps by another privacy passphrase";

// This is USM's own function (RFC 3414). The library parses on where something is wrong, and must not with what came
// out of the cipher.
SecmodInMsg* decipher = nullptr;

int decipherAndJudge(snmp_secmod_incoming_params* message) noexcept {
  const int result = decipher(message);
  if (message->secLevel != SNMP_SEC_LEVEL_AUTHPRIV) return result;
  if (result == SNMPERR_SUCCESS &&
      passes(gate::judgeDeciphered({*message->scopedPdu, *message->scopedPduLen}), otherKey)) {
    return result;
  }
  *message->scopedPdu = nullptr;
  return result == SNMPERR_SUCCESS ? SNMPERR_ASN_PARSE_ERR : result;
}

void gateDeciphered() {
  snmp_secmod_def* const userBased = find_sec_mod(SNMP_SEC_MODEL_USM);
  if (userBased == nullptr || userBased->decode == decipherAndJudge) return;
  decipher = std::exchange(userBased->decode, decipherAndJudge);
}

[[noreturn]] void refuse(const std::string& address, const std::string& reason) {
  throw std::runtime_error(fmt::format("cannot listen on {}: {}", address, reason));
}

}  // namespace

bool isServed(const netsnmp_transport& transport) {
  static const std::array<const oid*, 5> domains{netsnmpUDPDomain, netsnmp_UDPIPv6Domain, netsnmp_snmpTCPDomain,
                                                 netsnmp_TCPIPv6Domain, netsnmp_UnixDomain};
  const bool shared = (transport.flags & NETSNMP_TRANSPORT_FLAG_SHARED) != 0;
  return !shared && std::ranges::find(domains, transport.domain) != domains.end();
}

bool serveOn(netsnmp_transport& transport) {
  gateDeciphered();
  netsnmp_session session;
  snmp_sess_init(&session);
  session.version = SNMP_DEFAULT_VERSION;
  session.callback = answer;
  session.flags = static_cast<u_long>(netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_FLAGS));
  session.isAuthoritative = SNMP_SESS_AUTHORITATIVE;
  session.rcvMsgMaxSize = gate::largestSnmpMessage;
  return snmp_add_full(&session, &transport, netsnmp_agent_check_packet, parse, netsnmp_agent_check_parse, nullptr,
                       buildAnswer, messageLength, nullptr) != nullptr;
}

void listenOn(const std::string& address) {
  errno = 0;
  netsnmp_transport* const transport = netsnmp_transport_open_server("snmp", address.c_str());
  if (transport == nullptr) {
    refuse(address, errno != 0 ? std::strerror(errno) : fmt::format("no such address; {}", servedTransports));
  }
  if (!isServed(*transport)) {
    transport->f_close(transport);
    netsnmp_transport_free(transport);
    refuse(address, servedTransports);
  }
  guardDatagrams(*transport);
  guardListener(*transport);
  if (!serveOn(*transport)) refuse(address, "the SNMP engine takes no more addresses");
}

}  // namespace host
