// The writer's rules, seen from the status and from the tables that the agent
// builds from it.
#include "StatusWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PtpSnmpAgent/Root.h"
#include "Source.h"

namespace host {
namespace {

using Ptp::PtpMode;
using PtpSnmp::ClockType;
using PtpSnmp::PortTableKey;

constexpr const char* clockA = "001122.fffe.334455";
constexpr const char* clockB = "aabbcc.fffe.ddeeff";

Ptp::PortDSKey key(std::uint16_t port, const char* clock = clockA) {
  return Ptp::PortDSKey(Ptp::PortIdentity(Ptp::ClockIdentity(clock), Pelor::NetU16(port)));
}
PortSnapshot port(std::uint16_t number, std::optional<Ptp::PacketCounters> counters = Ptp::PacketCounters{1, 2}) {
  PortSnapshot snapshot;
  snapshot.values.portIdentity = Ptp::PortIdentity(Ptp::ClockIdentity(clockA), Pelor::NetU16(number));
  snapshot.values.name = "port";
  snapshot.counters = counters;
  return snapshot;
}

StatusSnapshot transparentClock() {
  StatusSnapshot snapshot;
  snapshot.defaultDS.emplace().clockMode = PtpMode::endToEndTransparent;
  snapshot.currentDS.emplace();
  snapshot.parentDS.emplace();
  snapshot.timePropertiesDS.emplace();
  snapshot.mibData.emplace();
  for (const std::uint16_t number : {1, 2, 3}) snapshot.ports.emplace(key(number), port(number));
  return snapshot;
}

/// A status that the writer fills and the agent follows. Every change of either
/// is counted.
struct StatusWriterTest : testing::Test {
  StatusWriterTest() {
    const auto count = [](Kestor::Publisher&, Kestor::Subscriber& slot, Kestor::AttributeId, const void*, void*) {
      ++*static_cast<int*>(slot.owner());
    };
    root->agentIs(status, mib, ifMib);
    status->publisher().subscriberIs(statusSlot, count);
    mib->publisher().subscriberIs(mibSlot, count);
  }

  std::string refusal(const StatusSnapshot& snapshot) {
    try {
      writer.apply(snapshot);
    } catch (const StatusRefused& refused) {
      return refused.what();
    }
    return "applied";
  }

  using PortRows = std::map<std::uint32_t, Ptp::PortDSKey>;
  PortRows portRows() const {
    PortRows rows;
    for (auto row = mib->portTable().begin(); !row.atEnd(); row.advance()) {
      EXPECT_EQ(row->portDS(), status->portDS(row->portDSKey()));
      rows.emplace(row->portNumberIndex(), row->portDSKey());
    }
    for (auto row = mib->portTransDSTable().begin(); !row.atEnd(); row.advance()) {
      EXPECT_EQ(row->portDS(), status->portDS(row->portDSKey()));
    }
    return rows;
  }
  auto row(std::uint32_t number) const {
    return mib->portTable(PortTableKey(0, ClockType::transparentClock, 1, number));
  }
  bool tablesAreEmpty() const {
    return mib->ptpTable().empty() && mib->transDefaultDSTable().empty() && mib->portTable().empty() &&
           mib->portTransDSTable().empty() && mib->systemTable().empty() && mib->systemDomainTable().empty();
  }

  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<IntfSnmp::IfMib> ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<PtpSnmp::Agent::Root> root = PtpSnmp::Agent::rootFactory("root");
  StatusWriter writer{status, ifMib};
  int changes = 0;
  Kestor::Subscriber statusSlot{&changes}, mibSlot{&changes};
};

TEST_F(StatusWriterTest, TwoPortsUnderOneNumberAreRefusedNamingBothKeysAndNothingChanges) {
  writer.apply(transparentClock());
  const PortRows before = portRows();
  changes = 0;
  StatusSnapshot hostile = transparentClock();
  hostile.defaultDS->domainNumber = 9;
  hostile.ports.erase(key(1));
  hostile.ports[key(3)].values.portIdentity.portNumber.valueIs(2);
  hostile.interfaces["eth0"] = 7;
  const std::string why = refusal(hostile);
  EXPECT_THAT(why, testing::HasSubstr("001122.fffe.334455-2"));
  EXPECT_THAT(why, testing::HasSubstr("001122.fffe.334455-3"));
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(portRows(), before);
  EXPECT_EQ(status->defaultDS()->values().domainNumber, 0);
  EXPECT_TRUE(ifMib->ifIndexByIntfId().empty());
}

TEST_F(StatusWriterTest, APortNumberZeroIsRefusedAnd65535IsNot) {
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)] = port(0);
  EXPECT_THAT(refusal(snapshot), testing::HasSubstr("001122.fffe.334455-1"));
  snapshot.ports[key(1)] = port(65535);
  EXPECT_EQ(refusal(snapshot), "applied");
  EXPECT_TRUE(row(65535));
}

