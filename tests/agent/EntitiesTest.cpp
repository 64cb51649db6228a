// The agent's entities: how they are made, replaced and torn down.
#include "AgentHarness.h"
#include "Zarn/Exception.h"

namespace test {
namespace {

using PtpSnmp::Agent::Agent;

/// Counts what a root, or an owner above it, publishes.
class Listener {
 public:
  explicit Listener(Kestor::Publisher& publisher) {
    publisher.subscriberIs(
        slot_, [](Kestor::Publisher&, Kestor::Subscriber& slot, Kestor::AttributeId attribute, const void*, void*) {
          static_cast<Listener*>(slot.owner())->heard_.push_back(attribute);
        });
  }
  std::vector<Kestor::AttributeId> take() { return std::exchange(heard_, {}); }

 private:
  Kestor::Subscriber slot_{this};
  std::vector<Kestor::AttributeId> heard_;
};

struct Entities : testing::Test {
  Entities() { device.status->defaultDSIs(defaultDS(1)); }
  std::size_t machines() const { return PtpSnmpSm::memAllocationTracker_.live(); }

  AgentHarness device;
};

TEST_F(Entities, ARootHasItsNameAndNoAgent) {
  EXPECT_EQ(device.root->name(), "root");
  EXPECT_EQ(device.root->agent(), nullptr);
  EXPECT_EQ(Root::RootIs("other")->name(), "other");
}

TEST_F(Entities, TheSameThreeObjectsGiveTheSameAgentAndPublishNothing) {
  Listener listener(device.root->publisher());
  const auto first = device.root->agentIs(device.status, device.mib, device.ifMib);
  EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{258});
  device.take();
  EXPECT_EQ(device.root->agentIs(device.status, device.mib, device.ifMib), first);
  EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{});
  EXPECT_THAT(device.take(), IsEmpty());
}

TEST_F(Entities, AnyOtherObjectOfTheThreeReplacesTheAgentAndRebuildsEveryTable) {
  device.status->portDSIs(portKey(1), portDS(1));
  device.start();
  Listener listener(device.root->publisher());
  const Lines rebuilt = {deleted(PtpTableKey(0, ClockType::boundaryClock, 1)),
                         added(PtpTableKey(0, ClockType::boundaryClock, 1)),
                         deleted(PortTableKey(0, ClockType::boundaryClock, 1, 1)),
                         added(PortTableKey(0, ClockType::boundaryClock, 1, 1)),
                         deleted(ClockType::boundaryClock),
                         added(ClockType::boundaryClock),
                         deleted(SystemTableKey(0, 1)),
                         added(SystemTableKey(0, 1))};
  Lines twice = rebuilt;  // once for the new default data set, once for the start itself
  twice.insert(twice.end(), rebuilt.begin(), rebuilt.end());

  const auto replaced = [&](auto status, auto mib, auto ifMib) {
    const auto old = device.root->agent();
    const auto agent = device.root->agentIs(status, mib, ifMib);
    EXPECT_NE(agent, old);
    EXPECT_EQ(device.root->agent(), agent);
    EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{258});
    EXPECT_EQ(device.root->agentIs(status, mib, ifMib), agent);
  };
  replaced(device.status, device.mib, Kestor::make<IntfSnmp::IfMib>("ifMib"));
  EXPECT_EQ(device.take(), twice);

  const auto status = Kestor::make<Ptp::Status>("status");
  status->defaultDSIs(defaultDS(1));
  status->portDSIs(portKey(1), portDS(1));
  replaced(status, device.mib, device.ifMib);
  EXPECT_EQ(device.take(), twice);
  EXPECT_EQ(device.mib->systemTable(SystemTableKey(0, 1))->ptpStatus(), status);

  const auto other = PtpSnmp::ptpMibFactory("other");
  replaced(status, other, device.ifMib);
  EXPECT_THAT(device.take(), IsEmpty()) << "the container that is left keeps its rows";
  EXPECT_EQ(other->portTable().empty(), false);
  EXPECT_EQ(machines(), 1U);
}

TEST_F(Entities, TheChangeOfAgentIsPublishedUpTheTree) {
  Kestor::Publisher above;
  Listener listener(above);
  device.root->publisher().parentIs(&above);
  device.start();
  EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{258});
  device.root->agentDel();
  EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{258});
  EXPECT_EQ(device.root->agent(), nullptr);
  EXPECT_EQ(machines(), 0U);
  device.root->publisher().parentIs(nullptr);
}

TEST_F(Entities, TheNewAgentIsInPlaceWhenItsChangeIsPublished) {
  struct Seen {
    Root* root;
    Kestor::Ptr<Agent> agent;
  } seen{device.root.get(), nullptr};
  Kestor::Subscriber slot(&seen);
  device.root->publisher().subscriberIs(
      slot, [](Kestor::Publisher&, Kestor::Subscriber& subscriber, Kestor::AttributeId, const void*, void*) {
        auto* const at = static_cast<Seen*>(subscriber.owner());
        at->agent = at->root->agent();
      });
  device.start();
  EXPECT_EQ(seen.agent, device.root->agent());
}

TEST_F(Entities, AnAgentHandsItsThreeObjectsToItsMachine) {
  device.start();
  const auto& agent = device.root->agent();
  EXPECT_EQ(agent->ptpStatus(), device.status);
  EXPECT_EQ(agent->ptpMib(), device.mib);
  EXPECT_EQ(agent->ifMib(), device.ifMib);
  EXPECT_EQ(device.machine().ptpStatus(), device.status);
  EXPECT_EQ(device.machine().ptpMib(), device.mib);
  EXPECT_EQ(device.machine().ifMib(), device.ifMib);
  EXPECT_TRUE(device.machine().hasNotificationActive());
  EXPECT_TRUE(agent->hasNotificationActive());
}

