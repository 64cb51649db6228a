#pragma once

#include <chrono>
#include <string>

namespace host {

/// The address by which the library connects to the AgentX master at a Unix socket, in our own way; for one connection
/// at a time. The library's own way waits without end for a master that does not accept or read, and keeps what comes
/// in faster than it is worked out until nothing goes on any more. Here nothing waits for the connection, and an
/// answer that the master does not take within a second ends it. One message is received at a time. The library parses
/// 64 KiB, here and in the master; a request that is longer, or whose answer is, is answered with tooBig: the master
/// would wait for the answer in vain, and take the sub-agent for dead. It comes from an SNMP request of many names,
/// which becomes three times as long or six. Over 1 MiB is no message, and ends the connection. REQUIRES
/// fitsUnixAddress(socketPath).
std::string guardedMasterAddress(const std::string& socketPath);

/// While it lives, the library asks the master, and waits for each answer. When the time is over, or where what comes
/// in is no message, the connection breaks off, and what the library asks is refused in the master's place: told of the
/// end while it waits, it would free the list that it is walking through.
/// REQUIRES that there is no other handshake, and no connection yet.
class MasterHandshake {
 public:
  /// `answerTime`: for how long the library waits for one answer.
  MasterHandshake(std::chrono::steady_clock::duration time, std::chrono::steady_clock::duration answerTime) noexcept;
  MasterHandshake(const MasterHandshake&) = delete;
  MasterHandshake& operator=(const MasterHandshake&) = delete;
  ~MasterHandshake();

  /// Whether the connection has broken off. The session is to be closed then.
  bool broken() const noexcept;
  /// Whether the library waited for an answer in vain, or the time is over.
  bool late() const noexcept;
};

}  // namespace host
