#pragma once

namespace host::ptp4l {

/// Whether the socket that a Unix datagram socket is connected to was made in the network namespace of this process, so
/// that whoever made it sees the same interfaces. False, too, where that cannot be found out. Needs no privilege, as a
/// look at the process would. Does not block.
bool isPeerOfThisNetworkNamespace(int socket);

}  // namespace host::ptp4l
