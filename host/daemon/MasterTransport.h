#pragma once

#include <string>

namespace host {

/// The address by which the library connects to the AgentX master at a Unix socket so that the connection is guarded
/// from its first message on, and one message is received at a time: each waits in the library for a turn of the loop,
/// and what came in faster would heap up there, until nothing goes on any more. For one connection at a time.
std::string guardedMasterAddress(const std::string& socketPath);

}  // namespace host
