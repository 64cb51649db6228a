#include "Ptp/Status.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "IntfSnmp/IfMib.h"
#include "Zarn/TypeData.h"

namespace {

using Log = std::vector<std::string>;
using Ptp::Status;

const Ptp::PortDSKey port1(std::string_view("001122.fffe.334455-1"));
const Ptp::PortDSKey port2(std::string_view("001122.fffe.334455-2"));

/// Writes each change of a publisher into a log: the attribute, and the port where there is one.
struct Listener {
  explicit Listener(Kestor::Publisher& publisher) { publisher.subscriberIs(slot, notify); }
  static void notify(Kestor::Publisher&, Kestor::Subscriber& slot, Kestor::AttributeId attribute, const void* key,
                     void*) {
    auto& self = *static_cast<Listener*>(slot.owner());
    std::string change = std::to_string(attribute);
    if (self.beforeLogging) self.beforeLogging();
    if (key != nullptr) change += " " + static_cast<const Ptp::PortDSKey*>(key)->stringValue();
    self.log.push_back(change);
  }
  Log take() { return std::exchange(log, {}); }

  std::function<void()> beforeLogging;
  Log log;
  Kestor::Subscriber slot{this};
};

struct StatusTest : testing::Test {
  Kestor::Ptr<Status> status = Kestor::make<Status>("ptpStatus");
  Listener listener{status->publisher()};
};

TEST_F(StatusTest, StartsWithoutAnyDataSet) {
  EXPECT_EQ(status->defaultDS(), nullptr);
  EXPECT_EQ(status->currentDS(), nullptr);
  EXPECT_EQ(status->parentDS(), nullptr);
  EXPECT_EQ(status->timePropertiesDS(), nullptr);
  EXPECT_EQ(status->ptpMibData(), nullptr);
  EXPECT_TRUE(status->portDS().empty());
  EXPECT_EQ(status->portDS(port1), nullptr);
  for (const char* name : {"defaultDS", "currentDS", "parentDS", "timePropertiesDS", "ptpMibData"}) {
    EXPECT_EQ(Zarn::attributeText(*status, name), "null");
  }
}

TEST_F(StatusTest, PublishesEachReferenceThatChanges) {
  const auto defaultDS = Kestor::make<Ptp::DefaultDS>(Ptp::DefaultDSValues{});
  status->defaultDSIs(defaultDS);
  status->currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{}));
  status->parentDSIs(Kestor::make<Ptp::ParentDS>(Ptp::ParentDSValues{}));
  status->timePropertiesDSIs(Kestor::make<Ptp::TimePropertiesDS>(Ptp::TimePropertiesDSValues{}));
  status->ptpMibDataIs(Kestor::make<Ptp::PtpMibData>());
  EXPECT_EQ(listener.take(), (Log{"263", "264", "265", "266", "267"}));
  status->defaultDSIs(defaultDS);
  EXPECT_EQ(listener.take(), Log{}) << "the same reference is no change";
  status->defaultDSIs(nullptr);
  EXPECT_EQ(listener.take(), (Log{"263"}));
  EXPECT_EQ(defaultDS->refCount(), 1U);
}

TEST_F(StatusTest, PublishesAPortsComingChangingAndGoingWithItsKey) {
  const auto first = Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{});
  status->portDSIs(port1, first);
  status->portDSIs(port1, first);
  EXPECT_EQ(listener.take(), (Log{"275 001122.fffe.334455-1"}));
  EXPECT_EQ(status->portDS(port1), first);
  EXPECT_EQ(status->portDS(port2), nullptr);
  status->portDSIs(port1, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  EXPECT_EQ(listener.take(), (Log{"275 001122.fffe.334455-1"}));
  EXPECT_EQ(first->refCount(), 1U);
  status->portDSDel(port2);
  EXPECT_EQ(listener.take(), Log{});
  status->portDSDel(port1);
  EXPECT_EQ(listener.take(), (Log{"275 001122.fffe.334455-1"}));
  EXPECT_TRUE(status->portDS().empty());
}

