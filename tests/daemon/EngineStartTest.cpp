#include "EngineStart.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "TemporaryDirectory.h"

namespace host {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;

const std::string first("\x80\x00\x1f\x88\x05-first", 11);
const std::string second("\x80\x00\x1f\x88\x05-2nd\x00\xff", 11);
const std::string chosen("\x80\x00\x1f\x88\x04site", 9);
const std::string other("\x80\x00\x1f\x88\x04lab", 8);
constexpr char firstLine[] = "oldEngineID 0x80001f88052d6669727374\n";

MATCHER_P2(IsStart, id, boots, "") { return arg.start == EngineStart{id, static_cast<std::uint32_t>(boots)}; }
MATCHER_P(Says, part, "") { return testing::Value(arg.notices, Contains(HasSubstr(part))); }
MATCHER(SaysNothing, "") { return arg.notices.empty(); }

class EngineStartTest : public testing::Test {
 protected:
  StartedEngine start(const std::string& fresh) const { return countEngineStart(file, "", fresh); }
  StartedEngine startAs(const std::string& configured) const { return countEngineStart(file, configured, first); }
  void holds(const std::string& text) const { std::ofstream(file) << text; }
  void cannotBeWritten() const { std::filesystem::create_directories(file + ".new/full"); }
  void canBeWritten() const { std::filesystem::remove_all(file + ".new"); }

  const test::TemporaryDirectory scratch;
  const std::string file = scratch.path() + "/engine";
};

TEST_F(EngineStartTest, EachStartOfAnEngineIsOneMore) {
  EXPECT_THAT(start(first), AllOf(IsStart(first, 1), SaysNothing()));
  EXPECT_THAT(start(second), AllOf(IsStart(first, 2), SaysNothing()));
  EXPECT_THAT(start(second), AllOf(IsStart(first, 3), SaysNothing()));
}

TEST_F(EngineStartTest, AnEngineIdOfAnyOctetsIsReadAsItWasWritten) {
  start(second);
  EXPECT_THAT(start(first), IsStart(second, 2));
}

TEST_F(EngineStartTest, WithoutAFileNameEachStartIsAnotherEngine) {
  EXPECT_THAT(countEngineStart("", "", first), AllOf(IsStart(first, 1), SaysNothing()));
  EXPECT_THAT(countEngineStart("", "", second), AllOf(IsStart(second, 1), SaysNothing()));
}

TEST_F(EngineStartTest, AStartThatCannotBeWrittenDownIsAnotherEngine) {
  start(first);
  cannotBeWritten();
  EXPECT_THAT(start(second), AllOf(IsStart(second, 1), Says(file + ": "), Says("find another engine")));
  canBeWritten();
  EXPECT_THAT(start(second), IsStart(first, 2));
}

TEST_F(EngineStartTest, AFolderThatIsNotThereMakesAnotherEngine) {
  const std::string nowhere = scratch.path() + "/none/engine";
  EXPECT_THAT(countEngineStart(nowhere, "", first), AllOf(IsStart(first, 1), Says(nowhere + ": No such file")));
}

TEST_F(EngineStartTest, AFileThatDoesNotTellBothMakesAnotherEngineWhichIsKept) {
  const std::string damaged[] = {"",
                                 firstLine,
                                 "engineBoots 7\n",
                                 firstLine + std::string("engineBoots 2147483648\n"),
                                 firstLine + std::string("engineBoots 99999999999999999999\n"),
                                 firstLine + std::string("engineBoots -1\n"),
                                 firstLine + std::string("engineBoots 7x\n"),
                                 firstLine + std::string("engineBoots\n"),
                                 firstLine + std::string("engineBoots 7\nengineBoots 8\n"),
                                 firstLine + std::string("engineBoots 7\ncreateUser thief\n"),
                                 std::string("oldEngineID 0x\nengineBoots 7\n"),
                                 std::string("oldEngineID 0x8\nengineBoots 7\n"),
                                 std::string("oldEngineID 0x80-1\nengineBoots 7\n"),
                                 "oldEngineID 0x" + std::string(66, '0') + "\nengineBoots 7\n"};
  for (const std::string& text : damaged) {
    holds(text);
    EXPECT_THAT(start(second), AllOf(IsStart(second, 1), Says("does not tell"), Says("find another engine"))) << text;
    EXPECT_THAT(start(first), AllOf(IsStart(second, 2), SaysNothing())) << text;
  }
}

TEST_F(EngineStartTest, BootsNeverReachTheirEnd) {
  holds(firstLine + std::string("engineBoots 2147483645\n"));
  EXPECT_THAT(start(second), AllOf(IsStart(first, 2147483646), SaysNothing()));
  EXPECT_THAT(start(second), AllOf(IsStart(second, 1), Says("used up"), Says("find another engine")));
  EXPECT_THAT(start(first), IsStart(second, 2));
  holds(firstLine + std::string("engineBoots 2147483647\n"));
  EXPECT_THAT(start(second), IsStart(second, 1));
}

TEST_F(EngineStartTest, AnEngineIdThatIsConfiguredIsCountedToo) {
  EXPECT_THAT(startAs(chosen), AllOf(IsStart(chosen, 1), SaysNothing()));
  EXPECT_THAT(startAs(chosen), AllOf(IsStart(chosen, 2), SaysNothing()));
}

TEST_F(EngineStartTest, AnEngineIdThatReturnsFindsNoBootsThatItHad) {
  startAs(chosen);
  EXPECT_THAT(startAs(other), IsStart(other, 2));
  EXPECT_THAT(startAs(chosen), IsStart(chosen, 3));
}

TEST_F(EngineStartTest, AConfiguredEngineIdWhoseStartsAreUnknownAcceptsNoAuthenticatedRequest) {
  const auto acceptsNone = AllOf(IsStart(chosen, mostEngineBoots), Says("authentication are refused"));
  EXPECT_THAT(countEngineStart("", chosen, first), AllOf(acceptsNone, Says("STATE_DIRECTORY")));
  startAs(chosen);
  cannotBeWritten();
  EXPECT_THAT(startAs(chosen), AllOf(acceptsNone, Says(file + ": ")));
  canBeWritten();
  EXPECT_THAT(startAs(chosen), IsStart(chosen, 2));
  holds(firstLine);
  EXPECT_THAT(startAs(chosen), AllOf(acceptsNone, Says("does not tell"), Says("remove it")));
}

TEST_F(EngineStartTest, AConfiguredEngineIdWhoseStartsAreUsedUpAcceptsNoneUntilItIsAnother) {
  startAs(chosen);
  std::string text(R"(oldEngineID 0x80001f880473697465
engineBoots 2147483646
)");
  holds(text);
  for (int starts = 0; starts < 2; ++starts) {
    EXPECT_THAT(startAs(chosen), AllOf(IsStart(chosen, mostEngineBoots), Says("configure another one")));
  }
  EXPECT_THAT(startAs(other), AllOf(IsStart(other, 1), SaysNothing()));
}

}  // namespace
}  // namespace host
