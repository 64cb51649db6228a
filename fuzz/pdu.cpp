// Whole SNMP packets to the daemon's engine, behind its gate, with the tables of a transparent clock registered. The
// first byte says whether the input is a packet or the plan of one.
#include <netinet/in.h>

#include "NetSnmp.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "Device.h"
#include "Fuzzer.h"
#include "Listener.h"
#include "Names.h"
#include "SnmpMessages.h"
#include "TestAgent.h"
#include "Version3.h"
#include "WorkBound.h"

// The library declares this in its private headers.
extern "C" u_char* snmp_comstr_parse(u_char* data, size_t* length, u_char* community, size_t* communityLength,
                                     long* version);

namespace {

using namespace test::snmp;

constexpr int largestMessage = 65507;
constexpr unsigned long mostRows = 1500;  // so few that packets exceed it; enough for answers that exceed a receiver

/// The wire between the agent and its one manager.
struct Wire {
  Bytes request;
  std::optional<Bytes> reply;
};
Wire wire;

int receive(netsnmp_transport*, void* buffer, int size, void** opaque, int* opaqueSize) {
  auto* const peer = static_cast<netsnmp_indexed_addr_pair*>(std::calloc(1, sizeof(netsnmp_indexed_addr_pair)));
  peer->remote_addr.sin.sin_family = AF_INET;
  peer->remote_addr.sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  *opaque = peer;  // the library frees it
  *opaqueSize = sizeof *peer;
  const std::size_t taken = std::min(wire.request.size(), static_cast<std::size_t>(size));
  std::memcpy(buffer, wire.request.data(), taken);
  return static_cast<int>(taken);
}

int send(netsnmp_transport*, const void* buffer, int size, void**, int*) {
  const auto* const bytes = static_cast<const u_char*>(buffer);
  if (size > 0) wire.reply.emplace(bytes, bytes + size);
  return size;
}

int close(netsnmp_transport*) { return 0; }

// The name of the agent's own manager, for whom the library asks no /etc/hosts.allow. The library frees it.
char* addressText(netsnmp_transport*, const void*, int) { return strdup("callback"); }

/// The agent library as a master agent whose only transport is the wire: no socket, no other thread, no clock.
class Agent {
 public:
  Agent() {
    spdlog::set_level(spdlog::level::off);
    test::initTestAgent("fuzz");
    auto* const transport = static_cast<netsnmp_transport*>(std::calloc(1, sizeof(netsnmp_transport)));
    transport->domain = netsnmpUDPDomain;
    transport->domain_length = static_cast<int>(netsnmpUDPDomain_len);
    transport->sock = descriptor;
    transport->msgMaxSize = largestMessage;
    transport->f_recv = receive;
    transport->f_send = send;
    transport->f_close = close;
    transport->f_fmtaddr = addressText;
    fuzz::createUsers();
    host::boundWorkOfTables(mostRows);
    fuzz::require(host::serveOn(*transport), "the agent takes the transport");
    test::populateTransparentClock(device_);
    requireUsers();
  }

  std::optional<Bytes> ask(Bytes request) {
    wire = {std::move(request), std::nullopt};
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(descriptor, &readable);
    snmp_read(&readable);
    netsnmp_check_outstanding_agent_requests();
    return wire.reply;
  }

 private:
  static constexpr int descriptor = 100;  // never opened: only the bit in the set counts

  // Or messages of a user whom the library takes for a stranger would reach nothing.
  void requireUsers() {
    const Bytes inside = scopedPdu(pdu(SNMP_MSG_GETNEXT, varbind({1, 3, 6, 1, 2, 1, 241})), "");
    for (const fuzz::User& user : fuzz::users) {
      const u_int before = snmp_get_statistic(STAT_SNMPOUTGETRESPONSES);
      ask(fuzz::secured(user, largestMessage, inside));
      fuzz::require(snmp_get_statistic(STAT_SNMPOUTGETRESPONSES) == before + 1, "each user is answered");
    }
  }

  test::ServedDevice device_;
};

/// A message as the library reads it; none, where it reads none or is of another version than 1 and 2c.
class Message {
 public:
  explicit Message(Bytes bytes) {
    u_char community[256];
    std::size_t communityLength = sizeof community;
    long version = 0;
    std::size_t length = bytes.size();
    u_char* const start = snmp_comstr_parse(bytes.data(), &length, community, &communityLength, &version);
    if (start == nullptr || (version != SNMP_VERSION_1 && version != SNMP_VERSION_2c)) return;
    pdu_ = snmp_pdu_create(0);
    read_ = snmp_pdu_parse(pdu_, start, &length) == SNMPERR_SUCCESS;
  }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message() { snmp_free_pdu(pdu_); }

  explicit operator bool() const { return read_; }
  const netsnmp_pdu* operator->() const { return pdu_; }
  const netsnmp_pdu& operator*() const { return *pdu_; }

