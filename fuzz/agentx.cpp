// Whole AgentX messages of a master agent to the library as a sub-agent, behind the gate, with the tables of a
// transparent clock registered. The first byte says whether the input is a message or the plan of one.
#include "NetSnmp.h"

#include <algorithm>
#include <vector>

#include "AgentXMessages.h"
#include "Device.h"
#include "Fuzzer.h"
#include "Names.h"
#include "WorkBound.h"
#include "gate/AgentXGate.h"

// The library declares these in its private headers.
extern "C" {
int agentx_parse(netsnmp_session*, netsnmp_pdu*, u_char*, size_t);
int agentx_realloc_build(netsnmp_session*, netsnmp_pdu*, u_char**, size_t*, size_t*);
int agentx_check_packet(u_char*, size_t);
int handle_agentx_packet(int, netsnmp_session*, int, netsnmp_pdu*, void*);
int subagent_startup(int, int, void*, void*);
}

namespace {

using namespace test::agentx;
using namespace host::gate;

constexpr long agentXVersion1 = 0xc1;    // as the library numbers it
constexpr unsigned long mostRows = 250;  // so little that messages exceed it
constexpr std::uint8_t getType = 5;
constexpr std::uint8_t getBulkType = 7;

Bytes asked;  // not read by the library yet
std::vector<Bytes> answers;

int receive(netsnmp_transport* transport, void* buffer, int size, void**, int*) {
  const std::size_t taken = std::min(asked.size(), static_cast<std::size_t>(size));
  if (taken == 0) transport->flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;
  std::copy_n(asked.begin(), taken, static_cast<std::uint8_t*>(buffer));
  asked.clear();
  return static_cast<int>(taken);
}

int send(netsnmp_transport*, const void* buffer, int size, void**, int*) {
  const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
  answers.emplace_back(bytes, bytes + size);
  return size;
}

int close(netsnmp_transport*) { return 0; }

/// The library as a sub-agent whose only master is this fuzzer. It hands requests on to itself through a pipe.
class SubAgent {
 public:
  SubAgent() {
    setenv("MIBS", "", 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1 /* sub-agent */);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    snmp_disable_log();
    init_agent("fuzz");
    snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, subagent_startup, nullptr, 1);
    init_snmp("fuzz");
    host::boundWorkOfTables(mostRows);
    test::populateTransparentClock(device_);

    auto* const transport = static_cast<netsnmp_transport*>(std::calloc(1, sizeof(netsnmp_transport)));
    transport->sock = descriptor;
    transport->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
    transport->msgMaxSize = SNMP_MAX_PACKET_LEN;
    transport->f_recv = receive;
    transport->f_send = send;
    transport->f_close = close;
    netsnmp_session session;
    snmp_sess_init(&session);
    session.version = agentXVersion1;
    session.flags |= SNMP_FLAGS_STREAM_SOCKET;
    session.callback = handle_agentx_packet;
    fuzz::require(snmp_add_full(&session, transport, nullptr, agentx_parse, nullptr, nullptr, agentx_realloc_build,
                                agentx_check_packet, nullptr) != nullptr,
                  "the library takes the transport");
  }

  void ask(Bytes message) {
    asked = std::move(message);
    answers.clear();
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(descriptor, &readable);
    snmp_read(&readable);
    while (readOwnPipes() > 0) {
    }
    netsnmp_check_outstanding_agent_requests();
  }

 private:
  static constexpr int descriptor = 100;  // never opened: only the bit in the set counts

  static int readOwnPipes() {
    int limit = 0;
    int block = 1;
    fd_set readable;
    timeval none{};
    FD_ZERO(&readable);
    snmp_select_info(&limit, &readable, &none, &block);
    FD_CLR(descriptor, &readable);
    none = {};
    const int count = select(std::min(limit, descriptor), &readable, nullptr, nullptr, &none);
    if (count > 0) snmp_read(&readable);
    return count;
  }

  test::ServedDevice device_;
};

Bytes drawName(const Writer& to, fuzz::ByteSource& input) {
  auto arcs = fuzz::drawName<std::vector<std::uint32_t>>(input);
  const bool prefixed = input.oneIn(2);
  if (prefixed) arcs.erase(arcs.begin(), arcs.begin() + 5);
  if (input.oneIn(16)) arcs.resize(input.byte(), 1);
  return to.name(arcs, prefixed ? 2 : 0, input.oneIn(4));
}

Bytes drawMessage(fuzz::ByteSource& input) {
  const Writer to(input.oneIn(2) ? Order::network : Order::little);
  const std::uint8_t kind = static_cast<std::uint8_t>(getType + input.below(3));
  Bytes payload;
  std::uint8_t flags = 0;
  if (input.oneIn(8)) {
    flags = 0x08;
    const auto context = input.bytes(input.below(16));
    payload = to.string({reinterpret_cast<const char*>(context.data()), context.size()});
  }
  if (kind == getBulkType)
    Writer::append(payload, Writer::joined({to.number(input.below(4), 2), to.number(input.byte(), 2)}));
  for (unsigned left = 1 + input.below(40); left > 0; --left) {
    Writer::append(payload, drawName(to, input));
    Writer::append(payload, input.oneIn(2) ? to.name(0, 0) : drawName(to, input));
  }
  Bytes message = to.message(kind, payload, flags);
  for (unsigned changes = input.oneIn(4) ? input.below(4) : 0; changes > 0; --changes) {
    const std::size_t place = input.number<std::uint16_t>() % message.size();
    message[place] = input.byte();
  }
  return message;
}

void requireAnswer(const AgentXHeader& header) {
  fuzz::require(answers.size() == 1, "a request has one answer");
  const Bytes& answer = answers.front();
  fuzz::require(isAgentXMessage(answer), "an answer is well-formed");
  AgentXHeader answered;
  std::copy_n(answer.begin(), answered.size(), answered.begin());
  fuzz::require(isAgentXResponse(answered), "an answer is a response");
  fuzz::require(agentXPacketId(answered) == agentXPacketId(header), "an answer is to its request");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const agent = new SubAgent;  // as long as the process: the library is not made to start twice
  fuzz::ByteSource input(data, size);
  Bytes message;
  if (input.byte() == 'p') {
    const auto rest = input.rest();
    message.assign(rest.begin(), rest.end());
  } else {
    message = drawMessage(input);
  }
  if (!isAgentXMessage(message)) return 0;
  AgentXHeader header;
  std::copy_n(message.begin(), header.size(), header.begin());
  if (header[1] >= agentXTestSetType && header[1] <= agentXCleanupSetType) return 0;  // answered before the library
  agent->ask(std::move(message));
  if (!isAgentXResponse(header)) requireAnswer(header);
  return 0;
}
