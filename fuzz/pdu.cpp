// Whole SNMP packets to the agent library, with the tables of a transparent clock registered. The first byte says
// whether the input is a packet or the plan of one.
#include <netinet/in.h>

#include "NetSnmp.h"

#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "Device.h"
#include "Fuzzer.h"
#include "TestAgent.h"

// Of the library, which declares it in its private headers.
extern "C" u_char* snmp_comstr_parse(u_char* data, size_t* length, u_char* community, size_t* communityLength,
                                     long* version);

namespace {

using Bytes = std::vector<u_char>;
using Oid = std::vector<oid>;

constexpr int largestMessage = 65507;

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
  wire.reply.emplace(bytes, bytes + size);
  return size;
}

// The name of the agent's own manager, for whom the library asks no /etc/hosts.allow. The library frees it.
char* addressText(netsnmp_transport*, const void*, int) { return strdup("callback"); }

/// The agent library as a master agent whose only transport is the wire: no socket, no other thread, no clock.
class Agent {
 public:
  Agent() {
    test::initTestAgent("fuzz");
    auto* const transport = static_cast<netsnmp_transport*>(std::calloc(1, sizeof(netsnmp_transport)));
    transport->domain = netsnmpUDPDomain;
    transport->domain_length = static_cast<int>(netsnmpUDPDomain_len);
    transport->sock = descriptor;
    transport->msgMaxSize = largestMessage;
    transport->f_recv = receive;
    transport->f_send = send;
    transport->f_fmtaddr = addressText;
    fuzz::require(netsnmp_register_agent_nsap(transport) > 0, "the agent takes the transport");
    test::populateTransparentClock(device_);
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

// The encoding (ASN.1 BER) by hand, so that it can be wrong.

Bytes tlv(u_char tag, const Bytes& content) {
  Bytes bytes = {tag, 0x82, static_cast<u_char>(content.size() >> 8), static_cast<u_char>(content.size())};
  bytes.insert(bytes.end(), content.begin(), content.end());
  return bytes;
}
Bytes integer(u_char value) { return tlv(ASN_INTEGER, {0, value}); }

Bytes objectIdentifier(const Oid& id) {
  Bytes content = {static_cast<u_char>(id[0] * 40 + id[1])};
  for (std::size_t i = 2; i < id.size(); ++i) {
    for (unsigned shift = 28; shift > 0; shift -= 7) {
      if (id[i] >> shift != 0) content.push_back(static_cast<u_char>(0x80 | (id[i] >> shift & 0x7f)));
    }
    content.push_back(static_cast<u_char>(id[i] & 0x7f));
  }
  return tlv(ASN_OBJECT_ID, content);
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// A name in or about the tables: often a whole one, of a column and a row that exist.
Oid drawName(fuzz::ByteSource& input) {
  Oid name = {1, 3, 6, 1, 2, 1, 241};
  const unsigned group = 1 + input.below(2);
  const std::array<oid, 8> tail = {
      1, group, 1 + input.below(group == 1 ? 2 : 10), 1, 1 + input.below(16), 7, input.oneIn(2) ? 3U : 1U, 1};
  name.insert(name.end(), tail.begin(), tail.end());
  if (input.oneIn(2)) name.push_back(input.oneIn(2) ? 300 : 1);
  for (unsigned changes = input.below(4); changes > 0; --changes) {
    switch (input.below(4)) {
      case 0: name.push_back(input.byte()); break;
      case 1: name.resize(7 + input.below(10), 1); break;
      case 2: name[2 + input.byte() % (name.size() - 2)] = input.byte(); break;
      default: name[2 + input.byte() % (name.size() - 2)] = input.number<std::uint32_t>(); break;
    }
  }
  return name;
}

Bytes drawVarbind(fuzz::ByteSource& input, u_char command) {
  const Bytes name = objectIdentifier(drawName(input));
  if (command != SNMP_MSG_SET && !input.oneIn(16)) return tlv(0x30, name + tlv(ASN_NULL, {}));
  static constexpr u_char types[] = {ASN_INTEGER, ASN_OCTET_STR, ASN_OBJECT_ID, ASN_UNSIGNED,
                                     ASN_COUNTER, ASN_IPADDRESS, ASN_TIMETICKS, ASN_COUNTER64};
  const u_char type = types[input.below(std::size(types))];
  const auto value = input.bytes(input.below(12));
  return tlv(0x30, name + tlv(type, {value.begin(), value.end()}));
}

Bytes drawPacket(fuzz::ByteSource& input) {
  static constexpr u_char commands[] = {SNMP_MSG_GET, SNMP_MSG_GETNEXT, SNMP_MSG_GETBULK, SNMP_MSG_SET};
  const u_char command = commands[input.below(std::size(commands))];
  const u_char version = command != SNMP_MSG_GETBULK && input.oneIn(4) ? SNMP_VERSION_1 : SNMP_VERSION_2c;
  const u_char first = command == SNMP_MSG_GETBULK ? static_cast<u_char>(input.below(4)) : u_char{0};
  const u_char second = command == SNMP_MSG_GETBULK ? input.byte() : u_char{0};
  Bytes varbinds;
  for (unsigned left = 1 + input.below(6); left > 0; --left) varbinds = varbinds + drawVarbind(input, command);
  const Bytes pdu = tlv(command, integer(7) + integer(first) + integer(second) + tlv(0x30, varbinds));
  const Bytes community = {'p', 'r', 'i', 'v', 'a', 't', 'e'};
  Bytes packet = tlv(0x30, integer(version) + tlv(ASN_OCTET_STR, community) + pdu);
  for (unsigned changes = input.oneIn(4) ? input.below(4) : 0; changes > 0; --changes) {
    const std::size_t place = input.number<std::uint16_t>() % packet.size();
    packet[place] = input.byte();
  }
  return packet;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const agent = new Agent;  // as long as the process: the library is not made to start twice
  fuzz::ByteSource input(data, size);
  Bytes request;
  if (input.byte() == 'p') {
    const auto packet = input.rest();
    request.assign(packet.begin(), packet.end());
  } else {
    request = drawPacket(input);
  }
  if (request.empty()) return 0;
  if (const auto reply = agent->ask(request)) requireProperties(request, *reply);
  return 0;
}
