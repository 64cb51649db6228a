#include "SlicedTask.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace host {
namespace {

constexpr std::size_t portion = 1 << 20;  // more than one
const SlicedTask::Enough always = [] { return true; };
const SlicedTask::Enough never = [] { return false; };

// Frames and an exception that must survive the switches.
int sum(int depth, Pacer& pacer) {
  std::vector<int> numbers(3, depth);
  pacer.spend(portion);
  if (depth == 0) throw std::runtime_error("the end");
  try {
    return sum(depth - 1, pacer) + numbers.back();
  } catch (const std::runtime_error&) {
    numbers.push_back(1);
  }
  pacer.spend(portion);
  if (depth < 5) throw std::runtime_error("again");
  return numbers.back() + depth;
}

TEST(SlicedTask, ItDoesNothingBeforeItIsBegun) {
  int runs = 0;
  SlicedTask task([&](Pacer&) { ++runs; });
  EXPECT_FALSE(task.isRunning());
  task.run(never);
  EXPECT_EQ(runs, 0);
}

TEST(SlicedTask, ItIsLeftAfterAPortionAndContinuedThere) {
  std::vector<int> steps;
  SlicedTask task([&](Pacer& pacer) {
    for (int i = 0; i < 3; ++i) {
      steps.push_back(i);
      pacer.spend(portion);
    }
  });
  task.begin();
  for (int i = 0; i < 3; ++i) {
    task.run(always);
    EXPECT_EQ(steps.size(), static_cast<std::size_t>(i) + 1);
    EXPECT_TRUE(task.isRunning());
  }
  task.run(always);
  EXPECT_FALSE(task.isRunning());
  EXPECT_EQ(steps, (std::vector{0, 1, 2}));
}

TEST(SlicedTask, ASmallPieceOfWorkAsksNobody) {
  SlicedTask task([](Pacer& pacer) { pacer.spend(1); });
  task.begin();
  task.run([]() -> bool { throw std::logic_error("asked"); });
  EXPECT_FALSE(task.isRunning());
}

TEST(SlicedTask, ItCanBeDoneAgainAndAgain) {
  int runs = 0;
  SlicedTask task([&](Pacer& pacer) {
    pacer.spend(portion);
    ++runs;
  });
  for (int i = 1; i <= 1000; ++i) {
    task.begin();
    while (task.isRunning()) task.run(i % 2 == 0 ? always : never);
    ASSERT_EQ(runs, i);
  }
}

TEST(SlicedTask, ExceptionsInsideStayWithTheirFrames) {
  int result = 0;
  SlicedTask task([&](Pacer& pacer) { result = sum(5, pacer); });
  task.begin();
  while (task.isRunning()) {
    try {
      task.run(always);
      throw std::runtime_error("outside");
    } catch (const std::runtime_error& error) {
      ASSERT_STREQ(error.what(), "outside");
    }
  }
  EXPECT_EQ(result, 6);
}

TEST(SlicedTask, WhatTheWorkThrowsEndsItAndReachesTheCaller) {
  SlicedTask task([](Pacer& pacer) {
    pacer.spend(portion);
    throw std::bad_alloc();
  });
  for (int i = 0; i < 2; ++i) {
    task.begin();
    task.run(always);
    EXPECT_THROW(task.run(always), std::bad_alloc);
    EXPECT_FALSE(task.isRunning());
  }
}

TEST(SlicedTask, AHalfDoneOneIsUnwoundWhenItIsDestroyed) {
  const auto held = std::make_shared<int>();
  bool wentOn = false;
  {
    SlicedTask task([&](Pacer& pacer) {
      const auto copy = held;
      try {
        pacer.spend(portion);
      } catch (const std::exception&) {
      }
      wentOn = true;
    });
    task.begin();
    task.run(always);
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(wentOn);
}

using SlicedTaskDeathTest = testing::Test;

TEST(SlicedTaskDeathTest, AnOverflowOfItsStackIsAFault) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  SlicedTask task([](Pacer& pacer) {
    const std::function<int(int)> deeper = [&](int depth) {
      volatile char frame[4096] = {};
      pacer.spend(1);
      return frame[depth % 4096] + (depth == 0 ? 0 : deeper(depth - 1));
    };
    deeper(1000);
  });
  task.begin();
  EXPECT_DEATH(task.run(never), "");
}

}  // namespace
}  // namespace host
