// The gate for SNMP messages alone: what passes is parsed by the library, too.
#include "gate/SnmpGate.h"

#include "NetSnmp.h"

#include <vector>

#include "Fuzzer.h"

// The library declares this in its private headers.
extern "C" u_char* snmp_comstr_parse(u_char* data, size_t* length, u_char* community, size_t* communityLength,
                                     long* version);

namespace {

using host::gate::Octets;
using host::gate::SnmpVerdict;
using Bytes = std::vector<u_char>;

bool libraryParsesPdu(u_char* data, std::size_t length) {
  netsnmp_pdu* const pdu = snmp_pdu_create(0);
  const bool parsed = snmp_pdu_parse(pdu, data, &length) == SNMPERR_SUCCESS;
  snmp_free_pdu(pdu);
  return parsed;
}

// Parses a message with a community in place, as the library does.
bool libraryParses(Bytes message) {
  u_char community[256];
  std::size_t communityLength = sizeof community;
  long version = 0;
  std::size_t length = message.size();
  u_char* const pdu = snmp_comstr_parse(message.data(), &length, community, &communityLength, &version);
  return pdu != nullptr && libraryParsesPdu(pdu, length);
}

bool isVersion3(Octets message) {
  host::gate::BerReader outside(message);
  host::gate::BerReader inside(*outside.take(0x30));
  return inside.takeInteger(0, 3) == 3;
}

bool libraryParsesScoped(Bytes message) {
  netsnmp_pdu* const pdu = snmp_pdu_create(0);
  pdu->contextEngineID = static_cast<u_char*>(std::calloc(1, SNMP_MAX_ENG_SIZE));
  pdu->contextEngineIDLen = SNMP_MAX_ENG_SIZE;
  std::size_t length = message.size();
  u_char* const data = snmpv3_scopedPDU_parse(pdu, message.data(), &length);
  const bool parsed = data != nullptr && snmp_pdu_parse(pdu, data, &length) == SNMPERR_SUCCESS;
  snmp_free_pdu(pdu);
  return parsed;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Octets message(data, size);
  if (host::gate::judgeSnmpMessage(message) == SnmpVerdict::passes) {
    fuzz::require(host::gate::snmpMessageLength(message) == size, "a message that passes has its own length");
    fuzz::require(isVersion3(message) || libraryParses({data, data + size}), "the library parses what passes");
    Bytes longer(data, data + size);
    longer.push_back(0);
    fuzz::require(host::gate::judgeSnmpMessage(longer) != SnmpVerdict::passes, "nothing follows a message");
  }
  if (host::gate::judgeDeciphered(message) == SnmpVerdict::passes) {
    fuzz::require(libraryParsesScoped({data, data + size}), "the library parses what was deciphered and passes");
  }
  return 0;
}
