#include "ptp4l/ClockPoll.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "PtpMessages.h"
#include "ptp4l/DomainSearch.h"

namespace host::ptp4l {
namespace {

using test::Bytes;

constexpr std::uint16_t self = 77;

Bytes bytesOf(const GetRequest& request) {
  const auto bytes = encode(request);
  return {bytes.begin(), bytes.end()};
}

Bytes dataFor(const GetRequest& request, std::uint16_t ports) {
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
  return data;
}

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
  void answer(const GetRequest& request, std::uint16_t ports = 1) {
    accept(test::answer(bytesOf(request), dataFor(request, ports)));
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
    const GetRequest pattern{.id = id, .domain = {}, .port = port, .sequenceId = 0x7000, .senderNumber = self};
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

TEST_F(ClockPollTest, ARoundIsCompleteWhenEveryRequestWasAnswered) {
  poll.begin({Domain{}});
  const auto first = sendAll();
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(first[0].id, ManagementId::defaultDataSet);
  EXPECT_FALSE(poll.complete());
  answer(first[0], 2);
  int asked = 0;
  for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
    for (const GetRequest& request : requests) {
      EXPECT_FALSE(poll.complete());
      answer(request);
      ++asked;
    }
  }
  EXPECT_EQ(asked, 3 + 2 * 4);
  EXPECT_TRUE(poll.complete());
  EXPECT_TRUE(poll.replies().currentDS);
  EXPECT_TRUE(poll.replies().parentDS);
  EXPECT_TRUE(poll.replies().timePropertiesDS);
  ASSERT_EQ(poll.replies().ports.size(), 2u);
  for (const auto& [number, port] : poll.replies().ports) {
    EXPECT_TRUE(port.dataSet && port.interface && port.counters && port.description) << number;
  }
}

TEST_F(ClockPollTest, NoMoreResponsesAreUnderWayThanTheWindowHolds) {
  poll.begin({Domain{}});
  answer(sendAll().at(0), 64);
  auto requests = sendAll();
  EXPECT_EQ(requests.size(), ClockPoll::window);
  answer(requests[0]);
  EXPECT_EQ(sendAll().size(), 1u);
}

TEST_F(ClockPollTest, APortIsAskedByItsNumber) {
  poll.begin({Domain{}});
  answer(sendAll().at(0), 3);
  std::map<std::uint16_t, int> requestsByPort;
  for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
    for (const GetRequest& request : requests) {
      ++requestsByPort[request.port];
      answer(request);
    }
  }
  EXPECT_EQ(requestsByPort, (std::map<std::uint16_t, int>{{1, 4}, {2, 4}, {3, 4}, {allPorts, 3}}));
}

TEST_F(ClockPollTest, TheDomainThatAnswersIsTheClocks) {
  const Domain telecom{.domainNumber = 24};
  poll.begin({Domain{}, telecom, Domain{.domainNumber = 24, .transportSpecific = 1}});
  const auto probes = sendAll();
  ASSERT_EQ(probes.size(), 3u);
  answer(probes[1]);
  EXPECT_EQ(poll.domain(), telecom);
  for (const GetRequest& request : sendAll()) EXPECT_EQ(request.domain, telecom);
}

TEST_F(ClockPollTest, AResponseThatWasNotAskedForChangesNothing) {
  poll.begin({Domain{}});
  const GetRequest request = sendAll().at(0);
  GetRequest other = request;
  other.sequenceId++;
  answer(other);
  other = request;
  other.senderNumber++;
  answer(other);
  other = request;
  other.domain.domainNumber = 1;
  answer(other);
  other = request;
  other.id = ManagementId::portStatsNp;
  answer(other);
  EXPECT_FALSE(poll.next());
  EXPECT_FALSE(poll.replies().defaultDS);
  answer(request);
  EXPECT_TRUE(poll.replies().defaultDS);
}

TEST_F(ClockPollTest, AResponseOfTheRoundBeforeChangesNothing) {
  poll.begin({Domain{}});
  const GetRequest late = sendAll().at(0);
  poll.begin({Domain{}});
  sendAll();
  answer(late);
  EXPECT_FALSE(poll.replies().defaultDS);
}

TEST_F(ClockPollTest, ADefaultDataSetThatIsTooShortIsNoAnswer) {
  poll.begin({Domain{}});
  const GetRequest request = sendAll().at(0);
  accept(test::answer(bytesOf(request), Bytes(4)));
  EXPECT_FALSE(poll.complete());
  EXPECT_FALSE(poll.next());
}

TEST_F(ClockPollTest, ARefusedIdIsNotAskedAgainUntilRefusalsAreForgotten) {
  constexpr std::uint16_t noSuchId = 2;
  const auto askedFor = [&](ManagementId id) {
    poll.begin({Domain{}});
    const int asked = answerAllBut(id, 2, noSuchId);
    EXPECT_TRUE(poll.complete());
    return asked;
  };
  EXPECT_GT(askedFor(ManagementId::portStatsNp), 0);
  EXPECT_FALSE(poll.replies().ports.at(1).counters);
  EXPECT_TRUE(poll.replies().ports.at(1).dataSet);
  EXPECT_EQ(askedFor(ManagementId::portStatsNp), 0);
  poll.forgetRefusals();
  EXPECT_GT(askedFor(ManagementId::portStatsNp), 0);
}

TEST_F(ClockPollTest, APortThatHasVanishedDoesNotCostTheOthersTheirData) {
  constexpr std::uint16_t wrongValue = 4;
  poll.begin({Domain{}});
  EXPECT_EQ(answerAllBut(ManagementId::portDataSet, 2, wrongValue), 2);
  poll.begin({Domain{}});
  EXPECT_EQ(answerAllBut(ManagementId::portDataSet, 2, wrongValue), 2) << "asked again";
}

TEST_F(ClockPollTest, ARequestThatIsPassedOverDoesNotHoldUpTheRound) {
  answerARound(2);
  ASSERT_TRUE(poll.replies().ports.at(1).counters);
  for (int round = 1; round <= 4; ++round) {
    poll.begin({Domain{}});
    int asked = 0;
    for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
      for (const GetRequest& request : requests) {
        if (request.id == ManagementId::portStatsNp) {
          ++asked;
        } else {
          answer(request, 2);
        }
      }
    }
    EXPECT_TRUE(poll.complete()) << round;
    EXPECT_EQ(asked, round <= 2 ? 2 : 0) << round;
    EXPECT_EQ(poll.replies().ports.at(1).counters.has_value(), round == 1) << round;
    EXPECT_TRUE(poll.replies().ports.at(2).dataSet) << round;
  }
}

