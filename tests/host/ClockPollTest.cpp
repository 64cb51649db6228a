#include <map>

#include "ClockPollFixture.h"

namespace host::ptp4l {
namespace {

using namespace test;

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
  other.sender.portNumber.valueIs(78);
  answer(other);
  other = request;
  other.sender.clockIdentity = Ptp::ClockIdentity("0a0b0c.0d0e.0f1012");
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

TEST_F(ClockPollTest, ARefusedIdIsNotAskedForAgainUntilAllIsForgotten) {
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
  poll.forget();
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
    EXPECT_EQ(asked, round <= 3 ? 2 : 0) << round;
    EXPECT_EQ(poll.replies().ports.at(1).counters.has_value(), round <= 2) << round;
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

TEST_F(ClockPollTest, WhatWasRefusedIsAskedForAgainInEverySixtiethRound) {
  constexpr std::uint16_t noSuchId = 2;
  int asked = 0;
  for (unsigned round = 0; round < 2 * ClockPoll::roundsOfARefusal; ++round) {
    poll.begin({Domain{}});
    asked += answerAllBut(ManagementId::portStatsNp, 2, noSuchId);
  }
  EXPECT_EQ(asked, 3 * 2) << "of each port: at first, and twice again";
}

TEST_F(ClockPollTest, TheAnswersToAllQuestionsAboutTheClockAreToldApartFromThoseOfPorts) {
  poll.begin({Domain{}});
  EXPECT_FALSE(answer(sendAll().at(0), 1).clock);
  int whole = 0;
  for (auto requests = sendAll(); !requests.empty(); requests = sendAll()) {
    for (const GetRequest& request : requests) {
      const bool clock = answer(request, 1).clock;
      EXPECT_EQ(clock, request.id == ManagementId::timePropertiesDataSet);
      whole += clock;
    }
  }
  EXPECT_EQ(whole, 1);
}

TEST_F(ClockPollTest, TheClockIsNotAskedAgainWhatIsStillToBeAnswered) {
  poll.begin({Domain{}});
  answer(sendAll().at(0), 1);
  sendAll();
  poll.askForClock();
  EXPECT_TRUE(sendAll().empty());
}

TEST_F(ClockPollTest, AnAnswerOfAnotherClockIsAStrangers) {
  poll.begin({Domain{}});
  answer(sendAll().at(0), 1);
  const GetRequest asked = sendAll().at(0);
  Bytes message = test::answer(bytesOf(asked), dataFor(asked, 1));
  message[at::sourceClock] ^= 1;
  EXPECT_TRUE(accept(message).stranger);
  EXPECT_FALSE(poll.replies().currentDS);
  EXPECT_TRUE(answer(asked).answer) << "it is still waited for";
}

TEST_F(ClockPollTest, DomainsInWhichWasNotYetAskedAreKnown) {
  poll.begin({Domain{}, Domain{.domainNumber = 1}});
  poll.sent();
  EXPECT_EQ(poll.unasked(), std::vector{Domain{.domainNumber = 1}});
  poll.sent();
  EXPECT_TRUE(poll.unasked().empty());
}

}  // namespace
}  // namespace host::ptp4l
