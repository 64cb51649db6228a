#pragma once

#include <sys/types.h>

#include <optional>

namespace host::ptp4l {

/// Whether a process sees the same network interfaces as this one. Nothing where that cannot be found out: it is
/// another user's, or cannot be seen from here.
std::optional<bool> sharesNetworkNamespace(pid_t process);

}  // namespace host::ptp4l