TEST_F(ClockPollTest, OneLostAnswerCostsNothing) {
  answerARound(1);
  for (int round = 0; round < 10; ++round) {
    poll.begin({Domain{}});
    for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
      for (const GetRequest& request : requests) {
        if (request.id != ManagementId::portStatsNp || round % 2 == 1) answer(request, 1);
      }
    }
    ASSERT_TRUE(poll.complete());
    EXPECT_TRUE(poll.replies().ports.at(1).counters);
  }
}

TEST_F(ClockPollTest, RequestsForPortsWaitUntilTheyAreReleased) {
  poll.begin({Domain{}});
  const GetRequest first = *poll.next();
  poll.sent();
  answer(first, 64);
  EXPECT_EQ(poll.heldBack(), 64u * 4);
  for (int clock = 0; clock < 3; ++clock) poll.sent();
  EXPECT_FALSE(poll.next());
  poll.release(1);
  ASSERT_TRUE(poll.next());
  EXPECT_EQ(poll.next()->port, 1);
  EXPECT_FALSE(poll.complete());
}

TEST_F(ClockPollTest, APortsInterfaceAndProtocolAreAskedForOnceAndThenInTurn) {
  answerARound(8);
  for (int round = 2; round <= 17; ++round) {
    poll.begin({Domain{}});
    std::map<ManagementId, std::vector<std::uint16_t>> asked;
    for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
      for (const GetRequest& request : requests) {
        asked[request.id].push_back(request.port);
        answer(request, 8);
      }
    }
    const std::vector<std::uint16_t> due{static_cast<std::uint16_t>((round - 1) % 8 + 1)};
    EXPECT_EQ(asked[ManagementId::portPropertiesNp], due);
    EXPECT_EQ(asked[ManagementId::clockDescription], due);
    EXPECT_EQ(asked[ManagementId::portDataSet].size(), 8u);
    EXPECT_EQ(asked[ManagementId::portStatsNp].size(), 8u);
  }
}

