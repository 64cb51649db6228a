#include "ReplaySource.h"

#include "NetSnmp.h"

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace host {
namespace {

using namespace std::chrono_literals;

// Collects the steps removed, -1 where there is none, until there are as many as the test waits for.
class ReplaySourceTest : public testing::Test {
 protected:
  ReplaySourceTest() : previous_(spdlog::default_logger()) {
    auto logger = std::make_shared<spdlog::logger>("", std::make_shared<spdlog::sinks::ostream_sink_mt>(log));
    logger->set_pattern("%l %v");
    spdlog::set_default_logger(std::move(logger));
  }
  ~ReplaySourceTest() override { spdlog::set_default_logger(previous_); }

  std::unique_ptr<ReplaySource> source(const std::string& text, Repeat repeat = Repeat::no) {
    return std::make_unique<ReplaySource>(loop, "t", std::make_unique<std::istringstream>(text), repeat);
  }

  void start(Source& started, std::size_t awaited = 0) {
    started.start([this, awaited](const StatusSnapshot& snapshot) {
      if (snapshot.interfaces.contains("bad")) throw StatusRefused("interfaces: no");
      seen.push_back(snapshot.currentDS ? snapshot.currentDS->stepsRemoved.value() : -1);
      if (seen.size() == awaited) loop.stop();
    });
  }

  std::string refusal(const std::string& text) {
    const auto started = source(text);
    try {
      start(*started);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  }

  // Serves the loop until stop(), or for a time that no test should take.
  void run() {
    const auto watchdog = loop.after(20s, [this] {
      ADD_FAILURE() << "nothing happened for too long";
      loop.stop();
    });
    loop.run();
  }

  void runFor(std::chrono::milliseconds time) {
    const auto timer = loop.after(time, [this] { loop.stop(); });
    loop.run();
  }

  EventLoop loop;
  std::vector<int> seen;
  std::ostringstream log;

 private:
  std::shared_ptr<spdlog::logger> previous_;
};

std::string line(const std::string& at, int steps) {
  return R"({"at":)" + at + R"(,"status":{"currentDS":{"stepsRemoved":)" + std::to_string(steps) + "}}}\n";
}

TEST_F(ReplaySourceTest, WhatIsDueAtTheStartIsAppliedBeforeStartReturns) {
  const auto started = source(line("0", 1) + line("0", 2) + line("3600", 3));
  start(*started);
  EXPECT_EQ(seen, (std::vector{1, 2}));
}

TEST_F(ReplaySourceTest, AWrongStartIsTold) {
  EXPECT_EQ(refusal(""), "t: holds no status");
  EXPECT_EQ(refusal(line("0", -1)), "t:1: currentDS.stepsRemoved: -1 is out of range (0 to 65535)");
  EXPECT_EQ(refusal(line("0", 1) + line("0", -1)), "t:2: currentDS.stepsRemoved: -1 is out of range (0 to 65535)");
  EXPECT_EQ(refusal(line("60", -1)), "t:1: currentDS.stepsRemoved: -1 is out of range (0 to 65535)");
  EXPECT_EQ(refusal(R"({"at":0,"status":{"interfaces":{"bad":1}}})"), "t:1: interfaces: no");
  EXPECT_EQ(refusal("at: 0").substr(0, 14), "t:1: not JSON:");
  EXPECT_EQ(log.str(), "");
}

TEST_F(ReplaySourceTest, LinesAreAppliedAsTheyFallDue) {
  const auto started = source(line("0", 1) + line("0.02", 2) + line("0.02", 3) + line("0.05", 4));
  const auto begin = std::chrono::steady_clock::now();
  start(*started, 4);
  run();
  EXPECT_EQ(seen, (std::vector{1, 2, 3, 4}));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST_F(ReplaySourceTest, AWrongLineIsLoggedOnceAndLeftOut) {
  const auto started = source(line("0", 1) + "foo\n" + line("0.01", -1) +
                              R"({"at":0.02,"status":{"interfaces":{"bad":1}}})" + "\n" + line("0.03", 4));
  start(*started, 2);
  run();
  EXPECT_EQ(seen, (std::vector{1, 4}));
  EXPECT_EQ(log.str(),
            "error t:2: not JSON: column 2: syntax error while parsing value - invalid literal; last read: 'fo'; "
            "the line is ignored\n"
            "error t:3: currentDS.stepsRemoved: -1 is out of range (0 to 65535); the line is ignored\n"
            "error t:4: interfaces: no; the line is ignored\n");
}

TEST_F(ReplaySourceTest, ABurstOfLinesIsAppliedInOrder) {
  std::string text = line("0", 0);
  std::vector<int> expected{0};
  for (int i = 1; i <= 1000; ++i) {
    text += line("0.01", i);
    expected.push_back(i);
  }
  const auto started = source(text);
  start(*started, 1001);
  run();
  EXPECT_EQ(seen, expected);
}

TEST_F(ReplaySourceTest, LinesThatTakeLongLetOthersHaveTheirTurns) {
  const auto started = source(line("0", 0) + line("0.01", 1) + line("0.01", 2) + line("0.01", 3));
  std::size_t others = 0;
  const auto other = loop.every(1ms, [&] { ++others; });
  std::vector<std::size_t> turns;
  started->start([&](const StatusSnapshot&) {
    turns.push_back(others);
    const auto until = std::chrono::steady_clock::now() + 30ms;
    while (std::chrono::steady_clock::now() < until) {
    }
    if (turns.size() == 4) loop.stop();
  });
  run();
  EXPECT_LT(turns[1], turns[2]);
  EXPECT_LT(turns[2], turns[3]);
}

TEST_F(ReplaySourceTest, WhatACallbackThrowsEndsTheRun) {
  const auto started = source(line("0", 0) + line("0.01", 1));
  int calls = 0;
  started->start([&](const StatusSnapshot&) {
    if (++calls == 2) throw std::bad_alloc();
  });
  EXPECT_THROW(run(), std::bad_alloc);
}

TEST_F(ReplaySourceTest, InSomebodyElsesLoopWhatACallbackThrowsIsLogged) {
  const auto started = source(line("0", 0) + line("0.01", 1));
  int calls = 0;
  started->start([&](const StatusSnapshot&) {
    if (++calls == 2) throw std::runtime_error("no room");
  });
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (log.str().empty() && std::chrono::steady_clock::now() < deadline) agent_check_and_process(0);
  EXPECT_EQ(log.str(), "error no room\n");
}

TEST_F(ReplaySourceTest, AfterTheLastLineNothingHappens) {
  const auto started = source(line("0", 1) + line("0.01", 2));
  start(*started);
  runFor(60ms);
  EXPECT_EQ(seen, (std::vector{1, 2}));
}

TEST_F(ReplaySourceTest, ADestroyedSourceIsSilent) {
  auto started = source(line("0", 1) + line("0.01", 2));
  start(*started);
  started.reset();
  runFor(60ms);
  EXPECT_EQ(seen, std::vector{1});
}

TEST_F(ReplaySourceTest, ARepeatedReplayGoesOn) {
  const auto started = source(line("0", 1) + line("0.01", 2) + line("0.02", 3), Repeat::yes);
  start(*started, 7);
  run();
  EXPECT_EQ(seen, (std::vector{1, 2, 3, 1, 2, 3, 1}));
}

// Files, in a folder of their own.
class ReplayFileTest : public ReplaySourceTest {
 protected:
  ReplayFileTest() { std::filesystem::create_directories(folder); }
  ~ReplayFileTest() override { std::filesystem::remove_all(folder); }

  std::string openRefusal(const std::string& file) {
    try {
      ReplaySource::open(loop, file);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  }

  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("replay-test-" + std::to_string(getpid()));
};

TEST_F(ReplayFileTest, AFileIsPlayed) {
  const std::string file = folder / "device.jsonl";
  std::ofstream(file) << line("0", 7);
  const auto started = ReplaySource::open(loop, file);
  start(*started);
  EXPECT_EQ(seen, std::vector{7});
}

TEST_F(ReplayFileTest, WhatIsNoFileIsTold) {
  const std::string missing = folder / "missing";
  EXPECT_EQ(openRefusal(missing), missing + ": cannot be opened: No such file or directory");
  EXPECT_EQ(openRefusal(folder), folder.string() + ": cannot be opened: Is a directory");
  EXPECT_EQ(openRefusal("/dev/zero"), "/dev/zero: cannot be opened: not a regular file");
  EXPECT_EQ(openRefusal(""), ": cannot be opened: No such file or directory");
}

TEST_F(ReplayFileTest, AMessageNamesTheFileAndTheLine) {
  const std::string file = folder / "device.jsonl";
  std::ofstream(file) << "\n" << line("0", 65536);
  const auto started = ReplaySource::open(loop, file);
  try {
    start(*started);
    FAIL() << "accepted";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), file + ":2: currentDS.stepsRemoved: 65536 is out of range (0 to 65535)");
  }
}

}  // namespace
}  // namespace host