TEST_F(StatusWriterTest, APortsNameHasOneToSixtyFourBytes) {
  StatusSnapshot snapshot = transparentClock();
  std::string& name = snapshot.ports[key(1)].values.name;
  for (const std::size_t length : {0, 65, 100000}) {
    name.assign(length, 'x');
    EXPECT_THAT(refusal(snapshot), testing::HasSubstr(std::to_string(length) + " bytes"));
    EXPECT_EQ(changes, 0);
  }
  for (const std::size_t length : {1, 64}) {
    name.assign(length, 'x');
    EXPECT_EQ(refusal(snapshot), "applied");
    EXPECT_EQ(row(1)->name(), name);
  }
}

TEST_F(StatusWriterTest, TheSameSnapshotAgainPublishesNothing) {
  const StatusSnapshot snapshot = transparentClock();
  writer.apply(snapshot);
  changes = 0;
  writer.apply(snapshot);
  EXPECT_EQ(changes, 0);
  writer.apply({});
  changes = 0;
  writer.apply({});
  EXPECT_EQ(changes, 0);
}

TEST_F(StatusWriterTest, ObjectsThatStayAreUpdatedInPlace) {
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)].counters = Ptp::PacketCounters{10, 20};
  writer.apply(snapshot);
  const auto defaultDS = status->defaultDS();
  const auto currentDS = status->currentDS();
  const auto parentDS = status->parentDS();
  const auto timePropertiesDS = status->timePropertiesDS();
  const auto mibData = status->ptpMibData();
  const auto portDS = status->portDS(key(1));
  const auto before = row(1);
  changes = 0;

  snapshot.defaultDS->priority1 = 5;
  snapshot.currentDS->stepsRemoved.valueIs(6);
  snapshot.parentDS->grandmasterPriority1 = 7;
  snapshot.timePropertiesDS->leap61 = true;
  snapshot.mibData->domainClockPortsTotal = 8;
  snapshot.ports[key(1)].values.faultyFlag = true;
  snapshot.ports[key(1)].values.name = "renamed";
  snapshot.ports[key(1)].counters = Ptp::PacketCounters{11, 21};
  writer.apply(snapshot);

  EXPECT_EQ(changes, 0) << "values alone move no rows";
  EXPECT_EQ(status->defaultDS(), defaultDS);
  EXPECT_EQ(status->currentDS(), currentDS);
  EXPECT_EQ(status->parentDS(), parentDS);
  EXPECT_EQ(status->timePropertiesDS(), timePropertiesDS);
  EXPECT_EQ(status->ptpMibData(), mibData);
  EXPECT_EQ(status->portDS(key(1)), portDS);
  EXPECT_EQ(row(1), before);
  EXPECT_EQ(defaultDS->values().priority1, 5);
  EXPECT_EQ(currentDS->stepsRemoved.value(), 6);
  EXPECT_EQ(parentDS->grandmasterPriority1, 7);
  EXPECT_TRUE(timePropertiesDS->leap61);
  EXPECT_EQ(mibData->domainClockPortsTotal, 8);
  EXPECT_TRUE(portDS->faultyFlag);
  EXPECT_EQ(before->name(), "renamed");
  EXPECT_EQ(before->packetsSent(), 11U);
  EXPECT_EQ(before->packetsReceived(), 21U);
}

TEST_F(StatusWriterTest, APortNumberMayMoveToAnotherKey) {
  writer.apply(transparentClock());
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports.erase(key(1));
  snapshot.ports.emplace(key(7), port(1));
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(7)}, {2, key(2)}, {3, key(3)}}));
}

TEST_F(StatusWriterTest, APortMayTakeTheNumberOfOneThatLeaves) {
  writer.apply(transparentClock());
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports.erase(key(3));
  snapshot.ports[key(1)] = port(3);
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{2, key(2)}, {3, key(1)}}));
}

TEST_F(StatusWriterTest, PortsMaySwapNumbers) {
  writer.apply(transparentClock());
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)] = port(2);
  snapshot.ports[key(2)] = port(3);
  snapshot.ports[key(3)] = port(1);
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(3)}, {2, key(1)}, {3, key(2)}}));
}

TEST_F(StatusWriterTest, TheClocksIdentityMayChangeWithAllItsPortKeys) {
  writer.apply(transparentClock());
  StatusSnapshot snapshot = transparentClock();
  snapshot.defaultDS->clockIdentity = Ptp::ClockIdentity(clockB);
  snapshot.ports.clear();
  for (const std::uint16_t number : {1, 2, 3}) snapshot.ports.emplace(key(number, clockB), port(number));
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(1, clockB)}, {2, key(2, clockB)}, {3, key(3, clockB)}}));
}

