#include "ptp4l/StatusMapping.h"

#include <gtest/gtest.h>

namespace host::ptp4l {
namespace {

const Ptp::ClockIdentity clock("001122.fffe.334455");

PortReplies port(std::uint16_t number, Ptp::PortState state = Ptp::PortState::master) {
  PortReplies replies;
  replies.dataSet.emplace();
  replies.dataSet->portIdentity = {clock, Pelor::NetU16(number)};
  replies.dataSet->portState = state;
  replies.interface = "eth" + std::to_string(number);
  replies.counters = Ptp::PacketCounters{.packetsSent = 10u * number, .packetsReceived = 100u * number};
  replies.description =
      ClockDescription{.clockType = ClockDescription::boundaryClock, .networkProtocol = ClockDescription::udpIpv4};
  return replies;
}

ClockReplies clockWith(std::uint16_t ports) {
  ClockReplies replies;
  replies.defaultDS.emplace();
  replies.defaultDS->clockIdentity = clock;
  replies.defaultDS->numberPorts.valueIs(ports);
  replies.currentDS.emplace();
  replies.parentDS.emplace();
  replies.timePropertiesDS.emplace();
  for (std::uint16_t number = 1; number <= ports; ++number) replies.ports[number] = port(number);
  return replies;
}

std::optional<std::uint32_t> ifIndex(const std::string& name) {
  if (name == "eth1") return 7;
  if (name == "eth2") return 9;
  return {};
}

StatusSnapshot status(const ClockReplies& replies) { return statusOf(replies, ifIndex); }

const PortSnapshot& portOf(const StatusSnapshot& snapshot, std::uint16_t number) {
  return snapshot.ports.at(Ptp::PortDSKey(Ptp::PortIdentity(clock, Pelor::NetU16(number))));
}

TEST(StatusMapping, EveryReplyIsShown) {
  const ClockReplies replies = clockWith(2);
  const StatusSnapshot snapshot = status(replies);
  EXPECT_EQ(snapshot.defaultDS->clockIdentity, clock);
  EXPECT_EQ(snapshot.currentDS, replies.currentDS);
  EXPECT_EQ(snapshot.parentDS, replies.parentDS);
  EXPECT_EQ(snapshot.timePropertiesDS, replies.timePropertiesDS);
  EXPECT_EQ(snapshot.ports.size(), 2u);
  EXPECT_EQ(snapshot.interfaces, (std::map<std::string, std::uint32_t>{{"eth1", 7}, {"eth2", 9}}));
  EXPECT_EQ(portOf(snapshot, 2).interface, "eth2");
  EXPECT_EQ(portOf(snapshot, 2).values.name, "eth2");
}

TEST(StatusMapping, WithoutADefaultDataSetThereIsNoClock) {
  ClockReplies replies = clockWith(2);
  replies.defaultDS.reset();
  EXPECT_EQ(status(replies), StatusSnapshot{});
}

TEST(StatusMapping, TheClockModeIsTheTypeThatTheClockGivesItself) {
  const std::pair<std::uint16_t, Ptp::PtpMode> modes[] = {
      {0x8000, Ptp::PtpMode::ordinary},
      {0x4000, Ptp::PtpMode::boundary},
      {0x2000, Ptp::PtpMode::peerToPeerTransparent},
      {0x1000, Ptp::PtpMode::endToEndTransparent},
  };
  for (const auto& [type, mode] : modes) {
    ClockReplies replies = clockWith(1);
    replies.ports[1].description->clockType = type;
    EXPECT_EQ(status(replies).defaultDS->clockMode, mode) << type;
  }
}

TEST(StatusMapping, WithoutADescriptionTheNumberOfPortsGivesTheClockMode) {
  for (const auto& [ports, mode] :
       {std::pair<std::uint16_t, Ptp::PtpMode>{1, Ptp::PtpMode::ordinary}, {2, Ptp::PtpMode::boundary}}) {
    ClockReplies replies = clockWith(ports);
    for (auto& [number, replied] : replies.ports) replied.description.reset();
    EXPECT_EQ(status(replies).defaultDS->clockMode, mode) << ports;
  }
}

TEST(StatusMapping, ThePortThatFollowsTheParentIsASlaveWithOneAssociatedPort) {
  for (int state = 1; state <= 9; ++state) {
    ClockReplies replies = clockWith(1);
    replies.ports[1] = port(1, Ptp::PortState(state));
    const StatusSnapshot snapshot = status(replies);
    const Ptp::PortDSValues& values = portOf(snapshot, 1).values;
    const bool follows = state == 8 || state == 9;
    EXPECT_EQ(values.role, follows ? PtpMib::ClockRoleType::slave : PtpMib::ClockRoleType::master) << state;
    EXPECT_EQ(values.numberOfAssociatedPorts, follows ? 1u : 0u) << state;
    EXPECT_EQ(values.faultyFlag, state == 2) << state;
  }
}

TEST(StatusMapping, TheTransportIsThatOfThePortsAddress) {
  const std::pair<std::uint16_t, Ptp::TransportMode> transports[] = {
      {1, Ptp::TransportMode::ipv4}, {2, Ptp::TransportMode::ipv6}, {3, Ptp::TransportMode::ethernet}};
  for (const auto& [protocol, mode] : transports) {
    ClockReplies replies = clockWith(1);
    replies.ports[1].description->networkProtocol = protocol;
    const StatusSnapshot snapshot = status(replies);
    EXPECT_EQ(portOf(snapshot, 1).values.transport, mode) << protocol;
    EXPECT_EQ(portOf(snapshot, 1).values.encapsulation, mode) << protocol;
  }
}

TEST(StatusMapping, APortIsTwoStepWhenItsClockIs) {
  ClockReplies replies = clockWith(1);
  EXPECT_FALSE(portOf(status(replies), 1).values.syncTwoStep);
  replies.defaultDS->twoStepFlag = true;
  EXPECT_TRUE(portOf(status(replies), 1).values.syncTwoStep);
}

TEST(StatusMapping, CountersAreThosePortsHaveAndAreNotYetTheClocks) {
  const StatusSnapshot snapshot = status(clockWith(3));
  EXPECT_EQ(portOf(snapshot, 3).counters, (Ptp::PacketCounters{.packetsSent = 30, .packetsReceived = 300}));
  EXPECT_EQ(snapshot.mibData->counters, Ptp::PacketCounters{});
  EXPECT_EQ(snapshot.mibData->domainClockPortsTotal, 3);
}

TEST(StatusMapping, AMissingReplyCostsOnlyWhatItHolds) {
  ClockReplies replies = clockWith(2);
  replies.parentDS.reset();
  replies.ports[1].interface.reset();
  replies.ports[1].counters.reset();
  const StatusSnapshot snapshot = status(replies);
  EXPECT_FALSE(snapshot.parentDS);
  EXPECT_TRUE(snapshot.currentDS);
  EXPECT_EQ(portOf(snapshot, 1).interface, "");
  EXPECT_EQ(portOf(snapshot, 1).values.name, "001122.fffe.334455-1");
  EXPECT_FALSE(portOf(snapshot, 1).counters);
  EXPECT_EQ(snapshot.interfaces, (std::map<std::string, std::uint32_t>{{"eth2", 9}}));
  EXPECT_TRUE(portOf(snapshot, 2).counters);
}

TEST(StatusMapping, APortWithoutADataSetIsNotShown) {
  ClockReplies replies = clockWith(2);
  replies.ports[2].dataSet.reset();
  EXPECT_EQ(status(replies).ports.size(), 1u);
}

TEST(StatusMapping, AnInterfaceThatTheKernelDoesNotKnowHasNoIndex) {
  ClockReplies replies = clockWith(1);
  replies.ports[1].interface = "gone0";
  const StatusSnapshot snapshot = status(replies);
  EXPECT_EQ(portOf(snapshot, 1).interface, "gone0");
  EXPECT_TRUE(snapshot.interfaces.empty());
}

}  // namespace
}  // namespace host::ptp4l
