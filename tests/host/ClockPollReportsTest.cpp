#include <limits>

#include "ClockPollFixture.h"

namespace host::ptp4l {
namespace {

using namespace test;

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
  Bytes phase = parentDataSet;
  phase[15] ^= 1;
  EXPECT_FALSE(report(ManagementId::parentDataSet, 0, phase).topology);
  EXPECT_TRUE(report(ManagementId::parentDataSet, 0, parentOfGrandmaster(0x77)).topology);
}

TEST_F(ClockPollTest, AReportedOffsetIsTakenInUnitsOf65536thsOfANanosecond) {
  answerARound();
  EXPECT_TRUE(report(ManagementId::timeStatusNp, 0, timeStatus(-1500, grandmaster)).event);
  EXPECT_EQ(poll.replies().currentDS->offsetFromMaster, -1500 * 65536);
  report(ManagementId::timeStatusNp, 0, timeStatus(std::numeric_limits<std::int64_t>::min(), grandmaster));
  EXPECT_EQ(poll.replies().currentDS->offsetFromMaster, std::numeric_limits<std::int64_t>::min());
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
  EXPECT_EQ(bytes[at::action], 1);
  EXPECT_EQ(u16(Bytes(bytes.begin(), bytes.end()), at::id), 0xc003);
  EXPECT_EQ(u16(Bytes(bytes.begin(), bytes.end()), at::tlv + 2), 2 + 2 + 64);
}

TEST_F(ClockPollTest, OffsetsThatComeTooFastAreSubscribedToNoLonger) {
  answerARound();
  for (int i = 0; i < 3; ++i) report(ManagementId::timeStatusNp, 0, timeStatus(i, grandmaster));
  EXPECT_TRUE(poll.subscription()->events & Events::timeSync);
  for (int i = 0; i < 4; ++i) report(ManagementId::timeStatusNp, 0, timeStatus(i, grandmaster));
  EXPECT_FALSE(poll.subscription()->events & Events::timeSync);
  EXPECT_TRUE(poll.subscription()->events & Events::portState);
}

TEST_F(ClockPollTest, OffsetsAreSubscribedToAgainWhenTheParentIsAnother) {
  answerARound();
  for (int i = 0; i < 4; ++i) report(ManagementId::timeStatusNp, 0, timeStatus(i, grandmaster));
  ASSERT_FALSE(poll.subscription()->events & Events::timeSync);
  report(ManagementId::parentDataSet, 0, parentOfGrandmaster(0x77));
  EXPECT_TRUE(poll.subscription()->events & Events::timeSync);
}

TEST_F(ClockPollTest, AReportOfAnotherClockIsAStrangersAlsoBeforeTheRoundIsAnswered) {
  answerARound();
  const GetRequest pattern{
      .id = ManagementId::parentDataSet, .domain = {}, .port = 0, .sequenceId = 0x7000, .sender = self};
  Bytes message = test::answer(bytesOf(pattern), parentOfGrandmaster(0x77));
  message[at::sourceClock] ^= 1;
  EXPECT_TRUE(accept(message).stranger);
  poll.begin({Domain{}});
  EXPECT_TRUE(accept(message).stranger);
  EXPECT_FALSE(poll.replies().parentDS->grandmasterIdentity.stringValue().ends_with("77"));
}

TEST_F(ClockPollTest, ARefusedSubscriptionIsNotRepeated) {
  answerARound();
  const GetRequest pattern{
      .id = ManagementId::subscribeEventsNp, .domain = {}, .port = allPorts, .sequenceId = 0x7000, .sender = self};
  refuse(pattern, 6);
  EXPECT_FALSE(poll.subscription());
  poll.forget();
  answerARound();
  EXPECT_TRUE(poll.subscription());
}

}  // namespace
}  // namespace host::ptp4l