TEST_F(StatusWriterTest, ModeZeroEmptiesTheTablesAndKeepsTheDataSets) {
  StatusSnapshot snapshot = transparentClock();
  writer.apply(snapshot);
  snapshot.defaultDS->clockMode = PtpMode::disabled;
  snapshot.ports.erase(key(2));
  snapshot.ports.emplace(key(4), port(4));
  writer.apply(snapshot);
  EXPECT_TRUE(tablesAreEmpty());
  EXPECT_TRUE(status->defaultDS());
  EXPECT_EQ(status->portDS().size(), 3U);
  snapshot.defaultDS->clockMode = PtpMode::boundary;
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(1)}, {3, key(3)}, {4, key(4)}}));
}

TEST_F(StatusWriterTest, RowsShowCountersThatAppearAndDisappear) {
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)] = port(1, std::nullopt);
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->packetsSent(), 0U);
  snapshot.ports[key(1)].counters = Ptp::PacketCounters{100, 200};
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->packetsSent(), 100U);
  snapshot.ports[key(1)].counters.reset();
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->packetsSent(), 0U);
  EXPECT_EQ(status->ptpMibData()->ptpMibPortData.find(key(1)), nullptr);

  snapshot.ports[key(1)].counters = Ptp::PacketCounters{101, 201};
  snapshot.mibData.reset();
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->packetsSent(), 0U) << "counters have no place without the clock's record";
  EXPECT_EQ(row(2)->packetsSent(), 0U);
  EXPECT_EQ(status->ptpMibData(), nullptr);
  snapshot.mibData.emplace();
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->packetsSent(), 101U);
  EXPECT_EQ(row(2)->packetsSent(), 1U);
}

TEST_F(StatusWriterTest, AServiceThatIsGoneEmptiesTheTablesAndComesBackWhole) {
  writer.apply(transparentClock());
  writer.apply({});
  EXPECT_TRUE(tablesAreEmpty());
  EXPECT_EQ(status->defaultDS(), nullptr);
  EXPECT_EQ(status->currentDS(), nullptr);
  EXPECT_EQ(status->parentDS(), nullptr);
  EXPECT_EQ(status->timePropertiesDS(), nullptr);
  EXPECT_EQ(status->ptpMibData(), nullptr);
  EXPECT_TRUE(status->portDS().empty());
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)] = port(2);
  snapshot.ports[key(2)] = port(1);
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(2)}, {2, key(1)}, {3, key(3)}}));
  EXPECT_EQ(row(2)->packetsSent(), 1U);
}

TEST_F(StatusWriterTest, EverythingMayChangeAtOnce) {
  writer.apply(transparentClock());
  StatusSnapshot snapshot = transparentClock();
  snapshot.defaultDS->clockIdentity = Ptp::ClockIdentity(clockB);
  snapshot.defaultDS->domainNumber = 255;
  snapshot.defaultDS->clockMode = PtpMode::ordinary;
  snapshot.currentDS.reset();
  snapshot.mibData->domainClockPortsTotal = 9;
  snapshot.ports = {{key(1), port(3)}, {key(2, clockB), port(1, std::nullopt)}, {key(3), port(2)}};
  snapshot.interfaces["eth0"] = 4;
  snapshot.ports[key(1)].interface = "eth0";
  writer.apply(snapshot);
  EXPECT_EQ(portRows(), (PortRows{{1, key(2, clockB)}, {2, key(3)}, {3, key(1)}}));
  const auto moved = mib->portTable(PortTableKey(255, ClockType::boundaryClock, 1, 3));
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->interfaceIndex(), 4U);
  EXPECT_TRUE(mib->portTransDSTable().empty());
}

TEST_F(StatusWriterTest, RowsFollowTheInterfaceMap) {
  StatusSnapshot snapshot = transparentClock();
  snapshot.ports[key(1)].interface = "eth0";
  snapshot.interfaces = {{"eth0", 4}, {"eth1", 5}};
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->interfaceIndex(), 4U);
  EXPECT_EQ(row(2)->interfaceIndex(), 0U) << "no interface is known";
  snapshot.interfaces["eth0"] = 40;
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->interfaceIndex(), 40U);
  snapshot.ports[key(1)].interface = "eth1";
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->interfaceIndex(), 5U);
  snapshot.interfaces.erase("eth1");
  writer.apply(snapshot);
  EXPECT_EQ(row(1)->interfaceIndex(), 0U);
  snapshot.interfaces[""] = 77;
  writer.apply(snapshot);
  EXPECT_EQ(row(2)->interfaceIndex(), 0U) << "a nameless interface is nobody's";
}

TEST_F(StatusWriterTest, InterfacesThatComeAndGoLeaveNothingBehind) {
  StatusSnapshot snapshot = transparentClock();
  for (std::uint32_t turn = 0; turn < 1000; ++turn) {
    const std::string name = "veth" + std::to_string(turn);
    snapshot.ports[key(1)].interface = name;
    snapshot.interfaces = {{name, turn + 1}};
    writer.apply(snapshot);
    ASSERT_EQ(row(1)->interfaceIndex(), turn + 1);
    ASSERT_EQ(ifMib->ifIndexByIntfId().size(), 1U);
  }
}

}  // namespace
}  // namespace host
