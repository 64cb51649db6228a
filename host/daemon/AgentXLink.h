#pragma once

#include <chrono>
#include <string>

#include "EventLoop.h"

namespace host {

/// A sub-agent's connection to its master agent (RFC 2741), made again whenever it was lost.
///
/// The engine's own way to connect waits for the master's answers, and would keep the PTP status from being followed
/// while a master is stopped. So each try begins with a ping (RFC 2741, 6.2.9) on a connection of its own, for whose
/// answer nobody waits; the engine connects when the master has shown that it answers. A master that does not take
/// every table gets none: whoever serves the others would answer for half a clock. It is tried again, too.
class AgentXLink {
 public:
  /// Begins to connect. The engine must be a sub-agent's and outlive the link, as must the loop.
  /// REQUIRES fitsUnixAddress(socketPath).
  AgentXLink(EventLoop& loop, std::string socketPath);
  AgentXLink(const AgentXLink&) = delete;
  AgentXLink& operator=(const AgentXLink&) = delete;
  /// Takes leave of the master, which withdraws the tables.
  ~AgentXLink();

 private:
  /// Why the master cannot be asked now; empty where the ping went out.
  std::string ping();
  void answered();
  void connect();
  void watch();
  void leave();
  void away(const std::string& reason);
  void refused(const std::string& reason);
  void closePing();

  EventLoop& loop_;
  const std::string socketPath_;
  int ping_ = -1;
  int unansweredTurns_ = 0;
  int turnsToRest_ = 0;  ///< before the next try
  EventLoop::Handle readable_;
  bool connected_ = false;
  bool saidAway_ = false;
  bool saidRefused_ = false;
  EventLoop::Handle timer_;
};

}  // namespace host
