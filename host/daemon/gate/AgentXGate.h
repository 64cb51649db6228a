#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace host::gate {

// AgentX messages (RFC 2741, 6.1): a header of 20 octets, whose last four say how many follow. Numbers are in the order
// of octets that a flag of the header tells.

inline constexpr std::size_t agentXHeaderOctets = 20;

// Kinds of messages: RFC 2741, 6.1.
inline constexpr std::uint8_t agentXTestSetType = 8;
inline constexpr std::uint8_t agentXCommitSetType = 9;
inline constexpr std::uint8_t agentXUndoSetType = 10;
inline constexpr std::uint8_t agentXCleanupSetType = 11;
inline constexpr std::uint8_t agentXResponseType = 18;

using AgentXHeader = std::array<std::uint8_t, agentXHeaderOctets>;
using AgentXResponse = std::array<std::uint8_t, agentXHeaderOctets + 8>;

/// The errors of a response (RFC 2741, 6.2.16) that are given in the engine's place.
enum class AgentXError : std::uint16_t { tooBig = 1, notWritable = 17, parseError = 266, processingError = 268 };

/// The length of the whole message, in octets, by its header.
std::uint64_t agentXLength(const AgentXHeader& header) noexcept;
std::uint32_t agentXPacketId(const AgentXHeader& header) noexcept;
inline bool isAgentXResponse(const AgentXHeader& header) noexcept { return header[1] == agentXResponseType; }

/// Answers a message of this header with an error, in its order of octets. `index` is that of the varbind which the
/// error is about, from 1; 0 for none.
AgentXResponse agentXRefusal(const AgentXHeader& header, AgentXError error, std::uint8_t index = 0) noexcept;

/// Whether the library may see this message, which is a master agent's to a sub-agent.
///
/// One that passes is of version 1 and of a kind that a master sends: Get, GetNext, GetBulk, TestSet, CommitSet,
/// UndoSet, CleanupSet or Response. Its length is what the header says, and it is filled to the octet by what its kind
/// calls for. Only flags that RFC 2741 defines are set. A context has at most 255 octets and no NUL. Names and bounds
/// have at most 128 sub-identifiers, those that a prefix stands for included. Values have a type of RFC 2741, 5.4.
bool isAgentXMessage(std::span<const std::uint8_t> message) noexcept;

}  // namespace host::gate
