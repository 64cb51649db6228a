#include <gtest/gtest.h>

#include "Changes.h"
#include "Zarn/TypeData.h"

namespace {

using test::Change;
using test::ChangeLog;
using test::Changes;

template <class Table>
void fillOne(PtpSnmp::PtpMib& mib, const test::Inputs& inputs, Changes& expected) {
  for (const std::uint32_t n : {2U, 1U}) Table::is(mib, Table::key(n), inputs);
  for (const std::uint32_t n : {1U, 2U}) expected.push_back({Table::attribute, Table::fields(Table::key(n))});
}

struct ContainerLife : testing::Test {
  /// Puts two rows into each table and returns their changes in the order in which the container lets go of them.
  Changes fill() {
    Changes expected;
    fillOne<test::PtpTable>(*mib, inputs, expected);
    fillOne<test::TransDefaultDSTable>(*mib, inputs, expected);
    fillOne<test::PortTable>(*mib, inputs, expected);
    fillOne<test::PortTransDSTable>(*mib, inputs, expected);
    fillOne<test::SystemTable>(*mib, inputs, expected);
    fillOne<test::SystemDomainTable>(*mib, inputs, expected);
    changes.take();
    return expected;
  }

  test::Inputs inputs;
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("ptpmib");
  ChangeLog changes{*mib};
};

TEST_F(ContainerLife, TheFactoriesMakeANamedCountedContainer) {
  EXPECT_EQ(PtpSnmp::PtpMib::memAllocationTracker_.live(), 1U);
  EXPECT_EQ(mib->name(), "ptpmib");
  EXPECT_EQ(mib->refCount(), 1U);
  EXPECT_EQ(mib->fwkType(), "PtpSnmp::PtpMib");
  EXPECT_EQ(&mib->typeData(), &PtpSnmp::PtpMib::type());
  EXPECT_EQ(Zarn::attributeText(*mib, "name"), "ptpmib");
  const auto another = PtpSnmp::PtpMib::PtpMibIs("another");
  EXPECT_EQ(another->name(), "another");
  EXPECT_EQ(PtpSnmp::PtpMib::memAllocationTracker_.live(), 2U);
}

TEST_F(ContainerLife, ItsEndEmptiesTheTablesInDeclarationOrderAndPublishesEachRow) {
  const Changes expected = fill();
  mib.reset();
  EXPECT_EQ(changes.take(), expected);
  EXPECT_FALSE(changes.bound());
  EXPECT_EQ(PtpSnmp::PtpMib::memAllocationTracker_.live(), 0U);
  EXPECT_EQ(inputs.status->refCount(), 1U);
  EXPECT_EQ(inputs.ifMib->refCount(), 1U);
}

TEST_F(ContainerLife, ASubscriberMayReferToTheContainerWhileItEnds) {
  fill();
  PtpSnmp::PtpMib* const bare = mib.get();
  changes.reaction = [bare] { const Kestor::Ptr<const PtpSnmp::PtpMib> held(bare); };
  mib.reset();
  EXPECT_EQ(PtpSnmp::PtpMib::memAllocationTracker_.live(), 0U);
}

TEST_F(ContainerLife, ARowOutlivesTheContainerWhileItIsHeld) {
  const auto row = mib->ptpTableIs(test::PtpTable::key(1), inputs.status);
  mib.reset();
  EXPECT_EQ(row->refCount(), 1U);
  EXPECT_EQ(row->ptpStatus(), inputs.status);
}

TEST_F(ContainerLife, TheLastHolderMayLetGoInsideANotificationOfAnyChange) {
  changes.reaction = [this] { mib.reset(); };
  mib->ptpTableIs(test::PtpTable::key(1), inputs.status);
  EXPECT_EQ(mib, nullptr);
  EXPECT_EQ(changes.take().size(), 2U) << "the row's coming, and its going with the container";

  mib = PtpSnmp::ptpMibFactory("ptpmib");
  mib->ptpTableIs(test::PtpTable::key(1), inputs.status);
  mib->ptpTableIs(test::PtpTable::key(2), inputs.status);
  ChangeLog more(*mib);
  more.reaction = [this] { mib.reset(); };
  const auto row = mib->ptpTableDel(test::PtpTable::key(1));
  EXPECT_EQ(row->refCount(), 1U);
  EXPECT_EQ(more.take().size(), 2U);
}

TEST_F(ContainerLife, TheLastHolderMayLetGoInsideDelAll) {
  for (std::uint32_t n = 0; n < 4; ++n) mib->systemTableIs(test::SystemTable::key(n), inputs.status);
  changes.take();
  changes.reaction = [this] { mib.reset(); };
  mib->systemTableDelAll();
  EXPECT_EQ(changes.take().size(), 4U);
  EXPECT_FALSE(changes.bound());
  EXPECT_EQ(PtpSnmp::PtpMib::memAllocationTracker_.live(), 0U);
}

TEST_F(ContainerLife, DelAllGoesOnWhileASubscriberDeletesTheRowsAhead) {
  for (std::uint32_t n = 0; n < 6; ++n) mib->systemTableIs(test::SystemTable::key(n), inputs.status);
  changes.take();
  changes.reaction = [this] {
    changes.reaction = nullptr;
    for (const std::uint32_t n : {1U, 2U, 4U}) mib->systemTableDel(test::SystemTable::key(n));
  };
  mib->systemTableDelAll();
  EXPECT_TRUE(mib->systemTable().empty());
  EXPECT_EQ(changes.take().size(), 6U) << "each row once";
}

TEST_F(ContainerLife, ASubscriberMayAddARowBehindDelAll) {
  for (std::uint32_t n = 1; n < 4; ++n) mib->systemTableIs(test::SystemTable::key(n), inputs.status);
  changes.reaction = [this] {
    changes.reaction = nullptr;
    mib->systemTableIs(test::SystemTable::key(0), inputs.status);
  };
  mib->systemTableDelAll();
  EXPECT_EQ(test::contents<test::SystemTable>(*mib).size(), 1U);
}

TEST_F(ContainerLife, AnExceptionWhileAChangeIsPublishedEndsTheProcess) {
  const auto addWithThrowingSubscriber = [this] {
    changes.reaction = [] { throw std::runtime_error("half told"); };
    mib->ptpTableIs(test::PtpTable::key(1), inputs.status);
  };
  EXPECT_DEATH(addWithThrowingSubscriber(), "");
  mib->ptpTableIs(test::PtpTable::key(1), inputs.status);
  const auto deleteWithThrowingSubscriber = [this] {
    changes.reaction = [] { throw std::runtime_error("half told"); };
    mib->ptpTableDel(test::PtpTable::key(1));
  };
  EXPECT_DEATH(deleteWithThrowingSubscriber(), "");
}

}  // namespace
