#include "AgentXMessage.h"

#include <sys/socket.h>

#include <algorithm>

namespace host {
namespace {

constexpr unsigned char networkOrder = 0x10;

std::size_t number(const unsigned char* header, unsigned at) noexcept {
  const bool fromHigh = (header[2] & networkOrder) != 0;
  std::size_t value = 0;
  for (unsigned i = 0; i < 4; ++i) value = value << 8 | header[fromHigh ? at + i : at + 3 - i];
  return value;
}

}  // namespace

std::size_t agentXLength(const unsigned char* header) noexcept { return agentXHeaderBytes + number(header, 16); }
std::size_t agentXPacketId(const unsigned char* header) noexcept { return number(header, 12); }

// RFC 2741, 6.2.16: the time is 0, then come the error and its index.
AgentXResponse agentXRefusal(const AgentXHeader& header, unsigned error) noexcept {
  const bool fromHigh = (header[2] & networkOrder) != 0;
  AgentXResponse response{};
  std::ranges::copy(header, response.begin());
  response[1] = agentXResponseType;
  response[2] &= networkOrder;
  std::fill_n(response.begin() + 16, 4, 0);
  response[fromHigh ? 19 : 16] = 8;
  response[fromHigh ? 24 : 25] = static_cast<unsigned char>(error >> 8);
  response[fromHigh ? 25 : 24] = static_cast<unsigned char>(error);
  return response;
}

std::size_t AgentXMessage::missing(int socket) {
  if (received_ == 0 &&
      recv(socket, header_.data(), header_.size(), MSG_PEEK | MSG_DONTWAIT) == ssize_t{agentXHeaderBytes}) {
    length_ = agentXLength(header_.data());
  }
  return (length_ == 0 ? agentXHeaderBytes : length_) - received_;
}

void AgentXMessage::received(const void* bytes, std::size_t count) {
  const auto* const from = static_cast<const unsigned char*>(bytes);
  if (length_ == 0) std::copy_n(from, count, header_.begin() + static_cast<std::ptrdiff_t>(received_));
  received_ += count;
  if (length_ == 0 && received_ == agentXHeaderBytes) length_ = agentXLength(header_.data());
}

}  // namespace host
