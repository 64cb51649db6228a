// Which rows the clock-level tables hold.
#include "AgentHarness.h"

namespace test {
namespace {

Lines rowsOfBoundaryClock(unsigned domain) {
  return {text(PtpTableKey(domain, ClockType::boundaryClock, 1)), text(SystemTableKey(domain, 1)), "boundaryClock"};
}
Lines rowsOfTransparentClock(unsigned domain) {
  return {text(PtpTableKey(domain, ClockType::transparentClock, 1)), text(TransDefaultDSTableKey(domain, 1)),
          text(SystemTableKey(domain, 1)), "transparentClock"};
}
Lines rowsFor(unsigned mode, unsigned domain) {
  AgentHarness device;
  device.status->defaultDSIs(defaultDS(mode, domain));
  device.start();
  return device.rows();
}

TEST(ClockTables, ModeTwoInDomainZeroIsABoundaryClockWithoutATransparentRow) {
  EXPECT_EQ(rowsFor(2, 0), (Lines{"PtpSnmp::PtpTableKey(domainIndex=0,clockTypeIndex=boundaryClock,instanceIndex=1)",
                                  "PtpSnmp::SystemTableKey(ptpDomainIndex=0,ptpInstanceIndex=1)", "boundaryClock"}));
}

TEST(ClockTables, ModeFourInDomainTwentyFourHasATransparentRowToo) {
  EXPECT_EQ(rowsFor(4, 24),
            (Lines{"PtpSnmp::PtpTableKey(domainIndex=24,clockTypeIndex=transparentClock,instanceIndex=1)",
                   "PtpSnmp::TransDefaultDSTableKey(domainIndex=24,instanceIndex=1)",
                   "PtpSnmp::SystemTableKey(ptpDomainIndex=24,ptpInstanceIndex=1)", "transparentClock"}));
}

TEST(ClockTables, EveryModeMapsToItsClockTypeAndUnindexedModesToNoRows) {
  for (unsigned mode = 0; mode < 256; ++mode) {
    SCOPED_TRACE(mode);
    const Lines expected = mode == 1 || mode == 2   ? rowsOfBoundaryClock(255)
                           : mode >= 3 && mode <= 5 ? rowsOfTransparentClock(255)
                                                    : Lines{};
    EXPECT_EQ(rowsFor(mode, 255), expected);
  }
}

TEST(ClockTables, AChangeFromTransparentToBoundaryDeletesTheTransparentRowForGood) {
  AgentHarness device;
  device.status->defaultDSIs(defaultDS(4));
  device.start();
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::boundary);
  EXPECT_EQ(device.take(),
            (Lines{deleted(PtpTableKey(0, ClockType::transparentClock, 1)), deleted(TransDefaultDSTableKey(0, 1)),
                   added(PtpTableKey(0, ClockType::boundaryClock, 1)), deleted(ClockType::transparentClock),
                   added(ClockType::boundaryClock), deleted(SystemTableKey(0, 1)), added(SystemTableKey(0, 1))}));
  EXPECT_EQ(device.rows(), rowsOfBoundaryClock(0));
}

TEST(ClockTables, UnindexedModesEmptyAllFourTables) {
  for (const unsigned mode : {0U, 7U}) {
    AgentHarness device;
    device.status->defaultDSIs(defaultDS(4));
    device.start();
    device.status->defaultDS()->clockModeIs(static_cast<Ptp::PtpMode>(mode));
    EXPECT_EQ(device.take(),
              (Lines{deleted(PtpTableKey(0, ClockType::transparentClock, 1)), deleted(TransDefaultDSTableKey(0, 1)),
                     deleted(ClockType::transparentClock), deleted(SystemTableKey(0, 1))}));
    EXPECT_THAT(device.rows(), IsEmpty());
  }
}

TEST(ClockTables, ADomainChangeFilesNewRowsUnderTheNewDomain) {
  AgentHarness device;
  device.status->defaultDSIs(defaultDS(4, 3));
  device.start();
  device.status->defaultDS()->domainNumberIs(200);
  EXPECT_EQ(device.take(),
            (Lines{deleted(PtpTableKey(3, ClockType::transparentClock, 1)), deleted(TransDefaultDSTableKey(3, 1)),
                   added(PtpTableKey(200, ClockType::transparentClock, 1)), added(TransDefaultDSTableKey(200, 1)),
                   deleted(SystemTableKey(3, 1)), added(SystemTableKey(200, 1))}));
  EXPECT_EQ(device.rows(), rowsOfTransparentClock(200));
}

TEST(ClockTables, RowsReferToTheLiveStatusAndHoldNoValues) {
  AgentHarness device;
  device.status->defaultDSIs(defaultDS(4));
  device.start();
  const auto row = device.mib->ptpTable(PtpTableKey(0, ClockType::transparentClock, 1));
  EXPECT_EQ(row->ptpStatus(), device.status);
  EXPECT_EQ(device.mib->transDefaultDSTable(TransDefaultDSTableKey(0, 1))->ptpStatus(), device.status);
  EXPECT_EQ(device.mib->systemTable(SystemTableKey(0, 1))->ptpStatus(), device.status);
  EXPECT_EQ(device.mib->systemDomainTable(ClockType::transparentClock)->ptpStatus(), device.status);
  Ptp::DefaultDSValues values = device.status->defaultDS()->values();
  values.priority1 = 77;
  device.status->defaultDS()->valuesIs(values);
  EXPECT_EQ(row->priority1(), 77);
}

TEST(ClockTables, ARebuildSweepsRowsThatAnotherWriterLeft) {
  AgentHarness device;
  for (unsigned domain = 1; domain <= 9; ++domain) {
    device.mib->ptpTableIs(PtpTableKey(domain, ClockType::boundaryNode, 5), nullptr);
    device.mib->transDefaultDSTableIs(TransDefaultDSTableKey(domain, 5), nullptr);
    device.mib->systemTableIs(SystemTableKey(domain, 5), nullptr);
    device.mib->portTableIs(PortTableKey(domain, ClockType::boundaryNode, 5, 1), nullptr, portKey(1), nullptr);
    device.mib->portTransDSTableIs(PortTransDSTableKey(domain, 5, 1), nullptr, portKey(1));
  }
  device.mib->systemDomainTableIs(ClockType::ordinaryClock, nullptr);
  device.mib->systemDomainTableIs(ClockType::unspecifiedClock, nullptr);
  device.status->defaultDSIs(defaultDS(1));
  device.start();
  EXPECT_EQ(device.rows(), rowsOfBoundaryClock(0));
}

}  // namespace
}  // namespace test