TEST_F(Entities, AMachineIsKeptForTheSameObjectsAndReplacedForOthers) {
  device.start();
  const auto agent = device.root->agent();
  const auto machine = agent->ptpSnmpSm();
  EXPECT_EQ(agent->ptpSnmpSmIs(device.status, device.ifMib, device.mib), machine);
  EXPECT_THAT(device.take(), IsEmpty());
  const auto next = agent->ptpSnmpSmIs(device.status, Kestor::make<IntfSnmp::IfMib>("ifMib"), device.mib);
  EXPECT_NE(next, machine);
  EXPECT_EQ(agent->ptpSnmpSm(), next);
  EXPECT_TRUE(next->hasNotificationActive());
  device.take();
}

TEST_F(Entities, ADeletedMachineHearsNothingEvenWhileSomebodyHoldsIt) {
  device.start();
  const auto machine = device.root->agent()->ptpSnmpSm();
  device.root->agent()->ptpSnmpSmDel();
  EXPECT_EQ(device.root->agent()->ptpSnmpSm(), nullptr);
  EXPECT_FALSE(machine->hasNotificationActive());
  device.status->defaultDS()->domainNumberIs(9);
  device.status->defaultDSIs(defaultDS(3));
  EXPECT_THAT(device.take(), IsEmpty());
  device.root->agent()->ptpSnmpSmDel();
}

TEST_F(Entities, AMachineMadeByItsConstructorAloneListensThoughItsFlagIsOff) {
  const auto machine = Kestor::make<PtpSnmpSm>(device.status, device.ifMib, device.mib);
  EXPECT_FALSE(machine->hasNotificationActive());
  device.take();
  device.status->defaultDS()->domainNumberIs(9);
  EXPECT_EQ(device.take().size(), 4U);
  device.status->portDSIs(portKey(1), portDS(1));
  EXPECT_EQ(device.take().size(), 1U);
  EXPECT_TRUE(PtpSnmpSm::PtpSnmpSmIs(device.status, device.ifMib, device.mib)->hasNotificationActive());
  device.take();
}

TEST_F(Entities, AStatusWithoutADefaultDataSetBuildsNothingUntilTheFirstOneComes) {
  device.status->defaultDSIs(nullptr);
  device.root->agentIs(device.status, device.mib, device.ifMib);
  EXPECT_THAT(device.take(), IsEmpty());
  device.status->defaultDSIs(defaultDS(3));
  EXPECT_EQ(device.take(),
            (Lines{added(PtpTableKey(0, ClockType::transparentClock, 1)), added(TransDefaultDSTableKey(0, 1)),
                   added(ClockType::transparentClock), added(SystemTableKey(0, 1))}));
}

TEST_F(Entities, TeardownKeepsTheRowsAndReleasesEveryReference) {
  device.status->portDSIs(portKey(1), portDS(1));
  device.start();
  const Lines before = device.rows();
  device.root->agentDel();
  EXPECT_THAT(device.take(), IsEmpty());
  EXPECT_EQ(device.rows(), before);
  EXPECT_EQ(machines(), 0U);
  EXPECT_EQ(Agent::memAllocationTracker_.live(), 0U);
  EXPECT_EQ(device.mib->refCount(), 1U);
  EXPECT_EQ(device.status->defaultDS()->refCount(), 1U);
  EXPECT_EQ(device.ifMib->refCount(), 2U) << "this test and the port's row";
  device.root->agentDel();
}

TEST_F(Entities, AMachineWhoseStartFailsLeavesNoSubscriptionAndNoReference) {
  // Two ports under one number: the second one's row exists already, made from another key.
  device.status->portDSIs(portKey(1), portDS(3));
  device.status->portDSIs(portKey(2), portDS(3));
  EXPECT_THROW(Kestor::make<PtpSnmpSm>(device.status, device.ifMib, device.mib), Zarn::ReinstantiationException);
  EXPECT_EQ(machines(), 0U);
  EXPECT_EQ(device.mib->refCount(), 1U);
  EXPECT_EQ(device.status->defaultDS()->refCount(), 1U);
  device.mib->portTableDelAll();
  EXPECT_EQ(device.ifMib->refCount(), 1U);
  device.take();
  device.status->defaultDS()->domainNumberIs(9);
  device.status->portDSDel(portKey(2));
  device.status->defaultDSIs(defaultDS(2));
  EXPECT_THAT(device.take(), IsEmpty()) << "both subscriptions are gone";
}

TEST_F(Entities, AnAgentWhoseStartFailsLeavesTheOldOneInPlaceAndPublishesNothing) {
  device.start();
  const auto old = device.root->agent();
  const auto status = Kestor::make<Ptp::Status>("status");
  status->defaultDSIs(defaultDS(1));
  status->portDSIs(portKey(1), portDS(3));
  status->portDSIs(portKey(2), portDS(3));
  Listener listener(device.root->publisher());
  EXPECT_THROW(device.root->agentIs(status, device.mib, device.ifMib), Zarn::ReinstantiationException);
  EXPECT_EQ(device.root->agent(), old);
  EXPECT_EQ(listener.take(), std::vector<Kestor::AttributeId>{});
  EXPECT_EQ(machines(), 1U);
  device.take();
}

using EntitiesDeathTest = Entities;

TEST_F(EntitiesDeathTest, AConflictInsideANotificationEndsTheProcess) {
  device.status->portDSIs(portKey(1), portDS(3));
  device.start();
  EXPECT_DEATH(device.status->portDSIs(portKey(2), portDS(3)), "portDSKey");
}

}  // namespace
}  // namespace test
