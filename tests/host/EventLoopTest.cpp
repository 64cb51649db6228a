#include "EventLoop.h"

#include "NetSnmp.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace host {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(EventLoopTest, ATimerCallsBackOnceAndNotBeforeItsDelay) {
  EventLoop loop;
  const Clock::time_point start = Clock::now();
  int calls = 0;
  const auto timer = loop.after(5ms, [&] { ++calls; });
  const auto later = loop.after(50ms, [&] { loop.stop(); });
  loop.run();
  EXPECT_EQ(calls, 1);
  EXPECT_GE(Clock::now() - start, 50ms);
}

TEST(EventLoopTest, APeriodicTimerCallsBackAgain) {
  EventLoop loop;
  int calls = 0;
  const auto timer = loop.every(1ms, [&] {
    if (++calls == 5) loop.stop();
  });
  loop.run();
  EXPECT_EQ(calls, 5);
}

TEST(EventLoopTest, TimersCallBackInTheOrderOfTheirTimesHoweverTheyWereMade) {
  EventLoop loop;
  std::string order;
  const auto third = loop.after(30ms, [&] {
    order += '3';
    loop.stop();
  });
  const auto first = loop.after(1ms, [&] { order += '1'; });
  const auto second = loop.after(10ms, [&] { order += '2'; });
  loop.run();
  EXPECT_EQ(order, "123");
}

TEST(EventLoopTest, ATimerMayEndItselfOrAnotherThatIsDue) {
  EventLoop loop;
  std::string calls;
  EventLoop::Handle itself, other;
  itself = loop.after(1ms, [&] {
    calls += "itself ";
    other.reset();
    itself.reset();
  });
  other = loop.after(1ms, [&] { calls += "other "; });
  const auto last = loop.after(20ms, [&] { loop.stop(); });
  const Clock::time_point bothDue = Clock::now() + 2ms;
  while (Clock::now() < bothDue) {
  }
  loop.run();
  EXPECT_EQ(calls, "itself ");
}

TEST(EventLoopTest, ATimerMayBeReplacedInItsCallback) {
  EventLoop loop;
  EventLoop::Handle timer;
  int calls = 0;
  std::function<void()> again = [&] {
    if (++calls == 3) return loop.stop();
    timer = loop.after(0ms, again);
  };
  timer = loop.after(0ms, again);
  loop.run();
  EXPECT_EQ(calls, 3);
}

TEST(EventLoopTest, ATimerMayOutliveItsLoop) {
  EventLoop::Handle timer;
  {
    EventLoop loop;
    timer = loop.after(1ms, [] {});
  }
  timer.reset();
}

TEST(EventLoopTest, WhatATimerThrowsEndsTheLoop) {
  EventLoop loop;
  const auto throwing = loop.after(1ms, [] { throw std::runtime_error("no"); });
  EXPECT_THROW(loop.run(), std::runtime_error);
}

// They would begin anew after years.
TEST(EventLoopTest, TimersTakeNoNumbersOfTheLibrarysAlarms) {
  const auto number = [] {
    const unsigned taken = snmp_alarm_register(
        1, 0, [](unsigned, void*) {}, nullptr);
    snmp_alarm_unregister(taken);
    return taken;
  };
  EventLoop loop;
  const unsigned before = number();
  for (int i = 0; i < 100; ++i) {
    const auto once = loop.after(1s, [] {});
    const auto again = loop.every(1s, [] {});
  }
  EXPECT_EQ(number(), before + 1);
}

}  // namespace
}  // namespace host
