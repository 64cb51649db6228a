#pragma once

#include <chrono>
#include <string>

namespace host {

/// The address by which the library connects to the AgentX master at a Unix socket, in our own way; for one connection
/// at a time. The library's own way waits without end for a master that does not accept or read, and keeps what comes
/// in faster than it is worked out until nothing goes on any more. Here nothing waits for the connection; an answer
/// that the master does not take within a second ends it, and so does a message of over 1 MiB: one SNMP request with
/// as many names as fit becomes half of that. One message is received at a time.
/// REQUIRES fitsUnixAddress(socketPath).
std::string guardedMasterAddress(const std::string& socketPath);

/// As long as it lives, the library is asking the master and waits for its answers, which must end: by the deadline, or
/// when a message is none, the connection breaks off. The library must not learn of that where it waits, since it would
/// free the very list that it is walking through; so what it asks is refused, in place of the master. One at a time.
class MasterHandshake {
 public:
  explicit MasterHandshake(std::chrono::steady_clock::time_point deadline) noexcept;
  MasterHandshake(const MasterHandshake&) = delete;
  MasterHandshake& operator=(const MasterHandshake&) = delete;
  ~MasterHandshake();

  /// Whether the connection has broken off. The session is to be closed then.
  bool broken() const noexcept;
};

}  // namespace host
