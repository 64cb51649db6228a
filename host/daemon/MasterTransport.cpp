#include "MasterTransport.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "AgentXInbox.h"
#include "RepeatableLog.h"
#include "UnixAddress.h"

namespace host {
namespace {

using namespace gate;
using Clock = std::chrono::steady_clock;

constexpr char prefix[] = "ptpsnmpd-master";
const oid noOthersName[] = {0, 0};
constexpr std::size_t longestMessage = 1 << 20;  // that is passed over
constexpr std::chrono::seconds sendTime(1);

struct Connection {
  AgentXInbox inbox;
  bool broken = false;
};

struct Handshake {
  Clock::time_point deadline;
  Clock::duration answerTime;
  AgentXHeader asked{};  // by the library, which waits for the answer
  Clock::time_point askedAt = Clock::now();
  bool late = false;

  bool lateNow() const { return late || Clock::now() - askedAt >= answerTime; }
};

Connection connection;
std::optional<Handshake> handshake;

void breakOff(int socket) {
  connection.broken = true;
  shutdown(socket, SHUT_RDWR);
}

bool readyBefore(Clock::time_point time, int socket, short event) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
  pollfd waiting{.fd = socket, .events = event, .revents = 0};
  return left > 0 && poll(&waiting, 1, static_cast<int>(left)) != 0;
}

bool worthWaiting() { return errno == EAGAIN || errno == EINTR; }

bool sendAll(int socket, const unsigned char* bytes, std::size_t size) {
  const Clock::time_point soon = Clock::now() + sendTime;
  const Clock::time_point time = handshake ? std::min(soon, handshake->deadline) : soon;
  while (size > 0) {
    const ssize_t sent = send(socket, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0 && !(worthWaiting() && readyBefore(time, socket, POLLOUT))) return false;
    if (sent < 0) continue;
    bytes += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

// Before the handshake's deadline.
bool receiveAll(int socket, unsigned char* bytes, std::size_t size) {
  while (size > 0) {
    if (!readyBefore(handshake->deadline, socket, POLLIN)) return false;
    const ssize_t received = recv(socket, bytes, size, MSG_DONTWAIT);
    if (received == 0 || (received < 0 && !worthWaiting())) return false;
    if (received < 0) continue;
    bytes += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

AgentXHeader headerOf(const unsigned char* message) {
  AgentXHeader header;
  std::copy_n(message, header.size(), header.begin());
  return header;
}

// 0 where there is none that may pass.
std::size_t receiveWhole(int socket, unsigned char* bytes, std::size_t size) {
  if (size < agentXHeaderOctets || !receiveAll(socket, bytes, agentXHeaderOctets)) return 0;
  const std::uint64_t announced = agentXLength(headerOf(bytes));
  const auto length = static_cast<std::size_t>(announced);
  if (announced > size || !receiveAll(socket, bytes + agentXHeaderOctets, length - agentXHeaderOctets)) return 0;
  return gate::isAgentXMessage({bytes, length}) ? length : 0;
}

int receiveNothingYet(netsnmp_transport& transport) {
  transport.flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;  // else it would be the end
  return 0;
}

// The library only looks at the number, and would take a request of the master's for the answer.
bool passesForAnswer(const AgentXHeader& header) {
  return !isAgentXResponse(header) && agentXPacketId(header) == agentXPacketId(handshake->asked);
}

void refuse(int socket, const AgentXHeader& header, AgentXError error, std::uint8_t index = 0) {
  if (isAgentXResponse(header)) return;
  const AgentXResponse response = agentXRefusal(header, error, index);
  if (!sendAll(socket, response.data(), response.size())) breakOff(socket);
}

// Answers in the library's place what it shall not see. It would keep each TestSet until its CleanupSet, which a master
// need not send; nothing can be set here, so that no other step of a set can follow.
bool answeredHere(int socket, const AgentXHeader& header) {
  switch (header[1]) {
    case agentXTestSetType: refuse(socket, header, AgentXError::notWritable, 1); return true;
    case agentXCommitSetType:
    case agentXUndoSetType: refuse(socket, header, AgentXError::processingError); return true;
    case agentXCleanupSetType: return true;  // which is not answered: RFC 2741, 7.2.4.4
    default: return false;
  }
}

int receiveInHandshake(netsnmp_transport& transport, unsigned char* bytes, std::size_t size) {
  while (!connection.broken) {
    const std::size_t length = receiveWhole(transport.sock, bytes, size);
    if (length > 0 && !passesForAnswer(headerOf(bytes))) {
      if (answeredHere(transport.sock, headerOf(bytes))) continue;
      return static_cast<int>(length);
    }
    breakOff(transport.sock);
  }
  const AgentXResponse response = agentXRefusal(handshake->asked, AgentXError::processingError);
  std::ranges::copy(response, bytes);
  return static_cast<int>(response.size());
}

bool tooLong(std::uint64_t length) {
  if (length <= longestMessage) return false;
  log::repeatable(spdlog::level::warn,
                  fmt::format("the AgentX master sends a message of {} bytes, {} are taken: the connection is closed",
                              length, longestMessage));
  return true;
}

// Takes a whole message to the library, or away from it.
int pass(netsnmp_transport& transport, const AgentXInbox& inbox, unsigned char* bytes, std::size_t size) {
  const AgentXHeader header = inbox.header();
  if (inbox.length() > std::min(size, AgentXInbox::largestMessage)) {
    refuse(transport.sock, header, AgentXError::tooBig);
  } else if (!gate::isAgentXMessage(inbox.message())) {
    log::repeatable(spdlog::level::warn, "the AgentX master sends a message that is not well-formed: it is refused");
    refuse(transport.sock, header, AgentXError::parseError);
  } else if (!answeredHere(transport.sock, header)) {
    std::ranges::copy(inbox.message(), bytes);
    return static_cast<int>(inbox.length());
  }
  return receiveNothingYet(transport);
}

int receiveMessage(netsnmp_transport& transport, unsigned char* bytes, std::size_t size) {
  AgentXInbox& inbox = connection.inbox;
  for (std::size_t taken = 0; !inbox.whole() && taken < AgentXInbox::largestMessage;) {
    if (connection.broken || tooLong(inbox.length())) return 0;
    const std::span<std::uint8_t> room = inbox.room();
    const ssize_t received = recv(transport.sock, room.data(), room.size(), MSG_DONTWAIT);
    if (received < 0) return worthWaiting() ? receiveNothingYet(transport) : -1;
    if (received == 0) return 0;
    inbox.received(static_cast<std::size_t>(received));
    taken += static_cast<std::size_t>(received);
  }
  if (!inbox.whole()) return receiveNothingYet(transport);
  const int length = pass(transport, inbox, bytes, size);
  inbox.clear();
  return length;
}

// A message that the master could not parse either is replaced: it waits for an answer.
std::optional<AgentXResponse> refusalInstead(const unsigned char* bytes, std::size_t size) {
  const AgentXHeader header = headerOf(bytes);
  if (size <= AgentXInbox::largestMessage || !isAgentXResponse(header)) return std::nullopt;
  return agentXRefusal(header, AgentXError::tooBig);
}

// The library calls the functions below: only exhausted memory could throw there, and ends the process.

// What cannot be sent after the handshake is not complained of, answer by answer: the library learns of the end when it
// reads next.
int sendMessage(netsnmp_transport* transport, const void* message, int size, void**, int*) noexcept {
  const auto* const bytes = static_cast<const unsigned char*>(message);
  const auto length = static_cast<std::size_t>(size);
  const std::optional<AgentXResponse> instead = refusalInstead(bytes, length);
  const std::span<const unsigned char> sent = instead ? std::span(*instead) : std::span(bytes, length);
  if (!connection.broken && !sendAll(transport->sock, sent.data(), sent.size())) {
    spdlog::debug("the AgentX master does not read what it is sent, or has gone: the connection is closed");
    breakOff(transport->sock);
  }
  if (!handshake) return size;
  if (connection.broken) return -1;
  if (const AgentXHeader header = headerOf(bytes); !isAgentXResponse(header)) {
    handshake->late = handshake->lateNow();
    handshake->asked = header;
    handshake->askedAt = Clock::now();
  }
  return size;
}

int receive(netsnmp_transport* transport, void* bytes, int size, void**, int*) noexcept {
  const auto receive = handshake ? receiveInHandshake : receiveMessage;
  return receive(*transport, static_cast<unsigned char*>(bytes), static_cast<std::size_t>(size));
}

int closeConnection(netsnmp_transport* transport) noexcept {
  return transport->sock < 0 ? -1 : close(std::exchange(transport->sock, -1));
}

netsnmp_transport* connectToMaster(netsnmp_tdomain_spec* spec) noexcept {
  const sockaddr_un address = unixAddress(spec->target);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (socket < 0) return nullptr;
  auto* const transport = SNMP_MALLOC_TYPEDEF(netsnmp_transport);
  if (transport == nullptr || connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    close(socket);
    free(transport);
    return nullptr;
  }
  transport->domain = noOthersName;
  transport->domain_length = OID_LENGTH(noOthersName);
  transport->sock = socket;
  transport->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
  transport->msgMaxSize = SNMP_MAX_PACKET_LEN;
  transport->f_recv = receive;
  transport->f_send = sendMessage;
  transport->f_close = closeConnection;
  return transport;
}

}  // namespace

std::string guardedMasterAddress(const std::string& socketPath) {
  static netsnmp_tdomain domain{};
  domain.name = noOthersName;
  domain.name_length = OID_LENGTH(noOthersName);
  if (domain.prefix == nullptr) {  // the library frees it when it shuts down, and forgets the domain
    domain.prefix = static_cast<const char**>(calloc(2, sizeof(const char*)));
    if (domain.prefix == nullptr) throw std::bad_alloc();
    domain.prefix[0] = prefix;
  }
  domain.f_create_from_tspec = connectToMaster;
  netsnmp_tdomain_register(&domain);
  return std::string(prefix) + ":" + socketPath;
}

MasterHandshake::MasterHandshake(Clock::duration time, Clock::duration answerTime) noexcept {
  handshake = Handshake{.deadline = Clock::now() + time, .answerTime = answerTime};
  connection = Connection();
}
MasterHandshake::~MasterHandshake() { handshake.reset(); }
bool MasterHandshake::broken() const noexcept { return connection.broken; }
bool MasterHandshake::late() const noexcept { return handshake->lateNow() || Clock::now() >= handshake->deadline; }

}  // namespace host
