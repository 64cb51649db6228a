// Which change reaches which handlers, and what may happen while they run.
#include "AgentHarness.h"

namespace test {
namespace {

using PtpSnmp::PtpMib;

const Lines allFour = {"handlePtpTablesIndex", "handlePortTablesIndexColl", "handlePortTablesIndex",
                       "handleSystemDomainTableIndex", "handleSystemTableIndex"};

/// A running agent of a transparent clock with one port. Traces are on, to tell the handlers.
struct Subscriptions : testing::Test {
  Subscriptions() {
    device.status->portDSIs(portKey(1), portDS(1));
    device.status->defaultDSIs(defaultDS(4));
    device.start();
  }
  Lines handlers() { return handlersIn(device.take()); }

  AgentHarness device{AgentHarness::Traces::on};
};

TEST_F(Subscriptions, ADomainChangeLeavesTheSystemDomainTableAlone) {
  const auto row = device.mib->systemDomainTable(ClockType::transparentClock);
  device.status->defaultDS()->domainNumberIs(9);
  EXPECT_EQ(handlers(), (Lines{"handlePtpTablesIndex", "handlePortTablesIndexColl", "handlePortTablesIndex",
                               "handleSystemTableIndex"}));
  EXPECT_EQ(device.mib->systemDomainTable(ClockType::transparentClock), row);
}

TEST_F(Subscriptions, AClockModeChangeRunsAllFourHandlersInOrder) {
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::boundary);
  EXPECT_EQ(handlers(), allFour);
}

TEST_F(Subscriptions, OnlyTheTwoAttributesOfTheDefaultDataSetAndTheTwoOfTheStatusReachAHandler) {
  const Ptp::PortDSKey key = portKey(1);
  for (unsigned id = 0; id < 0x10000; ++id) {
    const auto attribute = static_cast<Kestor::AttributeId>(id);
    device.status->defaultDS()->publisher().publish(attribute);
    if (id == 264 || id == 267) {
      EXPECT_EQ(handlers().size(), id == 264 ? 4U : 5U) << id;
    }
    device.status->publisher().publish(attribute, &key);
    if (id == 263) {
      EXPECT_EQ(handlers(), Lines{"handleDefaultDS"}) << "the same object runs nothing more";
    } else if (id == 275) {
      EXPECT_EQ(handlers(), Lines{"handlePortTablesIndex"});
    }
    ASSERT_THAT(device.take(), IsEmpty()) << id;
  }
}

TEST_F(Subscriptions, AnotherDefaultDataSetRunsAllFourHandlersOnce) {
  device.status->defaultDSIs(defaultDS(4));
  Lines expected = allFour;
  expected.insert(expected.begin(), "handleDefaultDS");
  EXPECT_EQ(handlers(), expected);
}

TEST_F(Subscriptions, AfterAReplacementOnlyTheNewDefaultDataSetIsHeard) {
  const auto old = device.status->defaultDS();
  device.status->defaultDSIs(defaultDS(4));
  device.take();
  old->domainNumberIs(9);
  EXPECT_THAT(device.take(), IsEmpty());
  device.status->defaultDS()->domainNumberIs(8);
  EXPECT_EQ(handlers().size(), 4U);
}

TEST_F(Subscriptions, ADroppedDefaultDataSetIsNoLongerHeardAndTheRowsStay) {
  const auto old = device.status->defaultDS();
  const Lines before = device.rows();
  device.status->defaultDSIs(nullptr);
  EXPECT_EQ(handlers(), Lines{"handleDefaultDS"});
  EXPECT_EQ(device.machine().defaultDS(), nullptr);
  EXPECT_EQ(old->refCount(), 1U) << "only this test holds it";
  old->clockModeIs(Ptp::PtpMode::disabled);
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_EQ(device.rows(), before);
}

TEST_F(Subscriptions, DefaultDSDelHandsOverTheReferenceAndRunsNoHandler) {
  const Lines before = device.rows();
  const auto taken = device.machine().defaultDSDel();
  EXPECT_EQ(taken, device.status->defaultDS());
  EXPECT_EQ(device.machine().defaultDS(), nullptr);
  device.status->defaultDS()->domainNumberIs(9);
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_EQ(device.rows(), before);
  EXPECT_EQ(device.machine().defaultDSDel(), nullptr);
}

TEST_F(Subscriptions, NothingIsHeardWhileNotificationsAreOffAndEachChangeOnceAfterwards) {
  PtpSnmpSm& machine = device.machine();
  machine.hasNotificationActiveIs(false);
  machine.hasNotificationActiveIs(false);
  EXPECT_FALSE(machine.hasNotificationActive());
  device.status->defaultDS()->domainNumberIs(9);
  device.status->portDSIs(portKey(2), portDS(2));
  device.status->defaultDSIs(nullptr);
  EXPECT_THAT(device.take(), IsEmpty());
  machine.hasNotificationActiveIs(true);
  machine.hasNotificationActiveIs(true);
  EXPECT_THAT(device.take(), IsEmpty()) << "switching on runs no handler";
  device.status->portDSIs(portKey(3), portDS(3));
  EXPECT_EQ(handlers(), Lines{"handlePortTablesIndex"});
  device.status->defaultDSIs(defaultDS(1));
  EXPECT_EQ(handlers().size(), 8U);  // handleDefaultDS, the four, and handlePortTablesIndex once for each port
}

TEST_F(Subscriptions, ADefaultDataSetGivenWhileNotificationsAreOffIsHeardAllTheSame) {
  PtpSnmpSm& machine = device.machine();
  machine.hasNotificationActiveIs(false);
  const auto given = defaultDS(1);
  machine.defaultDSIs(given);
  EXPECT_EQ(handlers(), allFour);
  given->domainNumberIs(9);
  EXPECT_EQ(handlers().size(), 4U);
  device.status->portDSIs(portKey(2), portDS(2));
  EXPECT_THAT(device.take(), IsEmpty()) << "the status is not heard";
  machine.hasNotificationActiveIs(true);
  given->domainNumberIs(10);
  EXPECT_EQ(handlers().size(), 5U) << "bound once";
  machine.hasNotificationActiveIs(false);
  given->domainNumberIs(11);
  EXPECT_THAT(device.take(), IsEmpty());
}

TEST_F(Subscriptions, NothingChangesATableOnceTheMachineIsAZombie) {
  PtpSnmpSm& machine = device.machine();
  const Lines before = device.rows();
  machine.doZombieReactors(true);
  device.status->defaultDS()->domainNumberIs(9);
  device.status->defaultDS()->clockModeIs(Ptp::PtpMode::boundary);
  device.status->portDSDel(portKey(1));
  device.status->portDSIs(portKey(2), portDS(2));
  device.status->defaultDSIs(defaultDS(1));
  device.status->defaultDSIs(nullptr);
  EXPECT_THAT(device.take(), IsEmpty());
  machine.defaultDSIs(defaultDS(2));
  EXPECT_THAT(device.take(), IsEmpty()) << "followed, but no handler runs";
  EXPECT_EQ(device.rows(), before);
  machine.doZombieReactors(false);
  device.status->defaultDSIs(defaultDS(1));
  EXPECT_EQ(handlers().size(), 6U);
}

// The handlers that ran when the machine became a zombie at the first change of a table.
Lines handlersUntilZombieAt(AgentHarness& device, Kestor::AttributeId table, const std::function<void()>& change) {
  PtpSnmpSm& machine = device.machine();
  device.onPublication = [&machine, table](Kestor::AttributeId attribute) {
    if (attribute == table) machine.doZombieReactors(true);
  };
  change();
  device.onPublication = nullptr;
  machine.doZombieReactors(false);
  return handlersIn(device.take());
}

TEST_F(Subscriptions, AZombieInTheMiddleOfADomainChangeRunsNoFurtherHandler) {
  std::uint8_t domain = 9;
  const auto change = [&] { device.status->defaultDS()->domainNumberIs(domain++); };
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::ptpTableAttribute, change), Lines{"handlePtpTablesIndex"});
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::portTableAttribute, change),
            (Lines{"handlePtpTablesIndex", "handlePortTablesIndexColl", "handlePortTablesIndex"}))
      << "a handler under way runs to its end";
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::systemTableAttribute, change).size(), 4U);
}

