#include "RepeatedLines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace host {
namespace {

using namespace std::chrono_literals;
using Time = RepeatedLines::Time;
using Texts = std::vector<std::string>;

constexpr int level = 3;
const Time start{100h};

Texts due(RepeatedLines& lines, Time now) {
  Texts texts;
  for (const RepeatedLines::Count& count : lines.due(now)) texts.push_back(count.text);
  return texts;
}

// A kind of its own for each number: words have no digits.
std::string kind(int number) {
  std::string word = "kind";
  for (; number > 0; number /= 10) word += static_cast<char>('g' + number % 10);
  return word;
}

TEST(RepeatedLines, TheFirstOfAKindIsSaidAndFurtherOnesAreNot) {
  RepeatedLines lines;
  EXPECT_TRUE(lines.isFirst(level, "one", "one 1", start));
  EXPECT_FALSE(lines.isFirst(level, "one", "one 2", start + 59min));
  EXPECT_FALSE(lines.isFirst(level, "one", "one 3", start + 300min)) << "not even after an hour that nobody ended";
  EXPECT_TRUE(lines.isFirst(level, "two", "two", start));
}

TEST(RepeatedLines, TheirNumberIsSaidOnceAnHour) {
  RepeatedLines lines;
  lines.isFirst(level, "one", "the first, 1", start);
  for (int i = 0; i < 3; ++i) lines.isFirst(level, "one", "another, 2", start + 1min);
  EXPECT_EQ(due(lines, start + 59min), Texts{});
  EXPECT_EQ(due(lines, start + 60min), Texts{"3 more in the last hour like this: the first, 1"});
  EXPECT_FALSE(lines.isFirst(level, "one", "another", start + 61min));
  EXPECT_EQ(due(lines, start + 119min), Texts{});
  EXPECT_EQ(due(lines, start + 120min), Texts{"1 more in the last hour like this: the first, 1"});
}

TEST(RepeatedLines, ACountHasTheLevelOfItsLines) {
  RepeatedLines lines;
  for (int i = 0; i < 2; ++i) lines.isFirst(level, "one", "one", start);
  EXPECT_EQ(lines.due(start + 1h).at(0).level, level);
}

TEST(RepeatedLines, AfterAnHourWithoutOneAKindBeginsAnew) {
  RepeatedLines lines;
  lines.isFirst(level, "one", "one", start);
  EXPECT_EQ(due(lines, start + 1h), Texts{});
  EXPECT_TRUE(lines.isFirst(level, "one", "one", start + 1h));
}

TEST(RepeatedLines, KindsBeyondTheMostCountAsOne) {
  RepeatedLines lines;
  const int most = static_cast<int>(RepeatedLines::mostKinds);
  for (int i = 0; i < most; ++i) EXPECT_TRUE(lines.isFirst(level, kind(i), "x", start));
  EXPECT_TRUE(lines.isFirst(level, "another", "the first of the others", start));
  for (int i = 0; i < 1'000; ++i) EXPECT_FALSE(lines.isFirst(level, kind(most + i), "x", start));
  EXPECT_FALSE(lines.isFirst(level, kind(0), "x", start));
  EXPECT_EQ(due(lines, start + 1h),
            (Texts{"1000 more in the last hour of other kinds, the first of which was: the first "
                   "of the others",
                   "1 more in the last hour like this: x"}));
  EXPECT_EQ(due(lines, start + 2h), Texts{});
  EXPECT_TRUE(lines.isFirst(level, kind(5'000), "x", start + 2h)) << "there is room again";
}

TEST(RepeatedLines, OfALongLineOnlyTheBeginningIsKept) {
  RepeatedLines lines;
  const std::string line(1'000'000, 'x');
  EXPECT_TRUE(lines.isFirst(level, line, line, start));
  EXPECT_FALSE(lines.isFirst(level, line + "another kind's end", line, start));
  EXPECT_EQ(due(lines, start + 1h),
            Texts{"1 more in the last hour like this: " + line.substr(0, RepeatedLines::longestLine)});
  EXPECT_LE(RepeatedLines::kindOf(line).size(), RepeatedLines::longestLine);
}

TEST(RepeatedLines, AKindIsALinesWords) {
  EXPECT_EQ(RepeatedLines::kindOf("Received bad msgMaxSize (100 < 484)."), "Received msgMaxSize");
  EXPECT_EQ(RepeatedLines::kindOf(""), "");
  EXPECT_EQ(RepeatedLines::kindOf("    -- .1.3.6.1 [TRUNCATED]"), "TRUNCATED");
}

TEST(RepeatedLines, NumbersAddressesHexAndQuotedPartsMakeNoKind) {
  for (const auto& [one, other] : std::vector<std::pair<const char*, const char*>>{
           {"from 10.0.0.1:5000", "from 192.168.100.2:161"},
           {"from [2001:db8::1]:161", "from [fe80::a:b]:7"},
           {"socket 0x7f12ab", "socket 0x9"},
           {"engine 80 00 1F ab", "engine DE AD"},
           {"cannot read \"/etc/a file\"", "cannot read \"another\""},
           {"no view 'all of it' there", "no view 'none' there"},
           {"user \"never closed", "user \"another"},
           {"the peer doesn't read 5 octets", "the peer doesn't read 6 octets"}}) {
    EXPECT_EQ(RepeatedLines::kindOf(one), RepeatedLines::kindOf(other));
    EXPECT_NE(RepeatedLines::kindOf(one), "");
  }
  EXPECT_NE(RepeatedLines::kindOf("the peer doesn't read"), RepeatedLines::kindOf("the peer doesn't write"));
}

}  // namespace
}  // namespace host
