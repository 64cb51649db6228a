#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <sstream>

#include "Changes.h"
#include "Zarn/Exception.h"
#include "Zarn/TypeData.h"

namespace {

using test::Change;
using test::ChangeLog;
using test::Changes;
using test::Fields;

template <class Table>
struct Container : testing::Test {
  using Key = typename Table::Key;
  using Row = typename Table::Row;

  Kestor::Ptr<Row> is(std::uint32_t n) { return Table::is(*mib, Table::key(n), inputs); }
  std::vector<Fields> fill(std::initializer_list<std::uint32_t> numbers) {
    std::vector<Fields> expected;
    for (const std::uint32_t n : numbers) {
      is(n);
      expected.push_back(Table::fields(Table::key(n)));
    }
    std::ranges::sort(expected);
    changes.take();
    return expected;
  }
  Changes changeOf(std::uint32_t n) { return {Change{Table::attribute, Table::fields(Table::key(n))}}; }
  std::vector<Fields> contents() { return test::contents<Table>(*mib); }

  test::Inputs inputs;
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::PtpMib::PtpMibIs("ptpmib");
  ChangeLog changes{*mib};
};
TYPED_TEST_SUITE(Container, test::AllTables, test::TableName);

TYPED_TEST(Container, StartsEmpty) {
  EXPECT_TRUE(TypeParam::map(*this->mib).empty());
  EXPECT_TRUE(TypeParam::map(*this->mib).begin().atEnd());
  EXPECT_EQ(TypeParam::lookup(*this->mib, TypeParam::key(1)), nullptr);
}

TYPED_TEST(Container, IsMakesARowFromTheKeyAndTheArguments) {
  const auto row = this->is(9);
  EXPECT_EQ(TypeParam::fields(row->key()), TypeParam::fields(TypeParam::key(9)));
  EXPECT_EQ(row->ptpStatus(), this->inputs.status);
  EXPECT_EQ(this->contents(), std::vector{TypeParam::fields(TypeParam::key(9))});
  EXPECT_EQ(this->changes.take(), this->changeOf(9));
}

TYPED_TEST(Container, TheTableHoldsTheRowsOneReference) {
  auto row = this->is(1);
  EXPECT_EQ(row->refCount(), 2U);
  const auto* bare = row.get();
  row.reset();
  EXPECT_EQ(bare->refCount(), 1U);
  EXPECT_EQ(TypeParam::Row::memAllocationTracker_.live(), 1U);
}

TYPED_TEST(Container, IsTwiceWithTheSameArgumentsReturnsTheSameRowAndPublishesOnce) {
  const auto row = this->is(1);
  EXPECT_EQ(this->is(1), row);
  EXPECT_EQ(this->changes.take(), this->changeOf(1));
  EXPECT_EQ(row->refCount(), 2U);
  EXPECT_EQ(this->contents().size(), 1U);
}

TYPED_TEST(Container, IsWithADifferentArgumentNamesTypeAndAttributeAndChangesNothing) {
  const auto row = this->is(1);
  this->changes.take();
  for (const std::string argument : TypeParam::arguments) {
    test::Inputs different = this->inputs;
    if (argument == "ptpStatus") different.status = Kestor::make<Ptp::Status>("another");
    if (argument == "portDSKey") different.portDSKey = test::port2;
    if (argument == "ifMib") different.ifMib = Kestor::make<IntfSnmp::IfMib>("another");
    try {
      TypeParam::is(*this->mib, TypeParam::key(1), different);
      ADD_FAILURE() << argument;
    } catch (const Zarn::ReinstantiationException& error) {
      const std::string message = error.what();
      EXPECT_NE(message.find(std::string(row->fwkType()) + " "), std::string::npos) << message;
      EXPECT_NE(message.find("different " + argument), std::string::npos) << message;
    }
    EXPECT_EQ(TypeParam::lookup(*this->mib, TypeParam::key(1)), row);
    EXPECT_EQ(row->ptpStatus(), this->inputs.status);
    EXPECT_EQ(row->refCount(), 2U);
    EXPECT_EQ(this->changes.take(), Changes{});
    EXPECT_EQ(this->contents().size(), 1U);
  }
}

TYPED_TEST(Container, IsWithANullStatusIsAnArgumentLikeAnother) {
  test::Inputs without = this->inputs;
  without.status = nullptr;
  const auto row = TypeParam::is(*this->mib, TypeParam::key(1), without);
  EXPECT_EQ(row->ptpStatus(), nullptr);
  EXPECT_EQ(TypeParam::is(*this->mib, TypeParam::key(1), without), row);
  EXPECT_THROW(this->is(1), Zarn::ReinstantiationException);
}

TYPED_TEST(Container, AKeyIsReboundByDeletingItsRowFirst) {
  const auto old = this->is(1);
  TypeParam::del(*this->mib, TypeParam::key(1));
  test::Inputs different = this->inputs;
  different.status = Kestor::make<Ptp::Status>("another");
  const auto row = TypeParam::is(*this->mib, TypeParam::key(1), different);
  EXPECT_NE(row, old);
  EXPECT_EQ(row->ptpStatus(), different.status);
}

TYPED_TEST(Container, DelTakesTheRowOutAndReturnsItAndPublishes) {
  const auto* made = this->is(1).get();
  this->fill({0, 2});
  auto row = TypeParam::del(*this->mib, TypeParam::key(1));
  EXPECT_EQ(row.get(), made);
  EXPECT_EQ(row->refCount(), 1U);
  EXPECT_EQ(this->changes.take(), this->changeOf(1));
  EXPECT_EQ(this->contents().size(), 2U);
  row.reset();
  EXPECT_EQ(TypeParam::Row::memAllocationTracker_.live(), 2U);
}

TYPED_TEST(Container, DelOfAMissingKeyReturnsNullAndPublishesNothing) {
  const auto expected = this->fill({0, 2});
  EXPECT_EQ(TypeParam::del(*this->mib, TypeParam::key(1)), nullptr);
  EXPECT_EQ(this->changes.take(), Changes{});
  EXPECT_EQ(this->contents(), expected);
}

TYPED_TEST(Container, DelByTheKeyThatTheRowItselfHolds) {
  this->is(1);
  this->changes.take();
  const auto* row = TypeParam::lookup(*this->mib, TypeParam::key(1)).get();
  TypeParam::del(*this->mib, row->key());
  EXPECT_EQ(this->changes.take(), this->changeOf(1));
}

TYPED_TEST(Container, DelAtAPositionTakesThatRowOut) {
  this->fill({0, 1, 2});
  auto position = TypeParam::map(*this->mib).find(TypeParam::key(1));
  const auto row = TypeParam::delAt(*this->mib, position);
  EXPECT_EQ(row, position.node());
  EXPECT_EQ(this->changes.take(), this->changeOf(1));
  position.advance();
  EXPECT_EQ(TypeParam::fields(position->key()), TypeParam::fields(TypeParam::key(2)));
}

TYPED_TEST(Container, DelAtAPositionWhoseRowIsGoneChangesNothing) {
  this->fill({0, 1});
  const auto position = TypeParam::map(*this->mib).find(TypeParam::key(1));
  TypeParam::del(*this->mib, TypeParam::key(1));
  this->changes.take();
  EXPECT_EQ(TypeParam::delAt(*this->mib, position), nullptr);
  const auto replacement = this->is(1);
  this->changes.take();
  EXPECT_EQ(TypeParam::delAt(*this->mib, position), nullptr);
  EXPECT_EQ(TypeParam::lookup(*this->mib, TypeParam::key(1)), replacement);
  EXPECT_EQ(this->changes.take(), Changes{});
}

TYPED_TEST(Container, DelAllEmptiesTheTableAndPublishesEachRowInAscendingKeyOrder) {
  const auto expected = this->fill({7, 3, 11, 0, 5});
  TypeParam::delAll(*this->mib);
  EXPECT_TRUE(TypeParam::map(*this->mib).empty());
  Changes ascending;
  for (const Fields& key : expected) ascending.push_back({TypeParam::attribute, key});
  EXPECT_EQ(this->changes.take(), ascending);
  EXPECT_EQ(TypeParam::Row::memAllocationTracker_.live(), 0U);
  TypeParam::delAll(*this->mib);
  EXPECT_EQ(this->changes.take(), Changes{});
}

TYPED_TEST(Container, LookupFindsARowAndNeverCreates) {
  const auto row = this->is(1);
  EXPECT_EQ(TypeParam::lookup(*this->mib, TypeParam::key(1)), row);
  EXPECT_EQ(TypeParam::map(*this->mib)[TypeParam::key(1)], row);
  EXPECT_EQ(TypeParam::lookup(*this->mib, TypeParam::key(2)), nullptr);
  EXPECT_EQ(TypeParam::map(*this->mib)[TypeParam::key(2)], nullptr);
  EXPECT_EQ(this->contents().size(), 1U);
  EXPECT_EQ(row->refCount(), 2U);
}

TYPED_TEST(Container, IteratesInKeyOrderWhateverTheOrderOfInsertion) {
  std::mt19937 random(2008);
  std::vector<std::uint32_t> numbers(100);
  std::iota(numbers.begin(), numbers.end(), 0);
  std::ranges::shuffle(numbers, random);
  std::vector<Fields> expected;
  for (const std::uint32_t n : numbers) {
    this->is(n);
    expected.push_back(TypeParam::fields(TypeParam::key(n)));
  }
  std::ranges::sort(expected);
  EXPECT_EQ(this->contents(), expected);
}

TYPED_TEST(Container, ATablesChangeIsInPlaceWhenItIsPublished) {
  bool there = false;
  this->changes.reaction = [&] { there = TypeParam::lookup(*this->mib, TypeParam::key(1)) != nullptr; };
  this->is(1);
  EXPECT_TRUE(there);
  TypeParam::del(*this->mib, TypeParam::key(1));
  EXPECT_FALSE(there);
}

TYPED_TEST(Container, ItsTablesAreAttributesThatShowTheirKeys) {
  EXPECT_EQ(Zarn::attributeText(*this->mib, TypeParam::name), "{}");
  this->fill({1, 0});
  std::ostringstream os;
  os << '{' << TypeParam::key(0) << ',' << TypeParam::key(1) << '}';
  EXPECT_EQ(Zarn::attributeText(*this->mib, TypeParam::name), os.str());
  EXPECT_EQ(this->mib->typeData().attribute(TypeParam::name)->id, TypeParam::attribute);
}

TYPED_TEST(Container, RowsAnswerTheTypeQueries) {
  const auto row = this->is(1);
  EXPECT_EQ(row->fwkType(), TypeParam::Row::memAllocationTracker_.type());
  EXPECT_EQ(&row->typeData(), &TypeParam::Row::type());
}

TEST(SystemDomainTable, DelOfAClockTypeWithoutARowReturnsNullAndPublishesNothing) {
  const auto mib = PtpSnmp::ptpMibFactory("ptpmib");
  ChangeLog changes(*mib);
  EXPECT_EQ(mib->systemDomainTableDel(PtpSnmp::ClockType::transparentClock), nullptr);
  EXPECT_EQ(changes.take(), Changes{});
}

TEST(PortTable, IteratesByDomainClockTypeInstanceAndPortNumber) {
  using enum PtpSnmp::ClockType;
  const auto mib = PtpSnmp::ptpMibFactory("ptpmib");
  const test::Inputs in;
  const PtpSnmp::PortTableKey ascending[] = {{0, boundaryClock, 1, 2}, {0, boundaryClock, 1, 10},
                                             {0, boundaryClock, 2, 1}, {0, transparentClock, 0, 1},
                                             {1, ordinaryClock, 0, 0}, {4294967295, ordinaryClock, 0, 0}};
  for (const std::size_t i : {4U, 1U, 5U, 0U, 3U, 2U}) {
    mib->portTableIs(ascending[i], in.status, in.portDSKey, in.ifMib);
  }
  auto position = mib->portTable().begin();
  for (const auto& key : ascending) {
    ASSERT_FALSE(position.atEnd());
    EXPECT_EQ(position->key(), key);
    position.advance();
  }
  EXPECT_TRUE(position.atEnd());
}

}  // namespace
