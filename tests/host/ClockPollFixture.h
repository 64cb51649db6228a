#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "PtpMessages.h"
#include "ptp4l/ClockPoll.h"

namespace host::ptp4l::test {

inline const Ptp::PortIdentity self("0a0b0c.0d0e.0f1011-77");

inline Bytes bytesOf(const GetRequest& request) {
  const auto bytes = encode(request);
  return {bytes.begin(), bytes.end()};
}

// Data of the clock, or of the port that is asked for them.
inline Bytes dataFor(const GetRequest& request, std::uint16_t ports) {
  Bytes data;
  switch (request.id) {
    case ManagementId::defaultDataSet:
      data = test::defaultDataSet;
      test::putU16(data, 2, ports);
      break;
    case ManagementId::currentDataSet: data = test::currentDataSet; break;
    case ManagementId::parentDataSet: data = test::parentDataSet; break;
    case ManagementId::timePropertiesDataSet: data = test::timePropertiesDataSet; break;
    case ManagementId::portDataSet: data = test::portDataSet; break;
    case ManagementId::portPropertiesNp: data = test::portProperties; break;
    case ManagementId::portStatsNp: data = test::portStats(); break;
    case ManagementId::clockDescription: data = test::clockDescription; break;
    case ManagementId::timeStatusNp:
    case ManagementId::subscribeEventsNp: break;
  }
  using enum ManagementId;
  if (request.id == portDataSet || request.id == portPropertiesNp || request.id == portStatsNp) {
    test::putU16(data, 8, request.port);
  }
  return data;
}

/// A clock that answers whatever it is told to, without a socket.
class ClockPollTest : public testing::Test {
 protected:
  std::vector<GetRequest> sendAll() {
    std::vector<GetRequest> requests;
    poll.release(poll.heldBack());
    while (const auto request = poll.next()) {
      requests.push_back(*request);
      poll.sent();
    }
    return requests;
  }
  ClockPoll::Heard accept(const Bytes& datagram) {
    const auto response = parseResponse(datagram);
    EXPECT_TRUE(response);
    return response ? poll.accept(*response) : ClockPoll::Heard{};
  }
  ClockPoll::Heard answer(const GetRequest& request, std::uint16_t ports = 1) {
    return accept(test::answer(bytesOf(request), dataFor(request, ports)));
  }
  void refuse(const GetRequest& request, std::uint16_t error) { accept(test::refusal(bytesOf(request), error)); }
  // Answers whatever is asked, but for the messages with this id; returns how often that one was asked for.
  int answerAllBut(ManagementId id, std::uint16_t ports, std::uint16_t error) {
    int asked = 0;
    for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
      for (const GetRequest& request : requests) {
        if (request.id != id) {
          answer(request, ports);
        } else {
          ++asked;
          refuse(request, error);
        }
      }
    }
    return asked;
  }

  // A whole round, at the end of which the clock and its ports are known.
  void answerARound(std::uint16_t ports = 2) {
    poll.begin({Domain{}});
    for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
      for (const GetRequest& request : requests) answer(request, ports);
    }
    ASSERT_TRUE(poll.complete());
  }
  // What a service reports unasked, under a sequence id of its own.
  ClockPoll::Heard report(ManagementId id, std::uint16_t port, const Bytes& data) {
    const GetRequest pattern{.id = id, .domain = {}, .port = port, .sequenceId = 0x7000, .sender = self};
    return accept(test::answer(bytesOf(pattern), data));
  }
  static Bytes portDataSet(std::uint8_t port, Ptp::PortState state) {
    Bytes data = test::portDataSet;
    test::putU16(data, 8, port);
    data[10] = static_cast<std::uint8_t>(state);
    return data;
  }
  static Bytes parentOfGrandmaster(std::uint8_t lastByte) {
    Bytes data = test::parentDataSet;
    data.back() = lastByte;
    return data;
  }
  static Bytes timeStatus(std::int64_t offset, std::uint8_t grandmastersLastByte) {
    Bytes data(8 + 8 + 4 + 4 + 2 + 12 + 4 + 8);
    for (std::size_t i = 0; i < 8; ++i) data[i] = static_cast<std::uint8_t>(offset >> (56 - 8 * i));
    std::copy(test::parentDataSet.end() - 8, test::parentDataSet.end(), data.end() - 8);
    data.back() = grandmastersLastByte;
    return data;
  }
  static constexpr std::uint8_t grandmaster = 0x01;  // the last byte of its identity

  ClockPoll poll{self};
};

}  // namespace host::ptp4l::test
