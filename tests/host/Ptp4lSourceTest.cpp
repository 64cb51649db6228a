#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "Ptp4lSourceFixture.h"

namespace host::ptp4l {
namespace {

using namespace test;

TEST_F(Ptp4lSourceTest, AClockThatAnswersIsShownWhole) {
  startService();
  service->ports = 3;
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const StatusSnapshot& status = snapshots.back();
  EXPECT_EQ(status.defaultDS->clockIdentity.stringValue(), "020000.fffe.000b01");
  EXPECT_TRUE(status.currentDS && status.parentDS && status.timePropertiesDS && status.mibData);
  EXPECT_EQ(status.ports.size(), 3u);
  EXPECT_EQ(status.mibData->counters, (Ptp::PacketCounters{.packetsSent = 3 * 258, .packetsReceived = 3 * 14}));
  EXPECT_EQ(log.count("info: ptp4l at"), 1u);
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceTest, AStatusThatDidNotChangeIsNotHandedOutAgain) {
  startService();
  startSource();
  ASSERT_TRUE(answeredPolls(5));
  EXPECT_EQ(snapshots.size(), 1u);
}

TEST_F(Ptp4lSourceTest, NothingButASubscriptionIsEverSet) {
  startService();
  startSource();
  ASSERT_TRUE(answeredPolls(3));
  EXPECT_EQ(service->actions, (std::set<std::uint8_t>{0, 1}));
  EXPECT_EQ(service->set, std::set<std::uint16_t>{0xc003});
}

TEST_F(Ptp4lSourceTest, APortStateIsShownWhenItIsReportedAndTheClockAskedAtOnce) {
  startService();
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  service->portData[10] = 9;
  service->parentData.back() = 0x77;
  service->reportPort(1);
  ASSERT_TRUE(reached([&] { return snapshots.back().parentDS->grandmasterIdentity.stringValue().ends_with("77"); }));
  EXPECT_EQ(snapshots.back().ports.begin()->second.values.portState, Ptp::PortState::slave);
  EXPECT_GE(snapshots.size(), 3u) << "the state came first";
}

TEST_F(Ptp4lSourceTest, ASubscriptionIsRenewedBeforeItEnds) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return service->asked[0xc003] >= 3; }));
}

TEST_F(Ptp4lSourceTest, WithoutEventsNothingIsSet) {
  startService();
  events = false;
  startSource();
  ASSERT_TRUE(answeredPolls(3));
  EXPECT_EQ(service->set, std::set<std::uint16_t>{});
}

TEST_F(Ptp4lSourceTest, AStormOfReportsEndsInTheLastState) {
  startService();
  service->ports = 8;
  startSource();
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  for (int round = 0; round < 200; ++round) {
    service->portData[10] = static_cast<std::uint8_t>(1 + round % 9);
    for (std::uint16_t port = 1; port <= 8; ++port) service->reportPort(port);
    ASSERT_TRUE(reached([] { return true; }));
  }
  EXPECT_TRUE(reached([&] {
    return std::ranges::all_of(snapshots.back().ports, [&](const auto& port) {
      return static_cast<std::uint8_t>(port.second.values.portState) == service->portData[10];
    });
  }));
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceTest, ManyPortsAreAskedInStepsOverThePeriod) {
  startService();
  service->ports = 64;
  startSource(400ms);
  auto& rounds = service->asked[0x2001];
  auto& ports = service->asked[0xc005];
  ASSERT_TRUE(reached([&] { return rounds == 2; }));
  EXPECT_LT(ports, 64 + 32) << "the second round has only begun";
  ASSERT_TRUE(reached([&] { return ports == 2 * 64; }));
  EXPECT_EQ(rounds, 2) << "and ends before the third";
}

TEST_F(Ptp4lSourceTest, NobodyButTheServiceCanSendToTheClient) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un client{};
  client.sun_family = AF_UNIX;
  service->clients.begin()->copy(client.sun_path, sizeof(client.sun_path) - 1);
  EXPECT_LT(sendto(fd, "x", 1, 0, reinterpret_cast<sockaddr*>(&client), sizeof(client)), 0);
  EXPECT_EQ(errno, EPERM);
  close(fd);
}

TEST_F(Ptp4lSourceTest, TheLeftOverOfACrashIsSweptAwayAndALivingClientsIsNot) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const std::filesystem::path living = std::filesystem::path(*service->clients.begin()).parent_path();
  const std::filesystem::path leftOver = directory + "/ptpsnmpd-crash1";
  std::filesystem::create_directory(leftOver);
  {
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (leftOver / "client").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    close(fd);
  }
  MonotonicCounters othersCounters;
  Ptp4lSource another(loop, othersCounters, socketPath, period);
  another.start([](const StatusSnapshot&) {});
  EXPECT_FALSE(std::filesystem::exists(leftOver));
  EXPECT_TRUE(std::filesystem::exists(living));
}

TEST_F(Ptp4lSourceTest, AServiceThatIsNotThereIsSaidOnceAndShownWhenItComes) {
  startSource();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(reached([&] { return std::chrono::steady_clock::now() > start + 10 * period; }));
  EXPECT_TRUE(emptied());
  EXPECT_EQ(snapshots.size(), 1u);
  EXPECT_EQ(log.count("warning"), 1u);
  EXPECT_EQ(log.count("No such file or directory"), 1u);
  startService();
  EXPECT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(log.count("warning"), 1u);
}

