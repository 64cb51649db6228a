// The gate for AgentX messages alone: what passes is parsed by the library, too.
#include "gate/AgentXGate.h"

#include "NetSnmp.h"

#include <algorithm>
#include <vector>

#include "Fuzzer.h"

// The library declares this in its private headers.
extern "C" int agentx_parse(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, size_t length);

namespace {

constexpr long agentXVersion1 = 0xc1;  // as the library numbers it

bool libraryParses(std::vector<u_char> message) {
  netsnmp_session session;
  snmp_sess_init(&session);
  session.version = agentXVersion1;
  netsnmp_pdu* const pdu = snmp_pdu_create(0);
  const bool parsed = agentx_parse(&session, pdu, message.data(), message.size()) == SNMP_ERR_NOERROR;
  snmp_free_pdu(pdu);
  return parsed;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> message(data, size);
  if (!host::gate::isAgentXMessage(message)) return 0;
  fuzz::require(libraryParses({data, data + size}), "the library parses what passes");
  host::gate::AgentXHeader header;
  std::copy_n(data, header.size(), header.begin());
  fuzz::require(host::gate::agentXLength(header) == size, "a message that passes has the length of its header");
  return 0;
}
