#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// The service's side of the management protocol, written apart from the client's so that one does not
/// confirm the other's mistakes. The data fields below are what a ptp4l 3.1.1 sent.
namespace host::ptp4l::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes fromHex(std::string_view text) {
  const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
  }
  return bytes;
}

inline const Bytes clockIdentity = fromHex("020000fffe000b01");
inline const Bytes defaultDataSet = fromHex("0300000180fffeffff80020000fffe000b010000");
inline const Bytes currentDataSet = fromHex("00010000000000178000fffffffff9400000");
inline const Bytes parentDataSet = fromHex("020000fffe000a0100010000ffff7fffffff64f8feffff80020000fffe000a01");
inline const Bytes timePropertiesDataSet = fromHex("00253ca0");
inline const Bytes portDataSet = fromHex("020000fffe000b0100010800000000000000000001030001fd02");
inline const Bytes portProperties = fromHex("020000fffe000b0100010800046870623000");
inline const Bytes clockDescription = fromHex(
    "80000a49454545203830322e330006020000000b01000300060200000"
    "00b0100000000023b3b023b3b00001b19000100");

/// rx_Sync 5, rx_Follow_Up 5, rx_Delay_Resp 1, rx_Announce 3, tx_Delay_Req 258.
inline Bytes portStats() {
  constexpr std::size_t portIdentity = 10;
  constexpr std::size_t rx = portIdentity;
  constexpr std::size_t tx = rx + 16 * 8;
  Bytes data = fromHex("020000fffe000b010001");
  data.resize(tx + 16 * 8);
  data[rx + 0x0 * 8] = 5;
  data[rx + 0x8 * 8] = 5;
  data[rx + 0x9 * 8] = 1;
  data[rx + 0xb * 8] = 3;
  data[tx + 0x1 * 8] = 2;
  data[tx + 0x1 * 8 + 1] = 1;
  return data;
}

inline std::uint16_t u16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}
inline void putU16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
  bytes.at(offset) = static_cast<std::uint8_t>(value >> 8);
  bytes.at(offset + 1) = static_cast<std::uint8_t>(value);
}

/// Where a management message holds what (IEEE 1588-2008, tables 18, 37 and 39).
namespace at {
inline constexpr std::size_t messageLength = 2, domain = 4, sourceClock = 20, sourcePort = 28, sequenceId = 30;
inline constexpr std::size_t targetClock = 34, targetPort = 42, action = 46, tlv = 48, id = 52, data = 54;
}  // namespace at

/// The response to a request, from port 0 of the clock 020000.fffe.000b01 or from the port that was asked.
inline Bytes response(const Bytes& request, std::uint16_t tlvType, const Bytes& value) {
  Bytes message(request.begin(), request.begin() + at::tlv);
  const std::uint16_t port = u16(request, at::targetPort);
  std::copy(clockIdentity.begin(), clockIdentity.end(), message.begin() + at::sourceClock);
  putU16(message, at::sourcePort, port == 0xffff ? 0 : port);
  std::copy_n(request.begin() + at::sourceClock, 10, message.begin() + at::targetClock);
  message[at::action] = 2;
  message.resize(at::id);
  putU16(message, at::tlv, tlvType);
  putU16(message, at::tlv + 2, static_cast<std::uint16_t>(value.size()));
  message.insert(message.end(), value.begin(), value.end());
  putU16(message, at::messageLength, static_cast<std::uint16_t>(message.size()));
  return message;
}

inline Bytes answer(const Bytes& request, const Bytes& data) {
  Bytes value(request.begin() + at::id, request.begin() + at::data);
  value.insert(value.end(), data.begin(), data.end());
  return response(request, 1, value);
}

inline Bytes refusal(const Bytes& request, std::uint16_t error) {
  Bytes value(8);
  putU16(value, 0, error);
  putU16(value, 2, u16(request, at::id));
  return response(request, 2, value);
}

}  // namespace host::ptp4l::test
