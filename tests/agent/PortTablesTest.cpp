// Which rows the port-level tables hold.
#include "AgentHarness.h"

namespace test {
namespace {

PortTableKey boundary(unsigned port, unsigned domain = 0) { return {domain, ClockType::boundaryClock, 1, port}; }
PortTableKey transparent(unsigned port, unsigned domain = 0) { return {domain, ClockType::transparentClock, 1, port}; }
PortTransDSTableKey trans(unsigned port, unsigned domain = 0) { return {domain, 1, port}; }

struct PortTables : testing::Test {
  PtpSnmpSm& startIn(unsigned mode, unsigned domain = 0) {
    device.status->defaultDSIs(defaultDS(mode, domain));
    return device.start();
  }
  void port(std::uint16_t key, std::uint16_t number) { device.status->portDSIs(portKey(key), portDS(number)); }
  void noPort(std::uint16_t key) { device.status->portDSDel(portKey(key)); }

  AgentHarness device;
};

TEST_F(PortTables, APortOfABoundaryClockHasOneRowAndIsRemembered) {
  const PtpSnmpSm& machine = startIn(1);
  port(1, 3);
  EXPECT_EQ(device.take(), Lines{added(boundary(3))});
  EXPECT_TRUE(device.mib->portTransDSTable().empty());
  EXPECT_EQ(machine.portDSKeyToPortNumber().size(), 1U);
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 3);
}

TEST_F(PortTables, APortOfATransparentClockHasARowInBothTables) {
  const PtpSnmpSm& machine = startIn(3);
  port(1, 3);
  EXPECT_EQ(device.take(), (Lines{added(transparent(3)), added(trans(3))}));
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 3);
}

TEST_F(PortTables, ARemovedPortLosesBothRowsAndItsMapEntry) {
  const PtpSnmpSm& machine = startIn(3);
  port(1, 3);
  device.take();
  noPort(1);
  EXPECT_EQ(device.take(), (Lines{deleted(transparent(3)), deleted(trans(3))}));
  EXPECT_TRUE(machine.portDSKeyToPortNumber().empty());
}

TEST_F(PortTables, RemovalOfAPortNeverSeenDeletesThoseOfPortNumberZeroAndNoOthers) {
  PtpSnmpSm& machine = startIn(3);
  port(1, 0);
  port(2, 3);
  device.mib->portTableIs(transparent(0, 9), device.status, portKey(9), device.ifMib);
  device.take();
  machine.handlePortTablesIndex(portKey(77));
  EXPECT_EQ(device.take(), (Lines{deleted(transparent(0)), deleted(trans(0))}));
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 0) << "only the entry of the removed key goes";
  EXPECT_TRUE(device.mib->portTable(transparent(3)));
  EXPECT_TRUE(device.mib->portTable(transparent(0, 9))) << "another domain is not the current one";
  machine.handlePortTablesIndex(portKey(77));
  EXPECT_THAT(device.take(), IsEmpty());
}

TEST_F(PortTables, AClockModeChangeRebuildsEveryPortRowFromTheCurrentCollection) {
  startIn(1);
  for (const std::uint16_t number : {5, 2, 9}) port(number, number);
  device.take();
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::peerToPeerTransparent);
  EXPECT_THAT(device.take(), testing::IsSupersetOf({deleted(boundary(2)), deleted(boundary(5)), deleted(boundary(9)),
                                                    added(transparent(2)), added(trans(2)), added(transparent(5)),
                                                    added(trans(5)), added(transparent(9)), added(trans(9))}));
  EXPECT_EQ(device.rows(),
            (Lines{text(PtpTableKey(0, ClockType::transparentClock, 1)), text(TransDefaultDSTableKey(0, 1)),
                   text(transparent(2)), text(transparent(5)), text(transparent(9)), text(trans(2)), text(trans(5)),
                   text(trans(9)), text(SystemTableKey(0, 1)), "transparentClock"}));
}

TEST_F(PortTables, ARebuildDeletesInKeyOrder) {
  startIn(3);
  for (const std::uint16_t number : {500, 2, 9, 65535, 1}) port(number, number);
  device.take();
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::disabled);
  EXPECT_EQ(
      device.take(),
      (Lines{deleted(PtpTableKey(0, ClockType::transparentClock, 1)), deleted(TransDefaultDSTableKey(0, 1)),
             deleted(transparent(1)), deleted(transparent(2)), deleted(transparent(9)), deleted(transparent(500)),
             deleted(transparent(65535)), deleted(trans(1)), deleted(trans(2)), deleted(trans(9)), deleted(trans(500)),
             deleted(trans(65535)), deleted(ClockType::transparentClock), deleted(SystemTableKey(0, 1))}));
}

TEST_F(PortTables, ANewNumberUnderTheSameKeyLeavesTheOldRowUntilTheNextRebuild) {
  const PtpSnmpSm& machine = startIn(3);
  port(1, 3);
  device.take();
  port(1, 4);
  EXPECT_EQ(device.take(), (Lines{added(transparent(4)), added(trans(4))})) << "the add path never deletes";
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 4);
  noPort(1);
  EXPECT_EQ(device.take(), (Lines{deleted(transparent(4)), deleted(trans(4))}));
  EXPECT_TRUE(device.mib->portTable(transparent(3)));
  device.status->defaultDS()->domainNumberIs(1);
  EXPECT_THAT(device.take(), testing::IsSupersetOf({deleted(transparent(3)), deleted(trans(3))}));
  EXPECT_TRUE(device.mib->portTable().empty());
}

