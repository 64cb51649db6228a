#include "DatagramTransport.h"

#include "NetSnmp.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <net-snmp/library/snmpUDPDomain.h>
#include <net-snmp/library/snmpUDPIPv6Domain.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "RepeatableLog.h"

namespace host {
namespace {

using Send = int (*)(netsnmp_transport*, const void*, int, void**, int*);

std::map<const oid*, Send> libraryFunctions;  // by transport domain

// The library calls this: only exhausted memory could throw here, and ends the process.
int sendOrLose(netsnmp_transport* transport, const void* message, int size, void** peer, int* peerLength) noexcept {
  if (size == 0) return 0;
  if (libraryFunctions.at(transport->domain)(transport, message, size, peer, peerLength) < 0) {
    log::repeatable(spdlog::level::warn, fmt::format("an answer could not be sent: {}", std::strerror(errno)));
  }
  return size;
}

}  // namespace

void guardDatagrams(netsnmp_transport& listener) {
  if (listener.domain != netsnmpUDPDomain && listener.domain != netsnmp_UDPIPv6Domain) return;
  fcntl(listener.sock, F_SETFL, fcntl(listener.sock, F_GETFL) | O_NONBLOCK);
  libraryFunctions.try_emplace(listener.domain, listener.f_send);
  listener.f_send = sendOrLose;
}

}  // namespace host
