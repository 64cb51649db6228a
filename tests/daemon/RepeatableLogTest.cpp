#include "RepeatableLog.h"

#include <gtest/gtest.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

using Lines = std::vector<std::string>;

class LinesSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
  Lines take() { return std::exchange(lines_, {}); }

 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    lines_.emplace_back(std::string(spdlog::level::to_string_view(message.level).data()) + ": " +
                        std::string(message.payload.data(), message.payload.size()));
  }
  void flush_() override {}

  Lines lines_;
};

class RepeatableLogTest : public testing::Test {
 protected:
  RepeatableLogTest() { spdlog::set_default_logger(std::make_shared<spdlog::logger>("test", sink_)); }
  ~RepeatableLogTest() override { spdlog::set_default_logger(before_); }

  static void say(int times) {
    for (int i = 1; i <= times; ++i) log::repeatable(spdlog::level::warn, "line " + std::to_string(i));
  }

  EventLoop loop_;
  const std::shared_ptr<LinesSink> sink_ = std::make_shared<LinesSink>();
  const std::shared_ptr<spdlog::logger> before_ = spdlog::default_logger();
};

TEST_F(RepeatableLogTest, LinesAreSaidAsTheyAreWhileNothingCounts) {
  say(3);
  EXPECT_EQ(sink_->take(), (Lines{"warning: line 1", "warning: line 2", "warning: line 3"}));
}

TEST_F(RepeatableLogTest, OnceTheyAreCountedTheFirstIsSaidAndAtTheEndTheirNumber) {
  {
    const log::Counting counting(loop_);
    say(3);
    EXPECT_EQ(sink_->take(), (Lines{"warning: line 1"}));
  }
  EXPECT_EQ(sink_->take(), (Lines{"warning: 2 more in the last hour like this: line 1"}));
}

TEST_F(RepeatableLogTest, WhatTheOperatorCausesIsSaidEachTime) {
  const log::Counting counting(loop_);
  say(2);
  sink_->take();
  {
    const log::Uncounted uncounted;
    say(2);
  }
  EXPECT_EQ(sink_->take(), (Lines{"warning: line 1", "warning: line 2"}));
  say(2);
  EXPECT_EQ(sink_->take(), Lines{});
}

TEST_F(RepeatableLogTest, WithTheLevelDebugEachIsSaid) {
  const log::Counting counting(loop_);
  spdlog::default_logger()->set_level(spdlog::level::debug);
  say(2);
  EXPECT_EQ(sink_->take(), (Lines{"warning: line 1", "warning: line 2"}));
}

TEST_F(RepeatableLogTest, WhatIsNotLoggedTakesNoKindsPlace) {
  const log::Counting counting(loop_);
  for (int i = 0; i < 100; ++i) log::repeatable(spdlog::level::debug, "kind " + std::to_string(i), "line");
  log::repeatable(spdlog::level::warn, "one", "one");
  log::repeatable(spdlog::level::warn, "two", "two");
  EXPECT_EQ(sink_->take(), (Lines{"warning: one", "warning: two"}));
}

TEST_F(RepeatableLogTest, AKindMayBeNamed) {
  const log::Counting counting(loop_);
  log::repeatable(spdlog::level::err, "gone", "a peer has gone");
  log::repeatable(spdlog::level::err, "gone", "another one has gone");
  log::repeatable(spdlog::level::info, "come", "a peer has come");
  EXPECT_EQ(sink_->take(), (Lines{"error: a peer has gone", "info: a peer has come"}));
}

}  // namespace
}  // namespace host
