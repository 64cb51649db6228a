#pragma once

struct netsnmp_transport_s;

namespace host {

// The library sends until everything is out, answers all that it has received, and keeps each connection that anybody
// makes. A peer that asks and does not read would hold the one thread for ever, one that asks much at once would hold
// it for long, and one that only connects would use up the descriptors.

/// From now on what cannot be sent at once ends the connection. A peer that reads an answer before it asks again is
/// not affected: any answer fits what the kernel keeps for a connection.
void sendsAtOnce(netsnmp_transport_s& connection);

/// Has each connection that comes in at a listener of TCP or a Unix socket send at once and wait its turn after each
/// 1,500 bytes received, and keeps at most 32 of all such listeners: one more ends the oldest. Leaves any other kind of
/// transport as it is.
/// REQUIRES that nothing has come in yet.
void guardConnections(netsnmp_transport_s& listener);

}  // namespace host
