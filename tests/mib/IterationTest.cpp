#include "Iteration.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;
using testing::ElementsAreArray;

class IterationTest : public testing::TestWithParam<Table> {
 protected:
  IterationTest() { addRows(device_); }

  const Table& table_ = GetParam();
  Device device_;
  const std::vector<Oid>& rows_ = rowIndexes(GetParam());
};

TEST_P(IterationTest, AWalkWithoutAHintVisitsTheRowsInIndexOrder) {
  Walk walk(table_, device_);
  std::vector<Oid> visited;
  for (auto index = walk.first(); index; index = walk.next()) visited.push_back(*index);
  EXPECT_THAT(visited, ElementsAreArray(rows_));
  const unsigned long steps = rows_.size() - 1;
  EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 1, 0, 1, steps));
}

TEST_P(IterationTest, AHintThatNamesARowStartsThereWithOneSearch) {
  for (const Oid& row : rows_) {
    Walk walk(table_, device_);
    const Hint hint(table_, row);
    EXPECT_EQ(walk.first(&hint), row);
    EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 1, 0, 0, 0, 0));
  }
}

TEST_P(IterationTest, ACompleteHintThatNamesNoRowIsCountedAndStartsAtTheFirstRow) {
  for (const Oid& row : rows_) {
    Oid absent = row;
    if (table_.indexes.size() == 1) {
      absent[0] = 2;  // a clock type without a row
    } else {
      absent.back() += absent.back() == 4294967295 ? -1 : 1;
      if (std::find(rows_.begin(), rows_.end(), absent) != rows_.end()) absent.back() = 4000000000;
    }
    Walk walk(table_, device_);
    const Hint hint(table_, absent);
    EXPECT_EQ(walk.first(&hint), rows_.front()) << "not at the neighbour";
    EXPECT_THAT(walk.takeCounts(), ElementsAre(1, 0, 1, 0, 0, 0));
  }
}

TEST_P(IterationTest, AHintOfAnotherLengthStartsAtTheFirstRow) {
  Oid longer = rows_.back();
  longer.push_back(1);
  const Oid shorter(rows_.back().begin(), rows_.back().end() - 1);
  for (const Oid& index : {longer, shorter, Oid{}}) {
    Walk walk(table_, device_);
    const Hint hint(table_, index);
    EXPECT_EQ(walk.first(&hint), rows_.front());
    EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 1, 0, 0, 0));
  }
}

TEST_P(IterationTest, AHintThatCountsMoreComponentsThanItListsStartsAtTheFirstRow) {
  for (std::size_t left = 0; left < table_.indexes.size(); ++left) {
    Walk walk(table_, device_);
    Hint hint(table_, rows_.back());
    hint.cut(left);
    EXPECT_EQ(walk.first(&hint), rows_.front());
    EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 1, 0, 0, 0));
  }
}

TEST_P(IterationTest, AHintThatListsMoreComponentsThanItCountsIsReadAsFarAsItCounts) {
  Walk walk(table_, device_);
  Hint hint(table_, rows_.back());
  hint.append(ASN_UNSIGNED, 1);
  --hint.info.number_indexes;
  EXPECT_EQ(walk.first(&hint), rows_.back());
}

TEST_P(IterationTest, AnEmptyTableHasALoopContextAtItsEnd) {
  Device empty;
  Walk walk(table_, empty);
  const Hint hint(table_, rows_.front());
  EXPECT_EQ(walk.first(), std::nullopt);
  EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 1, 0, 0, 0));
  EXPECT_EQ(walk.first(&hint), std::nullopt);
  EXPECT_THAT(walk.takeCounts(), ElementsAre(1, 0, 1, 0, 0, 0));
}

TEST_P(IterationTest, NextAtTheEndIsCountedAndLeavesTheContextsAlone) {
  Walk walk(table_, device_);
  const Hint hint(table_, rows_.back());
  walk.first(&hint);
  void* const data = walk.makeDataContext();
  EXPECT_EQ(walk.next(), std::nullopt);
  walk.takeCounts();
  walk.dataContext = data;
  void* const loop = walk.loopContext;
  EXPECT_EQ(walk.next(), std::nullopt);
  EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 0, 1, 0, 0));
  EXPECT_EQ(walk.dataContext, data);
  EXPECT_EQ(walk.at(data), rows_.back());
  EXPECT_EQ(walk.loopContext, loop);
  EXPECT_EQ(walk.at(loop), std::nullopt);
  walk.freeDataContext(data);
}

