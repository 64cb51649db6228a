#include "Replay.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <vector>

#include "DemoDevices.h"

namespace host {
namespace {

using Seconds = Replay::Seconds;

Replay replayOf(const std::string& text, Repeat repeat = Repeat::no) {
  return Replay("t", std::make_unique<std::istringstream>(text), repeat);
}

// A line that sets the packets that the clock sent.
std::string sent(double at, std::uint64_t packets) {
  return fmt::format(R"({{"at":{},"status":{{"mibData":{{"packetsSent":{}}}}}}})", at, packets) + "\n";
}

std::optional<Seconds> due(Replay& replay) {
  replay.read();
  return replay.due();
}

std::optional<Seconds> firstDue(const std::string& text) {
  Replay replay = replayOf(text);
  return due(replay);
}

// Plays the next `lines` lines, or all, into "when: packets that the clock sent" and refusals.
std::vector<std::string> play(Replay& replay, int lines = 1000) {
  std::vector<std::string> seen;
  for (; lines > 0 && due(replay); --lines) {
    const double due = replay.due()->count();
    const auto refusal = replay.step([&](const StatusSnapshot& snapshot) {
      seen.push_back(fmt::format("{}: {}", due, snapshot.mibData ? snapshot.mibData->counters.packetsSent : 0));
    });
    if (refusal) seen.push_back(*refusal);
  }
  return seen;
}

std::vector<std::string> play(const std::string& text) {
  Replay replay = replayOf(text);
  return play(replay);
}

using Seen = std::vector<std::string>;

TEST(Replay, LinesFallDueInTheirOrder) {
  EXPECT_EQ(play(sent(0, 1) + sent(0, 2) + sent(0.25, 3) + sent(7, 4)), (Seen{"0: 1", "0: 2", "0.25: 3", "7: 4"}));
}

TEST(Replay, ATextWithoutLinesHasNothingDue) {
  EXPECT_FALSE(firstDue(""));
  EXPECT_FALSE(firstDue("\n \t\r\n\n"));
}

TEST(Replay, AStatusIsAMergePatch) {
  Replay replay = replayOf(R"({"at":0,"status":{"mibData":{"packetsSent":1},"interfaces":{"a":1,"b":2}}}
{"at":0,"status":{"mibData":{"packetsReceived":2},"interfaces":{"a":null}}}
{"at":0,"status":{"mibData":null}}
)");
  std::vector<StatusSnapshot> seen;
  while (due(replay)) {
    EXPECT_FALSE(replay.step([&](const StatusSnapshot& snapshot) { seen.push_back(snapshot); }));
  }
  ASSERT_EQ(seen.size(), 3U);
  EXPECT_EQ(seen[1].mibData, (MibDataSnapshot{{1, 2}, 0}));
  EXPECT_EQ(seen[1].interfaces, (std::map<std::string, std::uint32_t>{{"b", 2}}));
  EXPECT_FALSE(seen[2].mibData);
  EXPECT_EQ(seen[2].interfaces, seen[1].interfaces);
}

TEST(Replay, LineEndsMayBeOfAnySystemAndTheLastOneMissing) {
  EXPECT_EQ(play("\xef\xbb\xbf"
                 R"({"at":0,"status":{}})"
                 "\r\n\r\n"
                 R"({"at":1,"status":{}})"),
            (Seen{"0: 0", "1: 0"}));
}

TEST(Replay, ARefusedLineIsDroppedEntirely) {
  EXPECT_EQ(play(sent(0, 1) + R"({"at":5,"status":{"mibData":{"packetsSent":2},"currentDS":{"stepsRemoved":-1}}})" +
                 "\n" + R"({"at":3,"status":{"interfaces":{"a":1}}})"),
            (Seen{"0: 1", "t:2: currentDS.stepsRemoved: -1 is out of range (0 to 65535)", "3: 1"}));
}

TEST(Replay, ALineThatTheSinkRefusesIsDroppedEntirely) {
  Replay replay = replayOf(sent(0, 1) + R"({"at":1,"status":{"interfaces":{"bad":1}}})" + "\n" + sent(1, 3));
  std::vector<StatusSnapshot> seen;
  Seen refusals;
  while (due(replay)) {
    const auto refusal = replay.step([&](const StatusSnapshot& snapshot) {
      if (snapshot.interfaces.contains("bad")) throw StatusRefused("no");
      seen.push_back(snapshot);
    });
    if (refusal) refusals.push_back(*refusal);
  }
  EXPECT_EQ(refusals, Seen{"t:2: no"});
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_TRUE(seen[1].interfaces.empty());
}

TEST(Replay, ALineThatIsNoneIsRefusedByName) {
  EXPECT_EQ(play("5\n"), Seen{"t:1: 5 is not an object"});
  EXPECT_EQ(play(R"({"status":{}})"), Seen{"t:1: at: is missing"});
  EXPECT_EQ(play(R"({"at":0})"), Seen{"t:1: status: is missing"});
  EXPECT_EQ(play(R"({"at":"0","status":{}})"), Seen{"t:1: at: \"0\" is not a number of seconds"});
  EXPECT_EQ(play(R"({"at":-0.5,"status":{}})"), Seen{"t:1: at: -0.5 is out of range (0 to 1000000000)"});
  EXPECT_EQ(play(R"({"at":1e300,"status":{}})"), Seen{"t:1: at: 1e+300 is out of range (0 to 1000000000)"});
  EXPECT_EQ(play(R"({"at":0,"status":null})"), Seen{"t:1: status: null is not an object"});
  EXPECT_EQ(play(R"({"at":0,"stauts":{}})"), Seen{"t:1: \"stauts\" is unknown; known are at, status"});
  EXPECT_EQ(play(std::string("\0\n", 2)), Seen{"t:1: not JSON: it contains a NUL byte"});
}

TEST(Replay, TimeDoesNotGoBack) {
  EXPECT_EQ(play(sent(0, 1) + sent(5, 2) + sent(4.5, 3) + sent(5, 4)),
            (Seen{"0: 1", "5: 2", "t:3: at: 4.5 is earlier than a line before it (5)", "5: 4"}));
}

TEST(Replay, LinesAreNumberedAsInTheFile) {
  EXPECT_EQ(play("\n\n" + sent(0, 1) + "\nfoo\n").at(1).substr(0, 4), "t:5:");
}

// A status that says it is wrong must be told at the start, not an hour later.
TEST(Replay, ARefusedFirstLineIsDueAtOnce) {
  EXPECT_EQ(firstDue(R"({"at":3600,"status":{"x":1}})"), Seconds(0));
  EXPECT_EQ(firstDue(R"({"at":3600,"status":{}})"), Seconds(3600));
}

TEST(Replay, ALaterRefusedLineIsNotPartOfTheStart) {
  Replay replay = replayOf(sent(0, 1) + "foo\n" + sent(1, 2));
  EXPECT_EQ(play(replay, 1), Seen{"0: 1"});
  EXPECT_GT(due(replay), Seconds(0));
  EXPECT_EQ(play(replay).size(), 2U);
}

TEST(Replay, ALineOfUnboundedLengthEndsTheText) {
  const Seen seen = play(sent(0, 1) + std::string(LineReader::maxLineBytes + 1, ' ') + "\n" + sent(1, 2));
  EXPECT_EQ(seen, (Seen{"0: 1", "t:2: longer than 16777216 bytes; nothing after it is read"}));
  EXPECT_EQ(play(sent(0, 1) + std::string(LineReader::maxLineBytes, ' ') + "\n" + sent(1, 2)).size(), 2U);
}

TEST(Replay, ARepeatedReplayStartsOverWhenItsLastLineFallsDue) {
  Replay replay = replayOf(sent(0, 1) + sent(2, 5) + R"({"at":3,"status":{}})", Repeat::yes);
  EXPECT_EQ(play(replay, 8), (Seen{"0: 1", "2: 5", "3: 5", "3: 6", "5: 10", "6: 10", "6: 11", "8: 15"}));
}

TEST(Replay, ARepeatedRunCountsAnewEvenIfItBeginsNoLower) {
  Replay replay = replayOf(sent(0, 5) + R"({"at":1,"status":{}})", Repeat::yes);
  EXPECT_EQ(play(replay, 4), (Seen{"0: 5", "1: 5", "1: 10", "2: 10"}));
}

TEST(Replay, ARunThatTakesNoTimeIsNotRepeated) {
  Replay replay = replayOf(sent(0, 1) + sent(0, 5), Repeat::yes);
  EXPECT_EQ(play(replay), (Seen{"0: 1", "0: 5"}));
}

// A file may be written to show what a reader makes of a counter that falls.
TEST(Replay, WithoutRepetitionCountersAreShownAsTheyStand) {
  EXPECT_EQ(play(sent(0, 5) + sent(1, 2)), (Seen{"0: 5", "1: 2"}));
}

class DemoDevice : public testing::TestWithParam<const char*> {};

TEST_P(DemoDevice, PlaysTwiceWithoutARefusalAndItsCountersRise) {
  Replay replay = replayOf(std::string(demoDevice(GetParam())), Repeat::yes);
  ASSERT_EQ(due(replay), Seconds(0));
  std::uint64_t packets = 0;
  std::set<Ptp::TimeInterval> offsets;
  std::set<Ptp::TimeInterval> delays;
  while (due(replay) < Seconds(200)) {
    const auto refusal = replay.step([&](const StatusSnapshot& snapshot) {
      ASSERT_EQ(snapshot.defaultDS->numberPorts.value(), snapshot.ports.size());
      ASSERT_GE(snapshot.mibData->counters.packetsSent, packets);
      packets = snapshot.mibData->counters.packetsSent;
      offsets.insert(snapshot.currentDS->offsetFromMaster);
      delays.insert(snapshot.currentDS->meanPathDelay);
      std::uint64_t ofPorts = 0;
      for (const auto& [key, port] : snapshot.ports) {
        ASSERT_TRUE(snapshot.interfaces.contains(port.interface));
        ofPorts += port.counters->packetsSent;
      }
      ASSERT_EQ(ofPorts, packets);
    });
    ASSERT_FALSE(refusal) << *refusal;
    ASSERT_TRUE(due(replay));
  }
  EXPECT_GT(offsets.size(), 20U);
  EXPECT_GT(delays.size(), 20U);
}

INSTANTIATE_TEST_SUITE_P(All, DemoDevice, testing::Values("boundary", "transparent"));

TEST(DemoDeviceName, AnUnknownOneHasNoText) { EXPECT_TRUE(demoDevice("nothing").empty()); }

}  // namespace
}  // namespace host
