#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "Ptp4lSourceFixture.h"

/// A source beside a service that restarts, contradicts itself, or is in somebody's way.
namespace host::ptp4l {
namespace {

using namespace test;

constexpr std::uint16_t portPropertiesId = 0xc004, portStatsId = 0xc005, portDataSetId = 0x2004;
constexpr std::size_t interfaceName = 13;  // where PORT_PROPERTIES_NP holds it

std::size_t openDescriptors() {
  const auto begin = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

bool hasGrandmaster(const StatusSnapshot& status, const char* end) {
  return status.parentDS && status.parentDS->grandmasterIdentity.stringValue().ends_with(end);
}

class Ptp4lSourceFaultsTest : public Ptp4lSourceTest {
 protected:
  // Another clock at the same path, which counts from the start.
  void replaceService() {
    service.reset();
    startService();
    service->identity = fromHex("0a0b0cfffe0d0e0f");
    service->ports = 20;
  }
  bool passed(std::chrono::milliseconds length) {
    const auto end = std::chrono::steady_clock::now() + length;
    return reached([&] { return std::chrono::steady_clock::now() > end; });
  }
};

TEST_F(Ptp4lSourceFaultsTest, TwoClientsOfOneProcessBothHearWhatIsReported) {
  startService();
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown(); }));
  std::optional<StatusSnapshot> other;
  MonotonicCounters othersCounters;
  Ptp4lSource second(loop, othersCounters, socketPath, 1h);
  second.start([&](const StatusSnapshot& status) { other = status; });
  ASSERT_TRUE(reached([&] { return other && service->subscribers() == 2; }));
  service->portData[10] = 9;
  service->reportPort(1);
  const auto follows = [](const StatusSnapshot& status) {
    return status.ports.begin()->second.values.portState == Ptp::PortState::slave;
  };
  EXPECT_TRUE(reached([&] { return follows(snapshots.back()) && follows(*other); }));
}

TEST_F(Ptp4lSourceFaultsTest, AServiceThatRestartsDuringAPacedPollIsNeverMixedWithTheOneBefore) {
  startService();
  service->ports = 20;
  startSource(500ms);
  ASSERT_TRUE(reached([&] { return service->asked[0x2000] == 2 && service->asked[portDataSetId] > 20; }));
  replaceService();
  ASSERT_TRUE(reached([&] { return snapshots.back().defaultDS->clockIdentity.stringValue() == "0a0b0c.fffe.0d0e0f"; }));
  for (const StatusSnapshot& status : snapshots) {
    ASSERT_EQ(status.ports.size(), 20u);
    for (const auto& [key, port] : status.ports) {
      ASSERT_EQ(port.values.portIdentity.clockIdentity, status.defaultDS->clockIdentity);
    }
  }
  EXPECT_EQ(snapshots.back().mibData->counters.packetsSent, 2u * 20 * 258) << "two runs, each counted once";
}

TEST_F(Ptp4lSourceFaultsTest, AClockThatTakesAnotherIdentityGoesOnCounting) {
  startService();
  service->ports = 2;
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->identity = fromHex("0a0b0cfffe0d0e0f");
  ASSERT_TRUE(reached([&] { return snapshots.back().defaultDS->clockIdentity.stringValue() == "0a0b0c.fffe.0d0e0f"; }));
  EXPECT_EQ(snapshots.size(), 2u) << "nothing half known was shown";
  EXPECT_EQ(snapshots.back().mibData->counters.packetsSent, 2u * 2 * 258);
}

TEST_F(Ptp4lSourceFaultsTest, AnswersOfAnotherClockThanTheOneThatBeganThePollAreNotTaken) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->editMessage = [](Bytes& message) {
    if (u16(message, at::id) == 0x2001) message[at::sourceClock] ^= 1;
  };
  ASSERT_TRUE(reached([&] { return emptied(); }));
  EXPECT_EQ(log.count("another clock answers"), 1u);
  EXPECT_EQ(snapshots.size(), 2u);
}

TEST_F(Ptp4lSourceFaultsTest, PortsThatComeAndGoDoNotCountTwice) {
  startService();
  service->ports = 2;
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const auto sum = snapshots.back().mibData->counters;
  service->ports = 1;
  ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 1; }));
  EXPECT_EQ(snapshots.back().mibData->counters, sum);
  service->ports = 2;
  ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 2; }));
  EXPECT_EQ(snapshots.back().mibData->counters, sum);
}