TEST_F(ClockPollTest, WhatIsKnownStaysUntilSomethingNewerComes) {
  answerARound();
  poll.begin({Domain{}});
  EXPECT_TRUE(poll.replies().currentDS);
  EXPECT_EQ(poll.replies().ports.size(), 2u);
  poll.forget();
  EXPECT_FALSE(poll.replies().currentDS);
  EXPECT_TRUE(poll.replies().ports.empty());
}

TEST_F(ClockPollTest, AnotherClockIdentityMakesEverythingKnownOfNoUse) {
  answerARound();
  poll.begin({Domain{}});
  const GetRequest request = sendAll().at(0);
  Bytes other = dataFor(request, 2);
  other[17] ^= 1;
  ASSERT_NE(decodeDefaultDataSet(other)->clockIdentity, poll.replies().defaultDS->clockIdentity);
  accept(test::answer(bytesOf(request), other));
  EXPECT_FALSE(poll.replies().currentDS);
  for (const auto& [number, port] : poll.replies().ports) EXPECT_FALSE(port.dataSet) << number;
}

TEST_F(ClockPollTest, APortBeyondTheNumberOfPortsIsForgotten) {
  answerARound(4);
  answerARound(2);
  EXPECT_EQ(poll.replies().ports.size(), 2u);
}

TEST_F(ClockPollTest, AReportedPortStateIsTakenAndTheClockIsToBeAskedAgain) {
  answerARound();
  const auto heard = report(ManagementId::portDataSet, 2, portDataSet(2, Ptp::PortState::slave));
  EXPECT_TRUE(heard.event && heard.topology && !heard.answer);
  EXPECT_EQ(poll.replies().ports.at(2).dataSet->portState, Ptp::PortState::slave);
  EXPECT_FALSE(report(ManagementId::portDataSet, 2, portDataSet(2, Ptp::PortState::slave)).event) << "nothing new";
  poll.askForClock();
  std::vector<ManagementId> asked;
  for (const GetRequest& request : sendAll()) asked.push_back(request.id);
  using enum ManagementId;
  EXPECT_EQ(asked, (std::vector{currentDataSet, parentDataSet, timePropertiesDataSet}));
}

TEST_F(ClockPollTest, AnAnswerThatTellsOfAnotherPortStateAlsoMakesTheClockToBeAskedAgain) {
  answerARound(1);
  poll.begin({Domain{}});
  answer(sendAll().at(0));
  for (const GetRequest& request : sendAll()) {
    const bool port = request.id == ManagementId::portDataSet;
    const Bytes data = port ? portDataSet(1, Ptp::PortState::faulty) : dataFor(request, 1);
    const auto heard = accept(test::answer(bytesOf(request), data));
    EXPECT_TRUE(heard.answer);
    EXPECT_EQ(heard.topology, port);
  }
}

TEST_F(ClockPollTest, OnlyAnotherParentOrGrandmasterIsAChangeOfTopology) {
  answerARound();
  Bytes phase = test::parentDataSet;
  phase[15] ^= 1;
  EXPECT_FALSE(report(ManagementId::parentDataSet, 0, phase).topology);
  EXPECT_TRUE(report(ManagementId::parentDataSet, 0, parentOfGrandmaster(0x77)).topology);
}

TEST_F(ClockPollTest, AReportedOffsetIsTakenInUnitsOf65536thsOfANanosecond) {
  answerARound();
  EXPECT_TRUE(report(ManagementId::timeStatusNp, 0, timeStatus(-1500, grandmaster)).event);
  EXPECT_EQ(poll.replies().currentDS->offsetFromMaster, -1500 * 65536);
  report(ManagementId::timeStatusNp, 0, timeStatus(std::numeric_limits<std::int64_t>::min(), grandmaster));
  EXPECT_EQ(poll.replies().currentDS->offsetFromMaster, -((std::int64_t{1} << 47) - 1) * 65536);
}

