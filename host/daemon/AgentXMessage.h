#pragma once

#include <array>
#include <cstddef>

namespace host {

// The form of AgentX messages (RFC 2741, 6.1): a header of 20 bytes, whose last four say how many follow, in the order
// of bytes that a flag tells.

inline constexpr std::size_t agentXHeaderBytes = 20;
inline constexpr unsigned char agentXVersion1 = 1;
inline constexpr unsigned char agentXResponseType = 18;

using AgentXHeader = std::array<unsigned char, agentXHeaderBytes>;
using AgentXResponse = std::array<unsigned char, agentXHeaderBytes + 8>;

/// Of the whole message, in bytes. REQUIRES a whole header.
std::size_t agentXLength(const unsigned char* header) noexcept;
std::size_t agentXPacketId(const unsigned char* header) noexcept;

/// Answers a message of this header with an error, in its order of bytes.
AgentXResponse agentXRefusal(const AgentXHeader& header, unsigned error) noexcept;

/// How far the message is that comes in.
class AgentXMessage {
 public:
  /// How many bytes may be read from the socket without those of the next message.
  std::size_t missing(int socket);
  void received(const void* bytes, std::size_t count);

  bool whole() const noexcept { return length_ != 0 && received_ == length_; }
  std::size_t length() const noexcept { return length_; }  ///< 0 as long as it is not known
  const AgentXHeader& header() const noexcept { return header_; }

 private:
  AgentXHeader header_{};
  std::size_t received_ = 0;
  std::size_t length_ = 0;
};

}  // namespace host