TEST_F(Ptp4lSourceFaultsTest, AnotherParentOfAClockOfManyPortsIsShownAtOnceHoweverSeldomItIsPolled) {
  startService();
  service->ports = 20;
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  service->portData[10] = 9;
  service->parentData.back() = 0x77;
  const auto start = std::chrono::steady_clock::now();
  service->reportPort(1);
  ASSERT_TRUE(reached([&] { return hasGrandmaster(snapshots.back(), "77"); }));
  EXPECT_LT(service->asked[portStatsId], 2 * 20) << "before the ports are all asked";
  ASSERT_TRUE(reached([&] { return service->asked[portStatsId] == 2 * 20; }));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << "and these do not take the period";
}

TEST_F(Ptp4lSourceFaultsTest, AnInterfaceNameThatCannotBeShownCostsNothingElse) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  for (const std::size_t length : {65u, 70u, 255u}) {
    service->edit = [length](std::uint16_t id, std::uint16_t, Bytes& data) {
      if (id != portPropertiesId) return;
      data.resize(interfaceName + length, 'x');
      data[interfaceName - 1] = static_cast<std::uint8_t>(length);
    };
    ASSERT_TRUE(reached([&] { return port(1).interface.empty(); })) << length;
    EXPECT_EQ(port(1).values.name, "020000.fffe.000b01-1");
    service->edit = [](std::uint16_t, std::uint16_t, Bytes&) {};
    ASSERT_TRUE(reached([&] { return port(1).interface == "hpb0"; })) << length;
  }
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceFaultsTest, APortThatGivesItselfAnotherIdentityIsNotShownAndTheOthersAre) {
  startService();
  service->ports = 2;
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const Bytes identities[] = {fromHex("020000fffe000b010001"), fromHex("020000fffe000b010000"),
                              fromHex("0a0b0cfffe0d0e0f0002")};
  for (const Bytes& identity : identities) {
    service->edit = [&identity](std::uint16_t id, std::uint16_t port, Bytes& data) {
      if (id == portDataSetId && port == 2) std::copy(identity.begin(), identity.end(), data.begin());
    };
    ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 1; }));
    EXPECT_EQ(port(1).values.portIdentity.stringValue(), "020000.fffe.000b01-1");
    service->edit = [](std::uint16_t, std::uint16_t, Bytes&) {};
    ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == 2; }));
  }
}

TEST_F(Ptp4lSourceFaultsTest, CountersThatNameAnotherPortAreNotBelieved) {
  startService();
  service->ports = 2;
  service->edit = [](std::uint16_t id, std::uint16_t port, Bytes& data) {
    if (id == portStatsId && port == 2) data[9] = 1;
  };
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_TRUE(port(1).counters);
  EXPECT_FALSE(port(2).counters);
}

TEST_F(Ptp4lSourceFaultsTest, AMessageThatOnePortRefusesIsShownOfTheOthers) {
  startService();
  service->ports = 2;
  service->edit = [](std::uint16_t id, std::uint16_t port, Bytes& data) {
    if (id == portStatsId && port == 1) data.clear();
  };
  startSource();
  ASSERT_TRUE(answeredPolls(3));
  ASSERT_TRUE(shown());
  EXPECT_FALSE(port(1).counters);
  EXPECT_TRUE(port(2).counters);
}

