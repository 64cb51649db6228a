#pragma once

#include <string>

namespace host::ptp4l {

/// Whether the socket at a path was made in the network namespace of this process, so that whoever made it sees the
/// same interfaces. False, too, where that cannot be found out. Needs no privilege, as a look at the process would.
bool isSocketOfThisNetworkNamespace(const std::string& path);

}  // namespace host::ptp4l
