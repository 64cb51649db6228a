#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// snmpEngineBoots ends here (RFC 3414, 2.2.1): an engine that has it accepts no authenticated request.
constexpr std::uint32_t mostEngineBoots = 2147483647;

/// Managers tell one start of an SNMPv3 engine from another by this pair (RFC 3411, 3.1.1.1 and RFC 3414, 2.2). What
/// was recorded of one start is accepted by none of another pair.
struct EngineStart {
  std::string id;       ///< snmpEngineID, the octets themselves
  std::uint32_t boots;  ///< snmpEngineBoots

  friend bool operator==(const EngineStart&, const EngineStart&) = default;
};

struct StartedEngine {
  EngineStart start;
  std::vector<std::string> notices;  ///< a line each, for the operator: what is wrong, and what managers see of it
};

/// Counts a start of the engine in a file. `configured` is the engine ID that the operator chose, empty where he chose
/// none; `fresh` is one that no engine ever had.
///
/// Afterwards the file holds the pair of this start, on the disk, or this start has a pair that no other one has, or
/// the boots are at their end:
/// - The engine goes on where the file ends, with one start more; also with a configured ID that is not the file's, so
///   that an ID that returns finds no boots that it had.
/// - Where the starts are unknown, cannot be written down or are used up, the ID is the fresh one and the boots are 1.
///   A configured ID is kept, and the boots are at their end.
/// The first start, without a file, has boots 1. Without a name for the file nothing can be written down.
StartedEngine countEngineStart(const std::string& file, const std::string& configured, const std::string& fresh);

}  // namespace host