TEST_F(Subscriptions, AZombieInTheMiddleOfAModeChangeRunsNoFurtherHandler) {
  unsigned mode = 4;
  const auto change = [&] { device.status->defaultDS()->clockModeIs(static_cast<Ptp::PtpMode>(5 - mode++ % 2)); };
  change();
  device.take();
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::ptpTableAttribute, change), Lines{"handlePtpTablesIndex"});
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::portTransDSTableAttribute, change).size(), 3U);
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::systemDomainTableAttribute, change),
            (Lines{"handlePtpTablesIndex", "handlePortTablesIndexColl", "handlePortTablesIndex",
                   "handleSystemDomainTableIndex"}));
}

TEST_F(Subscriptions, AZombieInTheMiddleOfAReplacementRunsNoFurtherHandler) {
  const auto change = [&] { device.status->defaultDSIs(defaultDS(4)); };
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::ptpTableAttribute, change),
            (Lines{"handleDefaultDS", "handlePtpTablesIndex"}));
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::portTableAttribute, change).size(), 4U);
  EXPECT_EQ(handlersUntilZombieAt(device, PtpMib::systemDomainTableAttribute, change).size(), 5U);
}

TEST_F(Subscriptions, AHandlerThatDeletesTheAgentDoesNotFreeTheMachineUnderTheCall) {
  const std::function<void()> changes[] = {
      [&] { device.status->defaultDS()->domainNumberIs(9); },
      [&] { device.status->defaultDS()->clockModeIs(Ptp::PtpMode::boundary); },
      [&] { device.status->defaultDSIs(defaultDS(3)); },
      [&] { device.status->portDSDel(portKey(1)); },
  };
  for (const auto& change : changes) {
    device.start();
    std::size_t liveInside = 0;
    device.onPublication = [&](Kestor::AttributeId) {
      device.root->agentDel();
      liveInside = PtpSnmpSm::memAllocationTracker_.live();
    };
    change();
    device.onPublication = nullptr;
    EXPECT_EQ(liveInside, 1U);
    EXPECT_EQ(PtpSnmpSm::memAllocationTracker_.live(), 0U);
    const Lines rows = device.rows();
    device.take();
    device.status->defaultDS()->domainNumberIs(77);
    EXPECT_THAT(device.take(), IsEmpty());
    EXPECT_EQ(device.rows(), rows);
  }
}

TEST_F(Subscriptions, NullInputsAreCopedWith) {
  AgentHarness bare;
  const auto agent = bare.root->agentIs(nullptr, bare.mib, nullptr);
  agent->ptpSnmpSm()->defaultDSIs(defaultDS(1));
  agent->ptpSnmpSm()->handlePortTablesIndex(portKey(1));
  EXPECT_EQ(bare.take(), (Lines{added(PtpTableKey(0, ClockType::boundaryClock, 1)), added(ClockType::boundaryClock),
                                added(SystemTableKey(0, 1))}));
  bare.root->agentDel();
  device.take();
}

}  // namespace
}  // namespace test
