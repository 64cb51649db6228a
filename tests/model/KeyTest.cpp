#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Keys.h"
#include "Zarn/Exception.h"
#include "Zarn/HashMap2018.h"

namespace {

using PtpSnmp::ClockType;
using PtpSnmp::PortTableKey;
using PtpSnmp::PtpTableKey;
using test::Fields;

template <class Table>
struct Keys : testing::Test {
  using Key = typename Table::Key;
  std::vector<Key> randomKeys(std::size_t count) {
    std::mt19937 random(8173);
    std::vector<Key> keys;
    for (std::size_t i = 0; i < count; ++i) keys.push_back(test::randomKey<Table>(random));
    return keys;
  }
};
TYPED_TEST_SUITE(Keys, test::KeyedTables, test::TableName);

TYPED_TEST(Keys, CompareFieldByFieldInTheOrderOfTheIndex) {
  const auto keys = this->randomKeys(300);
  for (const auto& left : keys) {
    for (const auto& right : keys) {
      ASSERT_EQ(left <=> right, TypeParam::fields(left) <=> TypeParam::fields(right)) << left << ' ' << right;
    }
  }
}

TYPED_TEST(Keys, AreEqualExactlyWhereEveryFieldIs) {
  const auto keys = this->randomKeys(300);
  for (const auto& left : keys) {
    for (const auto& right : keys) {
      const bool equal = TypeParam::fields(left) == TypeParam::fields(right);
      ASSERT_EQ(TypeParam::Key::isEq(&left, &right), equal) << left << ' ' << right;
      ASSERT_EQ(left == right, equal);
    }
  }
}

TYPED_TEST(Keys, EachFieldCounts) {
  const Fields fields{1, 1, 1, 1};
  const auto key = test::keyOf(TypeParam{}, fields);
  const std::size_t count = std::tuple_size_v<decltype(TypeParam::Key::fields())>;
  for (std::size_t i = 0; i < count; ++i) {
    Fields more = fields;
    ++more[i];
    const auto greater = test::keyOf(TypeParam{}, more);
    EXPECT_LT(key, greater) << greater;
    EXPECT_GT(greater, key) << greater;
    EXPECT_FALSE(TypeParam::Key::isEq(&key, &greater)) << greater;
  }
}

/// Room for a key that may not be read: a look at any of its fields ends the process.
class Unreadable {
 public:
  Unreadable() : page_(::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
  Unreadable(const Unreadable&) = delete;
  Unreadable& operator=(const Unreadable&) = delete;
  ~Unreadable() { ::munmap(page_, size); }
  template <class Key>
  const Key& as() const {
    return *static_cast<const Key*>(page_);
  }

 private:
  static constexpr std::size_t size = 4096;
  void* page_;
};

TYPED_TEST(Keys, AKeyEqualsItselfWithoutAReadOfItsFields) {
  const Unreadable room;
  const auto& key = room.as<typename TypeParam::Key>();
  EXPECT_TRUE((key <=> key) == 0);
  EXPECT_TRUE((TypeParam::Key::isEq(&key, &key)));
}

TYPED_TEST(Keys, AreNotHashable) {
  const auto key = TypeParam::key(1);
  try {
    key.hash(0);
    FAIL();
  } catch (const Zarn::UnhashableTypeException& error) {
    EXPECT_NE(std::string(error.what()).find(TypeParam::Key::typeName), std::string::npos);
  }
}

template <class K>
struct KeyedBy {
  using Key = K;
  using Value = int;
  static std::uint64_t hash(const Key& key, std::uint64_t seed) { return key.hash(seed); }
};

TYPED_TEST(Keys, AHashMapOfThemPassesTheExceptionOn) {
  Zarn::HashMap2018<KeyedBy<typename TypeParam::Key>> map;
  EXPECT_THROW(map.insertOrAssign(TypeParam::key(1), 1), Zarn::UnhashableTypeException);
  EXPECT_TRUE(map.empty());
}

TYPED_TEST(Keys, AreCopyable) {
  const auto key = TypeParam::key(17);
  auto copy = TypeParam::key(1);
  copy = key;
  EXPECT_EQ(copy, key);
}

TYPED_TEST(Keys, TheGreatestIndexSortsAfterEverySmallerOne) {
  const std::size_t count = std::tuple_size_v<decltype(TypeParam::Key::fields())>;
  for (std::size_t i = 0; i < count; ++i) {
    Fields greatest{};
    greatest[i] = 4294967295;
    for (const std::uint32_t smaller : {0U, 1U, 0x7fffffffU, 0x80000000U, 0xfffffffeU}) {
      Fields less{};
      less[i] = smaller;
      const auto left = test::keyOf(TypeParam{}, less);
      const auto right = test::keyOf(TypeParam{}, greatest);
      if (TypeParam::fields(right) != greatest) continue;  // a clock type, which has no such code
      EXPECT_LT(left, right) << left << ' ' << right;
      EXPECT_GT(right, left) << left << ' ' << right;
    }
  }
}

TEST(PtpTableKeyOrder, TheClockTypeOutranksTheInstanceButNotTheDomain) {
  const PtpTableKey first(1, ClockType::boundaryClock, 5);
  const PtpTableKey second(1, ClockType::transparentClock, 0);
  const PtpTableKey third(2, ClockType::ordinaryClock, 0);
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_LT(first, third);
}

TEST(PortTableKeyOrder, TheInstanceOutranksThePortNumber) {
  const PortTableKey smaller(1, ClockType::boundaryClock, 4, 4294967295);
  const PortTableKey larger(1, ClockType::boundaryClock, 5, 0);
  EXPECT_LT(smaller, larger);
  EXPECT_GT(larger, smaller);
  EXPECT_LT(PtpSnmp::PortTransDSTableKey(1, 4, 4294967295), PtpSnmp::PortTransDSTableKey(1, 5, 0));
}

TEST(KeyConstruction, TakesTheFieldsInTheOrderOfTheIndex) {
  const PortTableKey port(1, ClockType::boundaryNode, 2, 3);
  EXPECT_EQ(port.domainIndex, 1U);
  EXPECT_EQ(port.clockTypeIndex, ClockType::boundaryNode);
  EXPECT_EQ(port.instanceIndex, 2U);
  EXPECT_EQ(port.portNumberIndex, 3U);
  const PtpSnmp::SystemTableKey system(4, 5);
  EXPECT_EQ(system.ptpDomainIndex, 4U);
  EXPECT_EQ(system.ptpInstanceIndex, 5U);
}

}  // namespace
