#include <gtest/gtest.h>

#include <map>
#include <random>

#include "Changes.h"
#include "Zarn/Exception.h"

namespace {

using test::Changes;
using test::Fields;

constexpr std::uint32_t numbers = 60;  // the keys that a walk draws from
constexpr int steps = 100'000 / 6 + 1;

/// Walks a table and a std::map of the same keys side by side, and compares them after each step.
template <class Table>
class Walk {
 public:
  using Key = typename Table::Key;
  using Row = typename Table::Row;

  explicit Walk(std::uint32_t seed) : random_(seed) {
    for (int i = 0; i < 2; ++i) inputs_[i].portDSKey = i == 0 ? test::port1 : test::port2;
  }

  void step() {
    const std::uint32_t kind = random_() % 100;
    if (kind < 40) {
      expectHeldBy(2, is(draw(), inputs_[0]));
    } else if (kind < 45) {
      expectHeldBy(2, is(draw(), inputs_[1]));
    } else if (kind < 65) {
      expectHeldBy(1, del(draw()));
    } else if (kind < 75) {
      delAt(draw());
    } else if (kind < 95) {
      seek(draw());
    } else if (kind < 99) {
      deleteUnderIteration();
    } else {
      delAll();
    }
    EXPECT_EQ(changes_.take(), expectedChanges_);
    expectedChanges_.clear();
    compare();
  }

 private:
  struct Standing {
    const Row* row;
    const test::Inputs* inputs;
  };
  using Model = std::map<Fields, Standing>;

  Key draw() { return Table::key(random_() % numbers); }
  void expectChange(const Fields& key) { expectedChanges_.push_back({Table::attribute, key}); }

  void expectHeldBy(std::uint32_t count, const Kestor::Ptr<Row>& row) {
    if (row) {
      EXPECT_EQ(row->refCount(), count);
    }
  }

  Kestor::Ptr<Row> is(const Key& key, const test::Inputs& inputs) {
    const auto standing = model_.find(Table::fields(key));
    if (standing != model_.end() && standing->second.inputs != &inputs) {
      EXPECT_THROW(Table::is(*mib_, key, inputs), Zarn::ReinstantiationException);
      return nullptr;
    }
    const auto row = Table::is(*mib_, key, inputs);
    if (standing != model_.end()) {
      EXPECT_EQ(row.get(), standing->second.row);
    } else {
      model_[Table::fields(key)] = {row.get(), &inputs};
      expectChange(Table::fields(key));
    }
    return row;
  }

  /// What a deletion must return, taken out of the model.
  const Row* takeOut(const Key& key) {
    const auto standing = model_.find(Table::fields(key));
    if (standing == model_.end()) return nullptr;
    const Row* row = standing->second.row;
    model_.erase(standing);
    expectChange(Table::fields(key));
    return row;
  }

  Kestor::Ptr<Row> del(const Key& key) {
    const Row* expected = takeOut(key);
    const auto row = Table::del(*mib_, key);
    EXPECT_EQ(row.get(), expected);
    return row;
  }

  void delAt(const Key& key) {
    const auto position = Table::map(*mib_).find(key);
    EXPECT_EQ(position.atEnd(), !model_.contains(Table::fields(key)));
    if (position.atEnd()) return;
    const Row* expected = takeOut(key);
    EXPECT_EQ(Table::delAt(*mib_, position).get(), expected);
    EXPECT_EQ(position->refCount(), 1U);
  }

  void delAll() {
    for (const auto& [key, standing] : model_) expectChange(key);
    model_.clear();
    Table::delAll(*mib_);
  }

  void expectAt(const typename Model::const_iterator& expected, const auto& position) {
    ASSERT_EQ(position.atEnd(), expected == model_.cend());
    if (!position.atEnd()) {
      EXPECT_EQ(position.node().get(), expected->second.row);
    }
  }

  /// Seeks to a key that is there or not.
  void seek(const Key& key) {
    const auto& map = Table::map(*mib_);
    expectAt(model_.find(Table::fields(key)), map.find(key));
    expectAt(model_.lower_bound(Table::fields(key)), map.notLess(key));
    expectAt(model_.upper_bound(Table::fields(key)), map.after(key));
    const auto standing = model_.find(Table::fields(key));
    EXPECT_EQ(Table::lookup(*mib_, key).get(), standing == model_.end() ? nullptr : standing->second.row);
  }

  /// Iterates, and at each row now and then deletes it, the one behind it, or any other, or adds one.
  void deleteUnderIteration() {
    auto position = Table::map(*mib_).begin();
    for (auto expected = model_.cbegin(); !position.atEnd();) {
      const Fields current = Table::fields(position->key());
      ASSERT_NE(expected, model_.cend());
      ASSERT_EQ(current, expected->first);
      switch (random_() % 8) {
        case 0: del(Key(position->key())); break;
        case 1: del(draw()); break;
        case 2: is(draw(), inputs_[0]); break;
        case 3: {
          auto next = position;
          next.advance();
          if (!next.atEnd()) del(Key(next->key()));
          break;
        }
        default: break;
      }
      position.advance();
      expected = model_.upper_bound(current);
      expectAt(expected, position);
    }
  }

  /// The table has the model's rows in its order, and each is held by nobody else.
  void compare() {
    auto expected = model_.cbegin();
    auto position = Table::map(*mib_).begin();
    for (; !position.atEnd() && expected != model_.cend(); position.advance(), ++expected) {
      ASSERT_EQ(Table::fields(position->key()), expected->first);
      ASSERT_EQ(position.node().get(), expected->second.row);
      ASSERT_EQ(position->refCount(), 2U) << "the table's reference and the position's";
    }
    ASSERT_TRUE(position.atEnd());
    ASSERT_EQ(expected, model_.cend());
    ASSERT_EQ(Row::memAllocationTracker_.live(), model_.size());
    ASSERT_EQ(inputs_[0].status->refCount() + inputs_[1].status->refCount(), 2 + model_.size());
  }

  std::mt19937 random_;
  test::Inputs inputs_[2];
  Kestor::Ptr<PtpSnmp::PtpMib> mib_ = PtpSnmp::ptpMibFactory("ptpmib");
  test::ChangeLog changes_{*mib_};
  Model model_;
  Changes expectedChanges_;
};

template <class Table>
struct RandomWalk : testing::Test {};
TYPED_TEST_SUITE(RandomWalk, test::AllTables, test::TableName);

TYPED_TEST(RandomWalk, AgreesWithAnOrderedMapAtEveryStep) {
  Walk<TypeParam> walk(20'080'724);
  for (int i = 0; i < steps; ++i) {
    walk.step();
    ASSERT_FALSE(this->HasFailure()) << "at step " << i;
  }
}

}  // namespace