TEST_F(PortTables, ADataSetThatChangedItsNumberInPlaceIsFiledAnewByARebuild) {
  startIn(1);
  port(1, 3);
  device.status->portDS(portKey(1))->portIdentity.portNumber.valueIs(8);
  device.status->defaultDS()->domainNumberIs(1);
  device.take();
  EXPECT_FALSE(device.mib->portTable(boundary(3, 1)));
  EXPECT_TRUE(device.mib->portTable(boundary(8, 1)));
}

TEST_F(PortTables, EntriesOfPortsThatAreGoneStayRememberedThroughARebuild) {
  PtpSnmpSm& machine = startIn(1);
  port(1, 3);
  port(2, 5);
  device.status->defaultDSIs(nullptr);
  noPort(1);  // nobody hears of it
  device.status->defaultDSIs(defaultDS(1));
  device.take();
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 3);
  EXPECT_EQ(machine.portDSKeyToPortNumber().size(), 2U);
}

TEST_F(PortTables, ARebuildInAnUnindexedModeForgetsThePortsOfTheCollection) {
  const PtpSnmpSm& machine = startIn(1);
  port(1, 3);
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::disabled);
  device.take();
  EXPECT_TRUE(machine.portDSKeyToPortNumber().empty());
}

TEST_F(PortTables, AnUnindexedModeLeavesThePortTablesAsTheyAre) {
  PtpSnmpSm& machine = startIn(7);
  device.mib->portTableIs(boundary(0), device.status, portKey(9), device.ifMib);
  device.take();
  port(1, 3);
  noPort(1);
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_TRUE(machine.portDSKeyToPortNumber().empty());
  EXPECT_TRUE(device.mib->portTable(boundary(0)));
}

TEST_F(PortTables, AnEmptyEntryOfTheCollectionIsAPortThatIsGone) {
  const PtpSnmpSm& machine = startIn(3);
  port(1, 3);
  device.take();
  device.status->portDSIs(portKey(1), nullptr);
  EXPECT_EQ(device.take(), (Lines{deleted(transparent(3)), deleted(trans(3))}));
  EXPECT_FALSE(machine.portDSKeyToPortNumber(portKey(1)));
}

TEST_F(PortTables, TheDeletionPathDropsTheTransparentRowOfABoundaryClockToo) {
  startIn(1);
  port(1, 3);
  device.mib->portTransDSTableIs(trans(3), device.status, portKey(1));
  device.take();
  noPort(1);
  EXPECT_EQ(device.take(), (Lines{deleted(boundary(3)), deleted(trans(3))}));
}

TEST_F(PortTables, APortWithoutADefaultDataSetIsIgnoredAndIndexedByTheNextRebuild) {
  const PtpSnmpSm& machine = device.start();
  port(1, 3);
  port(2, 4);
  noPort(2);
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_TRUE(machine.portDSKeyToPortNumber().empty());
  device.status->defaultDSIs(defaultDS(1));
  EXPECT_EQ(device.take(), (Lines{added(PtpTableKey(0, ClockType::boundaryClock, 1)), added(boundary(3)),
                                  added(ClockType::boundaryClock), added(SystemTableKey(0, 1))}));
}

TEST_F(PortTables, APortAddedAfterTheDefaultDataSetWentIsIgnored) {
  startIn(1);
  port(1, 3);
  device.status->defaultDSIs(nullptr);
  device.take();
  port(2, 4);
  noPort(1);
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_TRUE(device.mib->portTable(boundary(3)));
}

TEST_F(PortTables, RowsHoldTheStatusThePortsKeyAndTheInterfaceMap) {
  startIn(3);
  port(1, 3);
  device.take();
  const auto row = device.mib->portTable(transparent(3));
  EXPECT_EQ(row->ptpStatus(), device.status);
  EXPECT_EQ(row->portDSKey(), portKey(1));
  EXPECT_EQ(row->ifMib(), device.ifMib);
  EXPECT_EQ(row->portDS(), device.status->portDS(portKey(1)));
  EXPECT_EQ(device.mib->portTransDSTable(trans(3))->ptpStatus(), device.status);
  EXPECT_EQ(device.mib->portTransDSTable(trans(3))->portDSKey(), portKey(1));
}

TEST_F(PortTables, PortNumbersAreReadInHostOrder) {
  startIn(1);
  port(1, 0x0102);
  EXPECT_EQ(device.take(), Lines{added(boundary(258))});
}

TEST_F(PortTables, TheMapOverwritesReadsAndForgets) {
  PtpSnmpSm& machine = startIn(1);
  EXPECT_EQ(machine.portDSKeyToPortNumberDel(portKey(1)), 0) << "an absent key";
  machine.portDSKeyToPortNumberIs(portKey(1), 3);
  machine.portDSKeyToPortNumberIs(portKey(1), 4);
  machine.portDSKeyToPortNumberIs(portKey(2), 5);
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), 4);
  EXPECT_EQ(machine.portDSKeyToPortNumberDel(portKey(1)), 4);
  EXPECT_EQ(machine.portDSKeyToPortNumber(portKey(1)), std::nullopt);
  machine.portDSKeyToPortNumberDelAll();
  EXPECT_TRUE(machine.portDSKeyToPortNumber().empty());
}

}  // namespace
}  // namespace test