 private:
  netsnmp_pdu* pdu_ = nullptr;
  bool read_ = false;
};

int order(const netsnmp_variable_list& left, const netsnmp_variable_list& right) {
  return snmp_oid_compare(left.name, left.name_length, right.name, right.name_length);
}

// Name by name, for as long as both have one.
void requireNames(const netsnmp_pdu& request, const netsnmp_pdu& reply) {
  const auto* answer = reply.variables;
  for (const auto* asked = request.variables; asked != nullptr; asked = asked->next_variable) {
    fuzz::require(answer != nullptr, "each name that is asked for is answered");
    if (request.command == SNMP_MSG_GET) {
      fuzz::require(order(*asked, *answer) == 0, "a GET is answered by its name");
    } else if (answer->type != SNMP_ENDOFMIBVIEW) {
      fuzz::require(order(*asked, *answer) < 0, "a GETNEXT is answered by a later name");
    }
    answer = answer->next_variable;
  }
}

void requireProperties(const Bytes& request, const Bytes& reply) {
  const Message asked(request);
  const Message answer(reply);
  if (!asked || !answer || answer->command != SNMP_MSG_RESPONSE) return;
  if (asked->command == SNMP_MSG_SET && asked->variables != nullptr) {
    fuzz::require(answer->errstat != SNMP_ERR_NOERROR, "nothing can be set");
  }
  if (answer->errstat != SNMP_ERR_NOERROR) return;
  if (asked->command == SNMP_MSG_GET || asked->command == SNMP_MSG_GETNEXT) requireNames(*asked, *answer);
}

Bytes drawVarbind(fuzz::ByteSource& input, u_char command) {
  const Oid name = fuzz::drawName<Oid>(input);
  if (command != SNMP_MSG_SET && !input.oneIn(16)) return varbind(name);
  static constexpr u_char types[] = {ASN_INTEGER,   ASN_OCTET_STR, ASN_OBJECT_ID, ASN_UNSIGNED, ASN_COUNTER,
                                     ASN_IPADDRESS, ASN_TIMETICKS, ASN_COUNTER64, ASN_OPAQUE};
  const u_char type = types[input.below(std::size(types))];
  const auto value = input.bytes(input.below(12));
  return varbind(name, tlv(type, {value.begin(), value.end()}));
}

Bytes drawPdu(fuzz::ByteSource& input, u_char command, unsigned mostVarbinds) {
  const bool isBulk = command == SNMP_MSG_GETBULK;
  const unsigned first = isBulk ? input.below(4) : 0;
  const unsigned second = isBulk ? input.byte() : 0;
  Bytes varbinds;
  for (unsigned left = 1 + input.below(mostVarbinds); left > 0; --left)
    varbinds = varbinds + drawVarbind(input, command);
  return pdu(command, varbinds, first, second);
}

u_char drawCommand(fuzz::ByteSource& input) {
  static constexpr u_char commands[] = {SNMP_MSG_GET, SNMP_MSG_GETNEXT, SNMP_MSG_GETBULK, SNMP_MSG_SET};
  return commands[input.below(std::size(commands))];
}

void change(fuzz::ByteSource& input, Bytes& packet) {
  for (unsigned changes = input.oneIn(4) ? input.below(4) : 0; changes > 0 && !packet.empty(); --changes) {
    const std::size_t place = input.number<std::uint16_t>() % packet.size();
    packet[place] = input.byte();
  }
}

Bytes drawPacket(fuzz::ByteSource& input) {
  const u_char command = drawCommand(input);
  const int version = command != SNMP_MSG_GETBULK && input.oneIn(4) ? SNMP_VERSION_1 : SNMP_VERSION_2c;
  Bytes packet = message(drawPdu(input, command, 6), version, "private");
  change(input, packet);
  return packet;
}

struct Version3Packet {
  Bytes packet;
  std::size_t maxSize;  ///< of an answer to it
};

// The encrypted part can be wrong, too.
Version3Packet drawVersion3Packet(fuzz::ByteSource& input) {
  const fuzz::User& user = fuzz::users[input.below(fuzz::users.size())];
  const std::size_t maxSize = input.oneIn(4) ? largestMessage : 484 + input.number<std::uint16_t>() % 1024;
  const std::string_view contextName = input.oneIn(8) ? "other" : "";
  Bytes inside = scopedPdu(drawPdu(input, drawCommand(input), 40), contextName);
  change(input, inside);
  const Bytes packet = fuzz::secured(user, static_cast<std::int64_t>(maxSize), inside);
  Bytes changed = packet;
  change(input, changed);
  return {changed, changed == packet ? maxSize : largestMessage};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const agent = new Agent;  // as long as the process: the library is not made to start twice
  fuzz::ByteSource input(data, size);
  const std::uint8_t kind = input.byte();
  Bytes request;
  std::size_t maxSize = largestMessage;
  if (kind == 'p') {
    const auto packet = input.rest();
    request.assign(packet.begin(), packet.end());
  } else if (kind == '3') {
    const Version3Packet drawn = drawVersion3Packet(input);
    request = drawn.packet;
    maxSize = drawn.maxSize;
  } else {
    request = drawPacket(input);
  }
  if (request.empty()) return 0;
  const auto reply = agent->ask(request);
  if (!reply) return 0;
  fuzz::require(reply->size() <= maxSize, "a reply fits into a datagram, and into what its receiver takes");
  requireProperties(request, *reply);
  return 0;
}
