#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "Zarn/HashMap2018.h"

namespace {

std::vector<std::uint64_t> seeds;

struct Numbers {
  using Key = std::uint64_t;
  using Value = std::string;
  static std::uint64_t hash(const Key& key, std::uint64_t seed) {
    seeds.push_back(seed);
    return Zarn::singleAttributeHash(key, seed);
  }
};
using Map = Zarn::HashMap2018<Numbers>;

TEST(HashMap, FindsWhatWasInsertedAndNothingElse) {
  Map map;
  EXPECT_TRUE(map.empty());
  map.insertOrAssign(1, "one");
  map.insertOrAssign(2, "two");
  ASSERT_NE(map.find(1), nullptr);
  EXPECT_EQ(*map.find(1), "one");
  EXPECT_EQ(map.find(3), nullptr);
  EXPECT_EQ(map.size(), 2U);
}

TEST(HashMap, AssigningReplacesTheValue) {
  Map map;
  map.insertOrAssign(1, "one");
  map.insertOrAssign(1, "uno");
  EXPECT_EQ(*map.find(1), "uno");
  EXPECT_EQ(map.size(), 1U);
}

TEST(HashMap, RemovingTellsWhetherTheKeyWasThere) {
  Map map;
  map.insertOrAssign(1, "one");
  EXPECT_TRUE(map.remove(1));
  EXPECT_FALSE(map.remove(1));
  map.insertOrAssign(2, "two");
  map.clear();
  EXPECT_TRUE(map.empty());
}

TEST(HashMap, IteratesOverEveryElementOnce) {
  Map map;
  std::set<std::uint64_t> expected;
  for (std::uint64_t key = 0; key < 100; ++key) {
    map.insertOrAssign(key, std::to_string(key));
    expected.insert(key);
  }
  std::set<std::uint64_t> found;
  for (const auto& [key, value] : map) {
    EXPECT_TRUE(found.insert(key).second);
    EXPECT_EQ(value, std::to_string(key));
  }
  EXPECT_EQ(found, expected);
}

TEST(HashMap, KeepsEveryOtherElementWhileSomeAreRemoved) {
  Map map;
  for (std::uint64_t key = 0; key < 1000; ++key) map.insertOrAssign(key, std::to_string(key));
  for (std::uint64_t key = 0; key < 1000; key += 3) EXPECT_TRUE(map.remove(key));
  for (std::uint64_t key = 0; key < 1000; ++key) {
    const std::string* found = map.find(key);
    ASSERT_EQ(found == nullptr, key % 3 == 0) << key;
    if (found != nullptr) {
      EXPECT_EQ(*found, std::to_string(key));
    }
  }
  EXPECT_EQ(map.size(), 666U);
}

TEST(HashMap, HashesEveryKeyOverTheSeedOfTheProcess) {
  seeds.clear();
  Map map;
  map.insertOrAssign(1, "one");
  map.find(2);
  map.remove(3);
  ASSERT_FALSE(seeds.empty());
  for (const std::uint64_t seed : seeds) EXPECT_EQ(seed, Zarn::hashSeed());
}

TEST(HashSeed, IsDrawnAnewByEachProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the child starts from main and draws a seed of its own
  ::setenv("PARENTS_SEED", std::to_string(Zarn::hashSeed()).c_str(), 0);
  EXPECT_EXIT(std::exit(std::getenv("PARENTS_SEED") == std::to_string(Zarn::hashSeed()) ? 1 : 0),
              testing::ExitedWithCode(0), "");
  ::unsetenv("PARENTS_SEED");
}

TEST(SingleAttributeHash, DependsOnTheValueAndOnTheSeed) {
  EXPECT_EQ(Zarn::singleAttributeHash(1, 2), Zarn::singleAttributeHash(1, 2));
  EXPECT_NE(Zarn::singleAttributeHash(1, 2), Zarn::singleAttributeHash(3, 2));
  EXPECT_NE(Zarn::singleAttributeHash(1, 2), Zarn::singleAttributeHash(1, 3));
}

}  // namespace
