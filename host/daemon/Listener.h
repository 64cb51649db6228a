#pragma once

#include <string>

struct netsnmp_transport_s;

namespace host {

/// Serves SNMP at an address in net-snmp's transport syntax, until the engine ends. What comes in passes the gate
/// before the library parses it (see gate/SnmpGate.h); what does not pass is counted as RFC 3418 and RFC 3412 say, and
/// said. Answers fit (see AnswerSize.h). REQUIRES an engine whose configuration is read. Throws std::runtime_error,
/// naming address and reason, also where the transport is none of udp, udp6, tcp, tcp6 and unix: the gate stands before
/// these.
void listenOn(const std::string& address);

/// Tells whether the gate stands before this transport. The text says why an address of another one is refused.
bool isServed(const netsnmp_transport_s& transport);
inline constexpr char servedTransports[] = "only udp, udp6, tcp, tcp6 and unix are served";

/// Likewise on a transport that is open, of which it takes possession. False where the engine takes no more.
bool serveOn(netsnmp_transport_s& transport);

}  // namespace host
