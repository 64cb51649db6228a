#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <latch>
#include <sstream>
#include <thread>
#include <vector>

#include "Counted.h"
#include "Kestor/ThreadControl.h"

namespace {

using test::Counted;

class Threaded {
 public:
  Threaded() { Kestor::ThreadControl::multiThreadedIs(true); }
  Threaded(const Threaded&) = delete;
  Threaded& operator=(const Threaded&) = delete;
  ~Threaded() { Kestor::ThreadControl::multiThreadedIs(false); }
};

/// Does the work in several threads that start it at the same time.
void inThreads(std::ptrdiff_t count, const std::function<void()>& work) {
  std::latch allThere(count);
  std::vector<std::jthread> threads;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    threads.emplace_back([&] {
      allThere.arrive_and_wait();
      work();
    });
  }
}

TEST(ReferenceCount, ANodeStartsWithTheOneReferenceOfItsMaker) {
  const auto node = Kestor::make<Counted>(1);
  EXPECT_EQ(node->refCount(), 1U);
  EXPECT_EQ(Counted::live(), 1U);
}

TEST(ReferenceCount, TheLastReferenceDroppedDeletesTheNode) {
  auto first = Kestor::make<Counted>(1);
  Kestor::Ptr<const Counted> second = first;
  EXPECT_EQ(second->refCount(), 2U);
  first.reset();
  EXPECT_EQ(Counted::live(), 1U);
  EXPECT_EQ(second->refCount(), 1U);
  second.reset();
  EXPECT_EQ(Counted::live(), 0U);
}

TEST(ReferenceCount, ANodeMayBeReferredToWhileItIsDestroyed) {
  class Talkative final : public Kestor::Node {
   public:
    explicit Talkative(int& destroyed) : destroyed_(destroyed) {}
    ~Talkative() override {
      const Kestor::Ptr<const Talkative> again(this);
      ++destroyed_;
    }
    const Zarn::TypeData& typeData() const noexcept override {
      static constexpr Zarn::TypeData data{"Talkative", {}};
      return data;
    }

   private:
    int& destroyed_;
  };
  int destroyed = 0;
  Kestor::make<Talkative>(destroyed);
  EXPECT_EQ(destroyed, 1);
  const Threaded threaded;
  Kestor::make<Talkative>(destroyed);
  EXPECT_EQ(destroyed, 2);
}

class Flagged final : public Kestor::Node {
 public:
  using Node::flag;
  using Node::flagIs;
  const Zarn::TypeData& typeData() const noexcept override {
    static constexpr Zarn::TypeData data{"Flagged", {}};
    return data;
  }
};

TEST(NodeFlags, AreSetOneByOneAndLeaveTheCountAlone) {
  const auto node = Kestor::make<Flagged>();
  EXPECT_FALSE(node->flag(1));
  node->flagIs(1, true);
  node->flagIs(0x8000, true);
  EXPECT_TRUE(node->flag(1));
  EXPECT_TRUE(node->flag(0x8000));
  node->flagIs(1, false);
  EXPECT_FALSE(node->flag(1));
  EXPECT_TRUE(node->flag(0x8000));
  EXPECT_EQ(node->refCount(), 1U);
}

TEST(ReferenceCount, CountsTheSameInBothModesAndAcrossASwitch) {
  EXPECT_FALSE(Kestor::ThreadControl::multiThreaded());
  auto node = Kestor::make<Counted>(1);
  auto plain = node;
  {
    const Threaded threaded;
    EXPECT_TRUE(Kestor::ThreadControl::multiThreaded());
    const auto atomic = node;
    EXPECT_EQ(node->refCount(), 3U);
    plain.reset();
    EXPECT_EQ(node->refCount(), 2U);
  }
  EXPECT_EQ(node->refCount(), 1U);
}

