#pragma once

struct netsnmp_transport_s;

namespace host {

// The library sends until everything is out, answers all that it has received, keeps the start of a message of any
// length, and each connection that anybody makes. A peer that asks and does not read would hold the one thread for
// ever, one that asks much at once for long; one that sends a message without end would use up the memory, and one that
// only connects the descriptors.

/// Guards each connection that comes in at a listener of TCP or a Unix socket. What cannot be sent at once ends it, and
/// so does what is received without end and calls for no answer: 128 KiB. After each message, and each 1,500 bytes of
/// one, others have their turn; after one that took long, datagrams have as much time as it took. The connection that
/// has waited longest is next. A peer that reads an answer before it asks again is not affected: any answer fits what
/// the kernel keeps for a connection, any request of up to 64 KiB the 128 KiB. Of all such listeners at most 32
/// connections are kept, and no more than a quarter of the descriptors that are left to the process at first: one more
/// ends the one that was sent nothing for longest, and so does one for which there is no descriptor. Leaves any other
/// kind of transport as it is. REQUIRES that nothing has come in yet.
void guardListener(netsnmp_transport_s& listener);

}  // namespace host
