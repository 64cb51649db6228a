#include "ptp4l/ClockPoll.h"

#include <gtest/gtest.h>

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
    case ManagementId::timeStatusNp: break;
  }
  return data;
}

class ClockPollTest : public testing::Test {
 protected:
  std::vector<GetRequest> sendAll() {
    std::vector<GetRequest> requests;
    while (const auto request = poll.next()) {
      requests.push_back(*request);
      poll.sent();
    }
    return requests;
  }
  void accept(const Bytes& datagram) {
    const auto response = parseResponse(datagram);
    ASSERT_TRUE(response);
    poll.accept(*response);
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
