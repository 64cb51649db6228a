#include "StreamTransport.h"

#include "NetSnmp.h"

#include <fcntl.h>
#include <net-snmp/library/snmpTCPDomain.h>
#include <net-snmp/library/snmpTCPIPv6Domain.h>
#include <net-snmp/library/snmpUnixDomain.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "RepeatableLog.h"
#include "gate/SnmpFraming.h"

namespace host {
namespace {

constexpr std::size_t maxConnections = 32;
constexpr int shareOfDescriptors = 4;  // the rest is for requests, the PTP service and the next peer
constexpr int sendBufferBytes = 1 << 18;
constexpr std::size_t largestAnswer = 1 << 17;  // which the buffer has room for, with what the kernel adds
constexpr int receivedAtOnce = 1500;            // what a datagram would bring
constexpr int mostUnanswered = 1 << 17;         // twice the largest message

using Clock = std::chrono::steady_clock;

constexpr auto longAnswer = std::chrono::milliseconds(5);

struct ListenerFunctions {
  int (*accept)(netsnmp_transport*);
  int (*receive)(netsnmp_transport*, void*, int, void**, int*);
  int (*close)(netsnmp_transport*);
};

// The library's own, by transport domain. It copies the listener, functions and all, for each connection.
std::map<const oid*, ListenerFunctions> libraryFunctions;

int spare = -1;  // a descriptor in reserve: see makeRoom
std::size_t keptConnections = maxConnections;
std::list<int> connections;  // the one that was sent something last comes last

struct Stream {
  int unanswered = 0;  // octets that it brought since it was last sent something
  gate::SnmpFraming framing;
  Clock::time_point received{};                   // the message that is being answered
  std::optional<Clock::time_point> waitsSince{};  // to be read
};
std::map<int, Stream> streams;  // by descriptor
Clock::time_point restUntil{};  // none is read before

// The library learns of it as of any end of a connection, when it reads next. So what else the peer has asked is not
// complained of, answer by answer.
void end(int connection) { shutdown(connection, SHUT_RDWR); }

// The library calls the functions below: only exhausted memory could throw there, and ends the process.

int receiveNothing(netsnmp_transport*, void*, int, void**, int*) noexcept { return 0; }

// What waits either way is of no use any more: what the peer has asked would cost time, what it does not read, memory.
void abandon(netsnmp_transport& connection) {
  const linger nothing{.l_onoff = 1, .l_linger = 0};
  setsockopt(connection.sock, SOL_SOCKET, SO_LINGER, &nothing, sizeof(nothing));
  connection.f_recv = receiveNothing;
  end(connection.sock);
}

void moveLast(int connection) {
  const auto place = std::ranges::find(connections, connection);
  if (place != connections.end()) connections.splice(connections.end(), connections, place);
}

// After a message that took long, datagrams have as much time.
void restAfter(const Stream& stream) {
  const Clock::time_point now = Clock::now();
  const Clock::duration took = now - stream.received;
  if (took >= longAnswer) restUntil = now + took;
}

// The one that has waited longest is read first: the library would always begin with the same.
bool isNext(Stream& stream) {
  const Clock::time_point now = Clock::now();
  if (!stream.waitsSince) stream.waitsSince = now;
  const auto waitsLonger = [&](const auto& each) {
    return each.second.waitsSince && *each.second.waitsSince < *stream.waitsSince;
  };
  if (now < restUntil || std::ranges::any_of(streams, waitsLonger)) return false;
  stream.waitsSince.reset();
  return true;
}

int sendAtOnce(netsnmp_transport* transport, const void* message, int size, void**, int*) noexcept {
  Stream& stream = streams[transport->sock];
  stream.unanswered = 0;
  restAfter(stream);
  moveLast(transport->sock);
  if (send(transport->sock, message, static_cast<std::size_t>(size), MSG_DONTWAIT | MSG_NOSIGNAL) == size) return size;
  log::repeatable(spdlog::level::warn, "a peer does not read what it is sent, or has gone: its connection is closed");
  abandon(*transport);
  return size;
}

int receiveNothingYet(netsnmp_transport& transport) {
  transport.flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;  // else it would be the end
  return 0;
}

// The library answers all that it received before it turns to anybody else, and keeps what it received of a message of
// any length that its header announces, up to 2 GiB. So it gets one message at a time, or a part of it.
int receiveSome(netsnmp_transport* transport, void* message, int size, void** opaque, int* opaqueLength) noexcept {
  Stream& stream = streams[transport->sock];
  if (!isNext(stream)) return receiveNothingYet(*transport);
  // Of a Unix socket the library loses memory where there is an error, which looking takes away.
  auto* const octets = static_cast<std::uint8_t*>(message);
  const auto most = static_cast<std::size_t>(std::min(size, receivedAtOnce));
  const ssize_t seen = recv(transport->sock, octets, most, MSG_PEEK | MSG_DONTWAIT);
  if (seen < 0) return errno == EAGAIN || errno == EINTR ? receiveNothingYet(*transport) : -1;
  if (seen == 0) return 0;
  const std::size_t taken = stream.framing.take({octets, static_cast<std::size_t>(seen)});
  stream.received = Clock::now();
  const ListenerFunctions& library = libraryFunctions.at(transport->domain);
  const int received = library.receive(transport, message, static_cast<int>(taken), opaque, opaqueLength);
  if (received <= 0 || (stream.unanswered += received) <= mostUnanswered) return received;
  log::repeatable(spdlog::level::warn, "a peer sends without end what calls for no answer: its connection is closed");
  abandon(*transport);
  return 0;
}

void keepSpace(int connection) {
  setsockopt(connection, SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof(sendBufferBytes));
}

int openSpare() { return open("/dev/null", O_RDONLY | O_CLOEXEC); }

// A new descriptor has the lowest number that is free: below it, all are in use.
void leaveDescriptors() {
  spare = openSpare();
  rlimit descriptors{};
  if (spare < 0 || getrlimit(RLIMIT_NOFILE, &descriptors) != 0) return;
  const auto most = static_cast<int>(std::min<rlim_t>(descriptors.rlim_cur, std::numeric_limits<int>::max()));
  keptConnections = std::clamp<std::size_t>((most - spare) / shareOfDescriptors, 1, maxConnections);
}

void endTheLongestSilent() {
  end(connections.front());
  connections.pop_front();
}

// The event loop would report a peer that waits at the listener again at once, without a pause. Ends the connection
// that was sent nothing for longest: the library closes it in the next turn, and accepts the peer then. Where there is
// none, accepts the peer with the spare descriptor, and closes.
int makeRoom(int listener) {
  if (!connections.empty()) {
    endTheLongestSilent();
  } else if (spare >= 0) {
    close(spare);
    close(accept(listener, nullptr, nullptr));
    spare = openSpare();
  }
  return -1;
}

int acceptOne(netsnmp_transport* listener) noexcept {
  const int connection = libraryFunctions.at(listener->domain).accept(listener);
  if (connection < 0) return errno == EMFILE || errno == ENFILE ? makeRoom(listener->sock) : -1;
  keepSpace(connection);
  streams[connection] = Stream();
  connections.push_back(connection);
  if (connections.size() > keptConnections) endTheLongestSilent();
  return connection;
}

int closeConnection(netsnmp_transport* connection) noexcept {
  if (connection->sock < 0) return -1;
  std::erase(connections, connection->sock);
  streams.erase(connection->sock);
  return close(std::exchange(connection->sock, -1));
}

// The library's way takes the address of whoever connected last for the listener's own, and removes the file of that
// name, which is for the peer to choose.
int closeUnixListener(netsnmp_transport* listener) {
  if (listener->sock < 0) return -1;
  unlink(std::string(static_cast<const char*>(listener->local), listener->local_length).c_str());
  return close(std::exchange(listener->sock, -1));
}

int closeEither(netsnmp_transport* transport) noexcept {
  if ((transport->flags & NETSNMP_TRANSPORT_FLAG_LISTEN) == 0) return closeConnection(transport);
  if (transport->domain == netsnmp_UnixDomain) return closeUnixListener(transport);
  return libraryFunctions.at(transport->domain).close(transport);
}

}  // namespace

void guardListener(netsnmp_transport& listener) {
  const oid* const guarded[] = {netsnmp_snmpTCPDomain, netsnmp_TCPIPv6Domain, netsnmp_UnixDomain};
  if (std::ranges::find(guarded, listener.domain) == std::end(guarded)) return;
  if (spare < 0) leaveDescriptors();
  libraryFunctions.try_emplace(listener.domain,
                               ListenerFunctions{listener.f_accept, listener.f_recv, listener.f_close});
  listener.msgMaxSize = largestAnswer;
  listener.f_accept = acceptOne;
  listener.f_recv = receiveSome;
  listener.f_send = sendAtOnce;
  listener.f_close = closeEither;
}

}  // namespace host
