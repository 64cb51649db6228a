#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

namespace host {

/// Whether a path is short enough for a socket's address.
inline bool fitsUnixAddress(const std::string& path) {
  return !path.empty() && path.size() < sizeof(sockaddr_un::sun_path);
}

/// REQUIRES fitsUnixAddress().
inline sockaddr_un unixAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

}  // namespace host