TEST(ReferenceCount, ThreadsShareANodeInTheMultiThreadedMode) {
  const Threaded threaded;
  const auto node = Kestor::make<Counted>(1);
  inThreads(4, [&node] {
    for (int i = 0; i < 500'000; ++i) {
      const Kestor::Ptr<const Counted> held = node;
      const Kestor::Ptr<const Counted> again = held;
    }
  });
  EXPECT_EQ(node->refCount(), 1U);
}

TEST(ReferenceCount, ThreadsMakeAndReleaseNodesInTheMultiThreadedMode) {
  const Threaded threaded;
  inThreads(4, [] {
    for (int round = 0; round < 2000; ++round) {
      std::vector<Kestor::Ptr<Counted>> nodes;
      for (int i = 0; i < 50; ++i) nodes.push_back(Kestor::make<Counted>(i));
      for (int i = 0; i < 50; ++i) ASSERT_EQ(nodes[static_cast<std::size_t>(i)]->key(), i);
    }
  });
  EXPECT_EQ(Counted::live(), 0U);
}

TEST(ReferenceCount, TheLastUserMayBeAnyThread) {
  const Threaded threaded;
  for (int round = 0; round < 200; ++round) {
    auto node = Kestor::make<Counted>(round);
    const auto drop = [held = node]() mutable { held.reset(); };
    std::jthread other(drop);
    node.reset();
  }
  EXPECT_EQ(Counted::live(), 0U);
}

TEST(Slabs, GiveDistinctAlignedBlocksAndUseThemAgain) {
  std::vector<void*> blocks;
  for (int i = 0; i < 100; ++i) blocks.push_back(Zarn::slabAllocate(24));
  for (void* block : blocks) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U);
  }
  auto sorted = blocks;
  std::ranges::sort(sorted);
  EXPECT_EQ(std::ranges::adjacent_find(sorted), sorted.end());
  for (void* block : blocks) Zarn::slabFree(block, 24);
}

TEST(Slabs, ServeSizesBeyondTheSmallOnes) {
  void* large = Zarn::slabAllocate(5000);
  ASSERT_NE(large, nullptr);
  std::fill_n(static_cast<unsigned char*>(large), 5000, static_cast<unsigned char>(0xa5));
  Zarn::slabFree(large, 5000);
}

TEST(AllocationTracker, CountsLiveObjectsAndIsFoundAmongAll) {
  const auto first = Kestor::make<Counted>(1);
  {
    const auto second = Kestor::make<Counted>(2);
    EXPECT_EQ(Counted::live(), 2U);
  }
  EXPECT_EQ(Counted::live(), 1U);
  const auto& all = Zarn::MemAllocationTracker::all();
  const auto found = std::ranges::find(all, "test::Counted", &Zarn::MemAllocationTracker::type);
  ASSERT_NE(found, all.end());
  EXPECT_EQ(&*found, &Counted::memAllocationTracker_);
}

TEST(AllocationTracker, ForgetsAnObjectWhoseConstructorThrew) {
  struct Failing final : Kestor::Node, Zarn::SlabAllocated<Counted> {
    Failing() { throw Zarn::RangeException("no"); }
    const Zarn::TypeData& typeData() const noexcept override {
      static constexpr Zarn::TypeData data{"Failing", {}};
      return data;
    }
  };
  EXPECT_THROW(Kestor::make<Failing>(), Zarn::RangeException);
  EXPECT_EQ(Counted::live(), 0U);
}

TEST(TypeQueries, NameTheNodesRegisteredType) {
  const auto node = Kestor::make<Counted>(7);
  EXPECT_EQ(node->fwkType(), "test::Counted");
  EXPECT_EQ(node->typeData().name, "test::Counted");
  std::ostringstream os;
  os << Kestor::shown(node) << ' ' << Kestor::shown(Kestor::Ptr<Counted>());
  std::ostringstream expected;
  expected << "test::Counted@" << static_cast<const void*>(static_cast<const Kestor::Node*>(node.get())) << " null";
  EXPECT_EQ(os.str(), expected.str());
}

}  // namespace