TEST_P(IterationTest, AnIndexWithTooFewPlacesIsWrittenAsFarAsItGoes) {
  Walk walk(table_, device_);
  walk.first();
  for (std::size_t places = 0; places < table_.indexes.size(); ++places) {
    netsnmp_variable_list* indexes = nullptr;
    for (std::size_t i = 0; i < places; ++i) snmp_varlist_add_variable(&indexes, nullptr, 0, ASN_NULL, nullptr, 0);
    EXPECT_EQ(table_.iterationHelper(walk.loopContext, indexes), indexes);
    Oid written;
    for (const auto* place = indexes; place != nullptr; place = place->next_variable) {
      EXPECT_EQ(place->type, table_.indexes[written.size()].type);
      written.push_back(static_cast<oid>(*place->val.integer));
    }
    EXPECT_EQ(written, Oid(rows_.front().begin(), rows_.front().begin() + static_cast<std::ptrdiff_t>(places)));
    snmp_free_varbind(indexes);
  }
}

TEST_P(IterationTest, NextWithoutALoopContextIsCountedTheSame) {
  Walk walk(table_, device_);
  EXPECT_EQ(walk.next(), std::nullopt);
  EXPECT_THAT(walk.takeCounts(), ElementsAre(0, 0, 0, 1, 0, 0));
}

TEST_P(IterationTest, NextTakesADataContextAlong) {
  Walk walk(table_, device_);
  walk.first();
  void* const data = walk.makeDataContext();
  walk.dataContext = data;
  EXPECT_EQ(walk.next(), rows_[1]);
  EXPECT_EQ(walk.dataContext, data);
  EXPECT_EQ(walk.at(data), rows_[1]);
  walk.freeDataContext(data);
}

TEST_P(IterationTest, OnlyMakeDataContextMakesADataContext) {
  Walk walk(table_, device_);
  walk.first();
  EXPECT_EQ(walk.dataContext, nullptr);
  walk.next();
  EXPECT_EQ(walk.dataContext, nullptr);
  void* const one = walk.makeDataContext();
  void* const two = walk.makeDataContext();
  EXPECT_NE(one, two);
  EXPECT_NE(one, walk.loopContext);
  walk.freeDataContext(one);
  walk.freeDataContext(two);
}

TEST_P(IterationTest, FreeingNoContextDoesNothing) {
  table_.freeDataContext(nullptr, nullptr);
  table_.freeLoopContextAtEnd(nullptr, nullptr);
}

TEST_P(IterationTest, ATableWithoutCountersIsWalkedTheSame) {
  Walk walk(table_, device_);
  walk.withoutCounters();
  const Hint hint(table_, rows_.front());
  EXPECT_EQ(walk.first(&hint), rows_.front());
  EXPECT_EQ(walk.next(), rows_[1]);
  while (walk.next()) {
  }
  EXPECT_EQ(walk.next(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Tables, IterationTest, testing::ValuesIn(tables()),
                         [](const auto& each) { return each.param.name; });

TEST(SharedRowsTest, TablesOfOneIndexYieldTheSameRowsInTheSameOrder) {
  Device device;
  addRows(device);
  const auto visit = [&](const std::string& name) {
    Walk walk(table(name), device);
    std::vector<Oid> visited;
    for (auto index = walk.first(); index; index = walk.next()) visited.push_back(*index);
    return visited;
  };
  EXPECT_EQ(visit("ptpbaseClockParentDSTable"), visit("ptpbaseClockRunningTable"));
  EXPECT_EQ(visit("ptpbaseClockPortTable"), visit("ptpbaseClockPortRunningTable"));
}

TEST(RowLifetimeTest, ARowDeletedDuringAWalkStaysUntilItsContextsAreFreed) {
  Device device;
  addRows(device);
  const auto& alive = PtpSnmp::PtpTableEntry::memAllocationTracker_;
  const std::size_t before = alive.live();
  Walk walk(table("ptpbaseClockRunningTable"), device);
  walk.first();
  void* const data = walk.makeDataContext();
  device.ptpMib->ptpTableDel({1, PtpSnmp::ClockType::boundaryClock, 5});
  EXPECT_EQ(alive.live(), before);
  EXPECT_EQ(walk.next(), (Oid{1, 3, 0})) << "the walk goes on behind the deleted row";
  EXPECT_EQ(alive.live(), before) << "the data context holds it";
  walk.freeDataContext(data);
  EXPECT_EQ(alive.live(), before - 1);
}

}  // namespace