TEST_F(Ptp4lSourceFaultsTest, ASocketWhoseFileIsRemovedIsMadeAnew) {
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  const std::size_t descriptors = openDescriptors();
  for (int i = 0; i < 3; ++i) {
    const std::size_t before = service->clients.size();
    for (const std::string& path : service->clients) unlink(path.c_str());
    ASSERT_TRUE(reached([&] { return service->clients.size() > before; }));
    ASSERT_TRUE(answeredPolls(2));
    service->ports = static_cast<std::uint16_t>(2 + i);
    ASSERT_TRUE(reached([&] { return snapshots.back().ports.size() == service->ports; }));
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(snapshots.size(), 4u) << "the rows stayed";
  EXPECT_EQ(log.count("warning"), 0u);
}

TEST_F(Ptp4lSourceFaultsTest, AServiceThatAnswersTheFirstQuestionAndNoOtherIsGoneAfterThreePeriods) {
  startService();
  startSource(50ms);
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->editMessage = [](Bytes& message) {
    if (u16(message, at::id) != 0x2000) message.clear();
  };
  int periods = 0;
  const auto clock = loop.every(50ms, [&] { ++periods; });
  ASSERT_TRUE(reached([&] { return emptied(); }));
  EXPECT_LE(periods, 5);
}

TEST_F(Ptp4lSourceFaultsTest, AServiceThatAnswersOneQuestionInAPeriodIsGone) {
  startService();
  startSource(100ms);
  ASSERT_TRUE(reached([&] { return shown(); }));
  service->serveOnlyWhenTold();
  const auto drip = loop.every(90ms, [&] { service->serve(); });
  EXPECT_TRUE(reached([&] { return emptied(); }));
}

TEST_F(Ptp4lSourceFaultsTest, NothingOfAnotherClockIsShownBeforeAllIsKnown) {
  startService();
  service->ports = 2;
  startSource();
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  service->identity = fromHex("0a0b0cfffe0d0e0f");
  // A report in the midst of each poll.
  service->edit = [this](std::uint16_t id, std::uint16_t, Bytes&) {
    if (id == 0x2001) service->report(0x2002, service->parentData);
  };
  ASSERT_TRUE(answeredPolls(5));
  ASSERT_EQ(snapshots.back().defaultDS->clockIdentity.stringValue(), "0a0b0c.fffe.0d0e0f");
  for (const StatusSnapshot& status : snapshots) EXPECT_EQ(status.ports.size(), 2u);
}

TEST_F(Ptp4lSourceFaultsTest, AReportThatCannotBeReadChangesNothing) {
  startService();
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  Bytes short_ = service->portData;
  short_.resize(12);
  service->report(portDataSetId, short_);
  service->report(0x2002, Bytes(4));
  service->report(0xc000, Bytes(4));
  service->portData[10] = 9;
  service->reportPort(1);
  ASSERT_TRUE(reached([&] { return port(1).values.portState == Ptp::PortState::slave; }));
  EXPECT_TRUE(snapshots.back().parentDS);
  for (const StatusSnapshot& status : snapshots) EXPECT_EQ(status.ports.size(), 1u);
}

TEST_F(Ptp4lSourceFaultsTest, ManyReportsOfOneTurnAreShownTogether) {
  startService();
  service->ports = 9;
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  const std::size_t before = snapshots.size();
  service->portData[10] = 2;
  for (std::uint16_t port = 1; port <= 9; ++port) service->reportPort(port);
  ASSERT_TRUE(reached([&] { return snapshots.size() > before; }));
  for (const auto& [key, port] : snapshots[before].ports) {
    EXPECT_EQ(port.values.portState, Ptp::PortState::faulty) << key.stringValue();
  }
}

TEST_F(Ptp4lSourceFaultsTest, AServiceThatContradictsItselfIsNotAskedAtTheRateOfItsReports) {
  startService();
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  Bytes status(8 + 8 + 4 + 4 + 2 + 12 + 4 + 8);
  const auto reports = loop.every(1ms, [&] { service->report(0xc000, status); });
  ASSERT_TRUE(passed(500ms));
  EXPECT_GE(service->asked[0x2002], 2);
  EXPECT_LE(service->asked[0x2000], 10);
}

TEST_F(Ptp4lSourceFaultsTest, AnInterfaceThatMayBeAnotherIsAskedForAgain) {
  startService();
  service->ports = 2;
  startSource(1h);
  ASSERT_TRUE(reached([&] { return shown() && service->subscribed(); }));
  for (const char slave : {'1', '2', '3'}) {
    service->edit = [slave](std::uint16_t id, std::uint16_t, Bytes& data) {
      if (id == portPropertiesId) data[interfaceName + 3] = static_cast<std::uint8_t>(slave);
    };
    service->portData[10] = slave == '2' ? 9 : 2;
    service->reportPort(2);
    ASSERT_TRUE(reached([&] { return port(2).interface == std::string("hpb") + slave; }));
  }
}

TEST_F(Ptp4lSourceFaultsTest, ALostPollDoesNotMakeARefusalNews) {
  startService();
  service->refused = {portStatsId};
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  for (int i = 0; i < 3; ++i) {
    service->missedPolls = 1;
    ASSERT_TRUE(answeredPolls(2));
  }
  EXPECT_EQ(service->asked[portStatsId], 1);
  EXPECT_EQ(log.count("PORT_STATS_NP"), 1u);
}

TEST_F(Ptp4lSourceFaultsTest, ARuntimeDirectoryWhosePathIsTooLongIsPassedOver) {
  const std::string deep = directory + "/" + std::string(100, 'd');
  std::filesystem::create_directory(deep);
  setenv("RUNTIME_DIRECTORY", deep.c_str(), 1);
  startService();
  startSource();
  ASSERT_TRUE(reached([&] { return shown(); }));
  EXPECT_FALSE(service->clients.begin()->starts_with(deep));
}

}  // namespace
}  // namespace host::ptp4l