TEST_F(ClockPollTest, AReportedOffsetToAnotherGrandmasterMakesTheClockToBeAskedAgain) {
  answerARound();
  const auto before = poll.replies().currentDS->offsetFromMaster;
  EXPECT_TRUE(report(ManagementId::timeStatusNp, 0, timeStatus(7, 0x77)).topology);
  EXPECT_EQ(poll.replies().currentDS->offsetFromMaster, before);
}

TEST_F(ClockPollTest, ReportsOfAnUnknownPortOrOfAnUnknownClockChangeNothing) {
  EXPECT_FALSE(report(ManagementId::portDataSet, 1, portDataSet(1, Ptp::PortState::slave)).event);
  answerARound();
  for (const std::uint8_t port : {0, 3}) {
    EXPECT_FALSE(report(ManagementId::portDataSet, port, portDataSet(port, Ptp::PortState::slave)).event);
  }
  EXPECT_EQ(poll.replies().ports.size(), 2u);
  EXPECT_FALSE(report(ManagementId::currentDataSet, 0, Bytes(18)).event) << "this is never reported";
}

TEST_F(ClockPollTest, ASubscriptionIsForAllEventsAndShorterThanTheQueueIsDeep) {
  EXPECT_FALSE(poll.subscription()) << "no clock is known";
  answerARound();
  const auto subscription = poll.subscription();
  ASSERT_TRUE(subscription);
  EXPECT_EQ(subscription->events, Events::portState | Events::timeSync | Events::parentDataSet);
  EXPECT_EQ(subscription->seconds, 2);
  const auto bytes = encode(*subscription);
  EXPECT_EQ(bytes.size(), 120u);
  EXPECT_EQ(bytes[test::at::action], 1);
  EXPECT_EQ(test::u16(Bytes(bytes.begin(), bytes.end()), test::at::id), 0xc003);
  EXPECT_EQ(test::u16(Bytes(bytes.begin(), bytes.end()), test::at::tlv + 2), 2 + 2 + 64);
}

TEST_F(ClockPollTest, OffsetsThatComeTooFastAreSubscribedToNoLonger) {
  answerARound();
  for (int i = 0; i < 3; ++i) report(ManagementId::timeStatusNp, 0, timeStatus(i, grandmaster));
  EXPECT_TRUE(poll.subscription()->events & Events::timeSync);
  for (int i = 0; i < 4; ++i) report(ManagementId::timeStatusNp, 0, timeStatus(i, grandmaster));
  EXPECT_FALSE(poll.subscription()->events & Events::timeSync);
  EXPECT_TRUE(poll.subscription()->events & Events::portState);
}

TEST_F(ClockPollTest, ARefusedSubscriptionIsNotRepeated) {
  answerARound();
  const GetRequest pattern{.id = ManagementId::subscribeEventsNp,
                           .domain = {},
                           .port = allPorts,
                           .sequenceId = 0x7000,
                           .senderNumber = self};
  refuse(pattern, 6);
  EXPECT_FALSE(poll.subscription());
  poll.forgetRefusals();
  EXPECT_TRUE(poll.subscription());
}

TEST(DomainSearch, TriesTheKnownDomainInEachRoundAndEveryOtherOneInTurn) {
  DomainSearch search;
  search.found({.domainNumber = 24});
  std::map<int, int> tried;
  for (int round = 0; round < 73; ++round) {
    const auto domains = search.round();
    EXPECT_EQ(domains.size(), DomainSearch::roundSize);
    EXPECT_EQ(domains[0], (Domain{.domainNumber = 24}));
    for (const Domain domain : domains) ++tried[domain.domainNumber * 2 + domain.transportSpecific];
  }
  EXPECT_EQ(tried.size(), 512u);
}

}  // namespace
}  // namespace host::ptp4l
