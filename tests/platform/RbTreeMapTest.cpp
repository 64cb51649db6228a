#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "Counted.h"
#include "Zarn/RbTreeMap.h"

namespace {

using test::Counted;
using Map = Zarn::RbTreeMap<int, Counted>;

void take(Map& map, const Kestor::Ptr<Counted>& row) {
  map.findOrInsert(row->key(), [&] { return row; });
}

void fill(Map& map, std::initializer_list<int> keys) {
  for (const int key : keys) take(map, Kestor::make<Counted>(key));
}

std::vector<int> keys(Map::BasicIteratorConst position) {
  std::vector<int> found;
  for (; !position.atEnd(); position.advance()) found.push_back(position->key());
  return found;
}

TEST(RbTreeMap, StartsEmpty) {
  const Map map;
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(map.begin().atEnd());
  EXPECT_TRUE(map.end().atEnd());
  EXPECT_EQ(map[1], nullptr);
}

TEST(RbTreeMap, IteratesInKeyOrderWhateverTheOrderOfInsertion) {
  Map map;
  fill(map, {5, 1, 9, 3, 7});
  EXPECT_EQ(keys(map.begin()), (std::vector{1, 3, 5, 7, 9}));
}

TEST(RbTreeMap, SeeksToPresentAndToAbsentKeys) {
  Map map;
  fill(map, {10, 20, 30});
  EXPECT_EQ(keys(map.notLess(20)), (std::vector{20, 30}));
  EXPECT_EQ(keys(map.notLess(21)), (std::vector{30}));
  EXPECT_EQ(keys(map.after(20)), (std::vector{30}));
  EXPECT_EQ(keys(map.after(19)), (std::vector{20, 30}));
  EXPECT_EQ(keys(map.find(20)), (std::vector{20, 30}));
  EXPECT_TRUE(map.find(21).atEnd());
  EXPECT_TRUE(map.notLess(31).atEnd());
  EXPECT_TRUE(map.after(30).atEnd());
}

TEST(RbTreeMap, HoldsOneReferenceToEachRow) {
  const auto row = Kestor::make<Counted>(1);
  {
    Map map;
    take(map, row);
    EXPECT_EQ(row->refCount(), 2U);
    EXPECT_EQ(map[1], row);
    EXPECT_EQ(row->refCount(), 2U);
    const Kestor::Ptr<Counted> removed = map.remove(1);
    EXPECT_EQ(removed, row);
    EXPECT_EQ(row->refCount(), 2U);
    take(map, row);
  }
  EXPECT_EQ(row->refCount(), 1U);
}

TEST(RbTreeMap, FindOrInsertMakesARowOnlyWhereThereIsNone) {
  Map map;
  const auto row = Kestor::make<Counted>(1);
  const auto [taken, isNew] = map.findOrInsert(1, [&] { return row; });
  EXPECT_TRUE(isNew);
  EXPECT_EQ(taken, row);
  const auto [found, isNewAgain] = map.findOrInsert(1, []() -> Kestor::Ptr<Counted> {
    ADD_FAILURE() << "made a row that was there";
    return nullptr;
  });
  EXPECT_FALSE(isNewAgain);
  EXPECT_EQ(found, row);
}

TEST(RbTreeMap, RemovingAnAbsentKeyGivesNull) {
  Map map;
  fill(map, {1});
  EXPECT_EQ(map.remove(2), nullptr);
  EXPECT_EQ(keys(map.begin()), (std::vector{1}));
}

TEST(RbTreeMap, LookupCreatesNothing) {
  Map map;
  EXPECT_EQ(map[4], nullptr);
  EXPECT_EQ(std::as_const(map)[4], nullptr);
  EXPECT_TRUE(map.empty());
}

TEST(RbTreeMapIterator, HoldsItsRow) {
  Map map;
  fill(map, {1, 2});
  auto position = map.begin();
  EXPECT_EQ(position->refCount(), 2U);
  map.remove(1);
  EXPECT_EQ(position->key(), 1);
  EXPECT_EQ((*position).key(), 1);
  EXPECT_EQ(position->refCount(), 1U);
  position.advance();
  EXPECT_EQ(Counted::live(), 1U);
  EXPECT_EQ(position->key(), 2);
}

TEST(RbTreeMapIterator, GoesOnAfterItsRowWasDeleted) {
  Map map;
  fill(map, {1, 2, 3});
  auto position = map.find(2);
  map.remove(2);
  position.advance();
  EXPECT_EQ(position->key(), 3);
}

TEST(RbTreeMapIterator, GoesOnAfterItsRowAndTheNextOnesWereDeleted) {
  Map map;
  fill(map, {1, 2, 3, 4});
  auto position = map.find(2);
  for (const int key : {2, 3, 1}) map.remove(key);
  position.advance();
  EXPECT_EQ(position->key(), 4);
  map.remove(4);
  position.advance();
  EXPECT_TRUE(position.atEnd());
}

TEST(RbTreeMapIterator, SeesARowInsertedAheadOfIt) {
  Map map;
  fill(map, {1, 3});
  auto position = map.begin();
  fill(map, {2});
  EXPECT_EQ(keys(position), (std::vector{1, 2, 3}));
}

TEST(RbTreeMapIterator, GoesPastARowThatWasReplacedUnderItsKey) {
  Map map;
  fill(map, {1, 2, 3});
  auto position = map.find(2);
  map.remove(2);
  fill(map, {2});
  EXPECT_NE(position.node(), std::as_const(map)[2]);
  position.advance();
  EXPECT_EQ(position->key(), 3);
}

TEST(RbTreeMapIterator, ACopyIsAPositionOfItsOwn) {
  Map map;
  fill(map, {1, 2});
  const auto first = map.begin();
  auto second = first;
  second.advance();
  EXPECT_EQ(first->key(), 1);
  EXPECT_EQ(second->key(), 2);
}

TEST(RbTreeMapIterator, ADefaultOneStandsAtTheEnd) { EXPECT_TRUE(Map::BasicIteratorConst().atEnd()); }

TEST(RbTreeMap, WritesItsKeysInOrder) {
  Map map;
  std::ostringstream os;
  os << map << ' ';
  fill(map, {2, 1});
  os << map;
  EXPECT_EQ(os.str(), "{} {1,2}");
}

}  // namespace