TEST_F(Ptp4lSourceTest, AServiceThatFallsSilentIsEmptiedAndComesBack) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->silent = true;
  ASSERT_TRUE(reached([&] { return emptied(); }));
  EXPECT_EQ(snapshots.size(), 2u);
  EXPECT_EQ(log.count("(no answer)"), 1u);
  service->silent = false;
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(log.count("info: ptp4l at"), 2u);
}

TEST_F(Ptp4lSourceTest, TwoUnansweredPollsChangeNothing) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->missedPolls = 2;
  ASSERT_TRUE(answeredPolls(2));
  EXPECT_EQ(service->missedPolls, 0);
  EXPECT_EQ(snapshots.size(), 1u);
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceTest, AServiceThatIsReplacedAtOnceStaysShown) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service.reset();
  startService();
  service->ports = 2;
  ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 2; }));
  EXPECT_EQ(snapshots.size(), 2u);
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceTest, ASocketThatIsReplacedWhileTheOldServiceLivesOnIsFollowed) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  std::filesystem::rename(socketPath, socketPath + ".old");
  FakePtpService replacement(loop, socketPath);
  replacement.ports = 2;
  ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 2; }));
}

TEST_F(Ptp4lSourceTest, ARunThatPausedGoesOnCountingWhereItWas) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const auto before = snapshots.back().mibData->counters;
  service->silent = true;
  ASSERT_TRUE(reached([&] { return emptied(); }));
  service->silent = false;
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(snapshots.back().mibData->counters, before);
}

TEST_F(Ptp4lSourceTest, ACounterThatRestartsGoesOnFromWhatWasShown) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const auto before = snapshots.back().mibData->counters;
  service.reset();
  ASSERT_TRUE(reached([&] { return emptied(); }));
  startService();
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(snapshots.back().mibData->counters.packetsSent, 2 * before.packetsSent);
}

TEST_F(Ptp4lSourceTest, TheCountersOfAServiceThatRestartedGoOnInTheNextSource) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service.reset();
  ASSERT_TRUE(reached([&] { return emptied(); }));
  startService();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const auto before = snapshots.back().mibData->counters;
  source.reset();
  snapshots.clear();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(snapshots.back().mibData->counters, before);
}

TEST_F(Ptp4lSourceTest, ARefusedMessageCostsItsColumnsAndIsAskedAgainOnlyAfterAReturn) {
  constexpr std::uint16_t portStats = 0xc005;
  startService();
  service->refused = {portStats};
  startSource();
  ASSERT_TRUE(answeredPolls(5));
  EXPECT_EQ(service->asked[portStats], 1);
  ASSERT_EQ(snapshots.back().ports.size(), 1u);
  EXPECT_FALSE(snapshots.back().ports.begin()->second.counters);
  EXPECT_EQ(log.count("PORT_STATS_NP"), 1u);

  service->refused.clear();
  service->silent = true;
  ASSERT_TRUE(reached([&] { return emptied(); }));
  service->silent = false;
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_TRUE(snapshots.back().ports.begin()->second.counters);
}

TEST_F(Ptp4lSourceTest, AClockInAnotherDomainIsFoundAndKept) {
  startService();
  service->domain = 24;
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_EQ(snapshots.back().defaultDS->domainNumber, 24);
  ASSERT_TRUE(answeredPolls(8));
  EXPECT_EQ(log.count("in domain 24"), 1u);
  EXPECT_EQ(snapshots.size(), 2u) << "empty, then shown";
}

TEST_F(Ptp4lSourceTest, GarbageBetweenTheAnswersChangesNothing) {
  startService();
  startSource();
  for (const std::size_t size : {0u, 1u, 33u, 54u, 1500u, 3000u}) {
    service->beforeAnswers = Bytes(size, 0x0d);
    ASSERT_TRUE(answeredPolls(2)) << size;
  }
  EXPECT_TRUE(shown());
  EXPECT_EQ(snapshots.size(), 1u);
}

TEST_F(Ptp4lSourceTest, ARefusedStatusIsWarnedOfOnceAndNothingTakesItsPlace) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  sinkRefuses = true;
  service->ports = 2;
  ASSERT_TRUE(reached([&] { return offered >= 3; })) << "it is offered again";
  EXPECT_TRUE(emptied()) << "and what was shown before is withdrawn";
  EXPECT_EQ(log.count("refused by the test"), 1u);
}

TEST_F(Ptp4lSourceTest, TheClientsSocketIsPrivateAndGoesWithIt) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  ASSERT_EQ(service->clients.size(), 1u);
  const std::filesystem::path client = *service->clients.begin();
  struct stat status {};
  ASSERT_EQ(stat(client.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0700u);
  source.reset();
  EXPECT_FALSE(std::filesystem::exists(client.parent_path()));
}

TEST_F(Ptp4lSourceTest, APathThatIsNoSocketAddressIsRefusedAtTheStart) {
  Ptp4lSource tooLong(loop, counters, std::string(200, 'x'), period);
  EXPECT_THROW(tooLong.start([](const StatusSnapshot&) {}), std::runtime_error);
}

}  // namespace
}  // namespace host::ptp4l
