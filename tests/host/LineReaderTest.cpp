#include "LineReader.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace host {
namespace {

class CountingPacer final : public Pacer {
 public:
  std::size_t portions = 0;

 private:
  void portionIsOver() override { ++portions; }
};

// Each line that is not blank as "number: line", and what ends the text as "number! reason".
std::vector<std::string> linesOf(LineReader& reader) {
  std::vector<std::string> seen;
  Unpaced pacer;
  try {
    for (std::string line; reader.next(line, pacer);) seen.push_back(fmt::format("{}: {}", reader.number(), line));
  } catch (const LineError& error) {
    seen.push_back(fmt::format("{}! {}", reader.number(), error.what()));
  }
  return seen;
}

std::vector<std::string> linesOf(const std::string& text) {
  LineReader reader(std::make_unique<std::istringstream>(text));
  return linesOf(reader);
}

// The same, by the standard library.
std::vector<std::string> expectedOf(const std::string& text) {
  std::vector<std::string> expected;
  std::istringstream input(text);
  std::string line;
  for (int number = 1; std::getline(input, line); ++number) {
    if (line.find_first_not_of(" \t\r") != std::string::npos) expected.push_back(fmt::format("{}: {}", number, line));
  }
  return expected;
}

using Lines = std::vector<std::string>;

TEST(LineReader, BlankLinesAreSkippedAndCounted) {
  EXPECT_EQ(linesOf(""), Lines());
  EXPECT_EQ(linesOf("\n \t\r\n\n"), Lines());
  EXPECT_EQ(linesOf("\n a \n\r\n\t\nb"), (Lines{"2:  a ", "5: b"}));
}

TEST(LineReader, AnyTextHasTheLinesThatTheStandardLibrarySees) {
  std::uint64_t random = 1;
  const auto next = [&random](std::uint64_t below) {
    random = random * 6364136223846793005U + 1442695040888963407U;
    return (random >> 33) % below;
  };
  for (int round = 0; round < 300; ++round) {
    std::string text;
    for (std::uint64_t pieces = next(12); pieces > 0; --pieces) {
      // Blocks have 32 KiB, so that some pieces reach over their ends.
      const std::size_t length = next(3) == 0 ? next(70'000) : next(4);
      text.append(length, "a \n\t"[next(4)]);
      if (next(2) == 0) text += '\n';
    }
    ASSERT_EQ(linesOf(text), expectedOf(text)) << "round " << round;
  }
}

TEST(LineReader, AReadThatFailsEndsTheText) {
  class Failing : public std::stringbuf {
   public:
    using std::stringbuf::stringbuf;
    int_type underflow() override {
      if (gptr() == egptr()) throw std::runtime_error("gone");
      return std::stringbuf::underflow();
    }
    std::streamsize xsgetn(char*, std::streamsize) override { throw std::runtime_error("gone"); }
  } buffer("a\nb");
  LineReader reader(std::make_unique<std::istream>(&buffer));
  EXPECT_EQ(linesOf(reader), Lines{"1! cannot be read; nothing after it is read"});
  EXPECT_EQ(linesOf(reader), Lines());
}

TEST(LineReader, BlankTextIsReadInPortions) {
  constexpr std::size_t bytes = std::size_t{4} << 20;
  for (const char blank : {'\n', ' '}) {
    LineReader reader(std::make_unique<std::istringstream>(std::string(bytes, blank)));
    CountingPacer pacer;
    std::string line;
    EXPECT_FALSE(reader.next(line, pacer));
    EXPECT_GE(pacer.portions, bytes >> 17) << "a portion may be 128 KiB of them, which takes 0.1 ms";
  }
}

TEST(LineReader, ItGoesBackToTheFirstLine) {
  LineReader reader(std::make_unique<std::istringstream>("\na\nb\n"));
  EXPECT_EQ(linesOf(reader), (Lines{"2: a", "3: b"}));
  EXPECT_TRUE(reader.rewind());
  EXPECT_EQ(linesOf(reader), (Lines{"2: a", "3: b"}));
}

}  // namespace
}  // namespace host