TEST_F(StatusTest, AKeyThatLivesInTheDeletedEntryIsPublishedUnharmed) {
  status->portDSIs(port1, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  listener.take();
  status->portDSDel(status->portDS().begin()->first);
  EXPECT_EQ(listener.take(), (Log{"275 001122.fffe.334455-1"}));
}

TEST_F(StatusTest, APublishedKeySurvivesASubscriberThatTakesThePortOut) {
  status->portDSIs(port1, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  listener.take();
  listener.beforeLogging = [this] {
    listener.beforeLogging = nullptr;
    status->portDSDel(port1);
  };
  status->portDSIs(status->portDS().begin()->first, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  EXPECT_EQ(listener.take(), (Log{"275 001122.fffe.334455-1", "275 001122.fffe.334455-1"}));
}

TEST_F(StatusTest, AChangeIsInPlaceWhenItIsPublished) {
  bool seen = false;
  listener.beforeLogging = [&] { seen = status->portDS(port1) != nullptr; };
  status->portDSIs(port1, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  EXPECT_TRUE(seen);
  listener.beforeLogging = [&] { seen = status->portDS(port1) != nullptr; };
  status->portDSDel(port1);
  EXPECT_FALSE(seen);
}

struct DefaultDSTest : testing::Test {
  Kestor::Ptr<Ptp::DefaultDS> defaultDS = Kestor::make<Ptp::DefaultDS>(Ptp::DefaultDSValues{});
  Listener listener{defaultDS->publisher()};
};

TEST_F(DefaultDSTest, PublishesDomainNumberAndClockModeWhereTheyChange) {
  defaultDS->domainNumberIs(5);
  defaultDS->domainNumberIs(5);
  EXPECT_EQ(listener.take(), (Log{"264"}));
  defaultDS->clockModeIs(Ptp::PtpMode::boundary);
  defaultDS->clockModeIs(Ptp::PtpMode::boundary);
  EXPECT_EQ(listener.take(), (Log{"267"}));
}

TEST_F(DefaultDSTest, TakesOverAllValuesAndPublishesTheDomainBeforeTheMode) {
  Ptp::DefaultDSValues values;
  values.domainNumber = 5;
  values.clockMode = Ptp::PtpMode::ordinary;
  values.priority1 = 128;
  std::vector<Ptp::DefaultDSValues> seen;
  listener.beforeLogging = [&] { seen.push_back(defaultDS->values()); };
  defaultDS->valuesIs(values);
  EXPECT_EQ(listener.take(), (Log{"264", "267"}));
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_EQ(seen[0].priority1, 128);
  EXPECT_EQ(seen[0].clockMode, Ptp::PtpMode::disabled);
  EXPECT_EQ(seen[1], values);
  values.priority1 = 1;
  defaultDS->valuesIs(values);
  EXPECT_EQ(listener.take(), Log{}) << "a value that no row depends on";
  EXPECT_EQ(defaultDS->values(), values);
}

TEST_F(DefaultDSTest, MayBeReleasedByASubscriberBetweenItsTwoChanges) {
  Ptp::DefaultDSValues values;
  values.domainNumber = 5;
  values.clockMode = Ptp::PtpMode::ordinary;
  listener.beforeLogging = [this] { defaultDS.reset(); };
  defaultDS->valuesIs(values);
  EXPECT_EQ(listener.take(), (Log{"264", "267"}));
  EXPECT_FALSE(listener.slot.bound());
}

TEST(DataSets, AreWrittenInPlace) {
  const auto port = Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{});
  Ptp::PortDSValues values;
  values.name = "et1";
  port->valuesIs(values);
  EXPECT_EQ(port->name, "et1");
  EXPECT_EQ(port->values(), values);
}

TEST(DataSets, AnswerTheTypeQueries) {
  EXPECT_EQ(Kestor::make<Status>("s")->fwkType(), "Ptp::Status");
  EXPECT_EQ(Kestor::make<Ptp::DefaultDS>(Ptp::DefaultDSValues{})->fwkType(), "Ptp::DefaultDS");
  EXPECT_EQ(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{})->fwkType(), "Ptp::CurrentDS");
  EXPECT_EQ(Kestor::make<Ptp::ParentDS>(Ptp::ParentDSValues{})->fwkType(), "Ptp::ParentDS");
  EXPECT_EQ(Kestor::make<Ptp::TimePropertiesDS>(Ptp::TimePropertiesDSValues{})->fwkType(), "Ptp::TimePropertiesDS");
  EXPECT_EQ(Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{})->fwkType(), "Ptp::PortDS");
  EXPECT_EQ(Kestor::make<Ptp::PtpMibData>()->fwkType(), "Ptp::PtpMibData");
  EXPECT_EQ(Kestor::make<Ptp::PtpMibPortData>(Ptp::PacketCounters{})->fwkType(), "Ptp::PtpMibPortData");
  EXPECT_EQ(Kestor::make<IntfSnmp::IfMib>("ifMib")->fwkType(), "IntfSnmp::IfMib");
}

TEST(InterfaceMib, MapsInterfacesToTheirIfIndex) {
  const auto ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
  ifMib->ifIndexByIntfIdIs(Pelor::IntfId{7}, 1007);
  ASSERT_NE(ifMib->ifIndexByIntfId().find(Pelor::IntfId{7}), nullptr);
  EXPECT_EQ(*ifMib->ifIndexByIntfId().find(Pelor::IntfId{7}), 1007U);
  EXPECT_EQ(ifMib->ifIndexByIntfId().find(Pelor::IntfId{8}), nullptr);
  ifMib->ifIndexByIntfIdDel(Pelor::IntfId{7});
  EXPECT_TRUE(ifMib->ifIndexByIntfId().empty());
}

}  // namespace
