#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <vector>

#include "Replay.h"

namespace host {
namespace {

// What a replay shows: when, and the whole status or why a line is refused.
struct Shown {
  std::optional<Replay::Seconds> due;
  StatusSnapshot snapshot;
  std::optional<std::string> refusal;

  friend bool operator==(const Shown&, const Shown&) = default;
};

struct Play {
  std::vector<Shown> shown;
  std::size_t slices = 0;
};

Replay replayOf(const std::string& text, Repeat repeat = Repeat::no) {
  return Replay("t", std::make_unique<std::istringstream>(text), repeat);
}

Play play(const std::string& text, Repeat repeat, const Replay::Enough& enough) {
  Replay replay = replayOf(text, repeat);
  Play play;
  while (play.shown.size() < 40) {
    for (; replay.isReading(); ++play.slices) replay.read(enough);
    if (!replay.due()) break;
    Shown& shown = play.shown.emplace_back();
    shown.due = replay.due();
    shown.refusal = replay.step([&](const StatusSnapshot& snapshot) {
      if (snapshot.interfaces.contains("bad")) throw StatusRefused("bad");
      shown.snapshot = snapshot;
    });
  }
  return play;
}

std::string portsFrom(int first, int count, const std::string& members) {
  std::string ports;
  for (int i = first; i < first + count; ++i) {
    ports += fmt::format("{}\"001122.fffe.334455-{}\":{}", ports.empty() ? "" : ",", i, members);
  }
  return "\"ports\":{" + ports + "}";
}

std::string line(double at, const std::string& status) {
  return fmt::format("{{\"at\":{},\"status\":{{{}}}}}\n", at, status);
}

// Lines that take several portions each, most of them wrong in their own way.
std::string longText() {
  return line(0, portsFrom(1, 900, R"({"interface":"a","mibData":{"packetsSent":5}})")) + std::string(300'000, '\n') +
         line(1, portsFrom(300, 300, R"({"portState":"slave","interface":null})")) +
         line(2, portsFrom(1, 900, R"({"portState":5})") + R"(,"interfaces":{"bad":1})") +
         line(3, portsFrom(1, 900, R"({"mibData":null})") + R"(,"unknown":1)") +
         line(4, portsFrom(1, 900, "{}").substr(0, 9000)) + line(5, portsFrom(1, 1800, R"({"x":null})")) +
         line(6, R"("ports":null)") + line(7, portsFrom(7, 1, R"({"mibData":{"packetsSent":4}})"));
}

TEST(ReplaySlices, ALineThatIsReadInSlicesIsTheSameAsOneThatIsReadAtOnce) {
  const std::string text = longText();
  std::mt19937 random(1);
  for (const Repeat repeat : {Repeat::no, Repeat::yes}) {
    const Play atOnce = play(text, repeat, [] { return false; });
    ASSERT_GE(atOnce.shown.size(), 8U);
    const Play smallest = play(text, repeat, [] { return true; });
    EXPECT_EQ(smallest.shown, atOnce.shown);
    EXPECT_GT(smallest.slices, 20 * smallest.shown.size());
    for (int round = 0; round < 5; ++round) {
      EXPECT_EQ(play(text, repeat, [&] { return random() % 4 == 0; }).shown, atOnce.shown);
    }
  }
}

// Also what was refused by the sink, after it was merged.
TEST(ReplaySlices, ARefusedLineLeavesNothingBehindInTheDocument) {
  const Play played = play(longText(), Repeat::no, [] { return true; });
  ASSERT_EQ(played.shown.size(), 8U);
  EXPECT_EQ(played.shown[2].refusal, "t:300003: bad");
  EXPECT_TRUE(played.shown[3].refusal);
  EXPECT_TRUE(played.shown[4].refusal);
  ASSERT_FALSE(played.shown[5].refusal) << *played.shown[5].refusal;
  EXPECT_TRUE(played.shown[5].snapshot.interfaces.empty());
  EXPECT_EQ(played.shown[5].snapshot.ports.size(), 1800U);
  for (const auto& [key, port] : played.shown[1].snapshot.ports) {
    ASSERT_EQ(played.shown[5].snapshot.ports.at(key), port) << key.stringValue();
  }
}

TEST(ReplaySlices, NothingIsDueWhileTheNextLineIsRead) {
  Replay replay = replayOf(longText());
  EXPECT_TRUE(replay.isReading());
  EXPECT_FALSE(replay.due());
  replay.read([] { return true; });
  EXPECT_TRUE(replay.isReading());
  EXPECT_FALSE(replay.due());
  replay.read();
  EXPECT_FALSE(replay.isReading());
  EXPECT_EQ(replay.due(), Replay::Seconds(0));
}

TEST(ReplaySlices, ABoundedPartOfBlankLinesIsReadInOneSlice) {
  constexpr std::size_t bytes = std::size_t{32} << 20;
  EXPECT_GE(play(std::string(bytes, '\n') + line(0, ""), Repeat::no, [] { return true; }).slices, bytes >> 17);
}

TEST(ReplaySlices, AReplayMayBeDestroyedAtAnyPointOfALine) {
  const std::string text = longText();
  for (std::size_t slices = 0; slices < 150; slices += 7) {
    Replay replay = replayOf(text);
    for (std::size_t done = 0; done < slices; ++done) {
      replay.read([] { return true; });
      if (!replay.isReading() && replay.due()) (void)replay.step([](const StatusSnapshot&) {});
    }
  }
}

TEST(ReplaySlices, OfMoreInterfacesThanPortsCanBeTheUsedOnesAreShown) {
  std::string interfaces;
  for (int i = 1; i <= 70'000; ++i) interfaces += fmt::format("{}\"e{}\":{}", i == 1 ? "" : ",", i, i);
  const std::string text = line(0, "\"interfaces\":{" + interfaces + "}," + portsFrom(1, 2, R"({"interface":"e7"})")) +
                           line(1, portsFrom(3, 1, R"({"interface":"e8"})"));
  const Play played = play(text, Repeat::no, [] { return true; });
  ASSERT_EQ(played.shown.size(), 2U);
  EXPECT_EQ(played.shown[0].snapshot.interfaces, (std::map<std::string, std::uint32_t>{{"e7", 7}}));
  EXPECT_EQ(played.shown[1].snapshot.interfaces, (std::map<std::string, std::uint32_t>{{"e7", 7}, {"e8", 8}}));
}

}  // namespace
}  // namespace host
