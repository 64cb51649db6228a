#pragma once

struct netsnmp_transport_s;

namespace host {

/// Has a UDP listener never wait for its socket, and lose a datagram that cannot be sent as any network does: the
/// library would write a line for each name in it. An empty one, in place of an answer that would not fit, is not sent.
/// Leaves any other kind of transport as it is.
void guardDatagrams(netsnmp_transport_s& listener);

}  // namespace host
