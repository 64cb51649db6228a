#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#include "Counted.h"
#include "Ptp/Enums.h"
#include "Zarn/CharRange.h"
#include "Zarn/ValueText.h"

namespace {

using Zarn::CharRange;
using Zarn::RangeException;

std::string messageOf(const std::function<void()>& failing) {
  try {
    failing();
  } catch (const RangeException& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

struct Pair {
  std::uint32_t left = 0;
  std::uint32_t right = 0;

  Pair() = default;
  explicit Pair(CharRange& text) {
    Zarn::valueBegin(text, "test::Pair", "left", &left);
    Zarn::valueEnd(text, "right", &right);
  }
  friend std::ostream& operator<<(std::ostream& os, const Pair& pair) {
    Zarn::ValueWriter(os, "test::Pair").attribute("left", pair.left).attribute("right", pair.right);
    return os;
  }
};

template <class T>
std::string written(const T& value) {
  std::ostringstream os;
  Zarn::writeValue(os, value);
  return os.str();
}

TEST(CharRange, TakesFromItsFrontOnlyWhatStandsThere) {
  CharRange text("abc1");
  EXPECT_FALSE(text.take("bc"));
  EXPECT_EQ(text.rest(), "abc1");
  EXPECT_TRUE(text.take("ab"));
  EXPECT_EQ(text.takeWhile([](char c) { return c != '1'; }), "c");
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(text.takeWhile([](char) { return true; }), "1");
  EXPECT_TRUE(text.empty());
  EXPECT_FALSE(text.take("1"));
}

TEST(ValueText, ReadsUnsignedNumbersOf32Bits) {
  std::uint32_t value = 0;
  CharRange text("4294967295,");
  Zarn::sequenceToValue(text, &value);
  EXPECT_EQ(value, 4294967295U);
  EXPECT_EQ(text.rest(), ",");
  for (const char* bad : {"4294967296", "-1", "+1", "", "x", " 1"}) {
    CharRange badText(bad);
    EXPECT_THROW(Zarn::sequenceToValue(badText, &value), RangeException) << bad;
  }
}

TEST(ValueText, ReadsEnumeratorsByName) {
  Ptp::PortState state{};
  CharRange text("preMaster)");
  Zarn::enumFromText(text, &state);
  EXPECT_EQ(state, Ptp::PortState::preMaster);
  EXPECT_EQ(text.rest(), ")");
  CharRange unknown("preMasters");
  EXPECT_THROW(Zarn::enumFromText(unknown, &state), RangeException);
  CharRange nothing(")");
  EXPECT_THROW(Zarn::enumFromText(nothing, &state), RangeException);
}

TEST(ValueText, AValueReadsBackAsItWasWritten) {
  Pair pair;
  pair.left = 7;
  pair.right = 4294967295U;
  EXPECT_EQ(written(pair), "test::Pair(left=7,right=4294967295)");
  const auto read = Zarn::strepToValue<Pair>(written(pair));
  EXPECT_EQ(read.left, 7U);
  EXPECT_EQ(read.right, 4294967295U);
}

TEST(ValueText, AFailureNamesTheAttribute) {
  EXPECT_NE(messageOf([] { Zarn::strepToValue<Pair>("test::Pair(left=x,right=1)"); }).find("attribute left"),
            std::string::npos);
  EXPECT_NE(messageOf([] { Zarn::strepToValue<Pair>("test::Pair(left=1,right=)"); }).find("attribute right"),
            std::string::npos);
}

TEST(ValueText, EveryPieceOfTheFormIsDemanded) {
  for (const char* bad :
       {"", "test::Par(left=1,right=2)", "test::Pair left=1,right=2)", "test::Pair(right=2,left=1)",
        "test::Pair(left1,right=2)", "test::Pair(left=1 right=2)", "test::Pair(left=1)", "test::Pair(left=1,right=2",
        "test::Pair(left=1,right=2,)", "test::Pair(left=1,right=2)x", " test::Pair(left=1,right=2)"}) {
    EXPECT_THROW(Zarn::strepToValue<Pair>(bad), RangeException) << bad;
  }
}

TEST(ValueText, ACursorStopsBehindTheValueWhereAWholeStringMustEnd) {
  CharRange text("test::Pair(left=1,right=2)rest");
  EXPECT_EQ(Pair(text).right, 2U);
  EXPECT_EQ(text.rest(), "rest");
  EXPECT_NE(messageOf([] { Zarn::strepToValue<Pair>("test::Pair(left=1,right=2)rest"); }).find("\"rest\""),
            std::string::npos);
}

TEST(ValueText, WritesEachKindOfValueInItsOwnWay) {
  EXPECT_EQ(written(true), "true");
  EXPECT_EQ(written(false), "false");
  EXPECT_EQ(written(std::uint8_t{65}), "65");
  EXPECT_EQ(written(std::int8_t{-3}), "-3");
  EXPECT_EQ(written(std::uint64_t{18446744073709551615U}), "18446744073709551615");
  EXPECT_EQ(written(Ptp::PortState::slave), "slave");
  EXPECT_EQ(written(static_cast<Ptp::PortState>(77)), "77");
  EXPECT_EQ(written(std::string("text")), "text");
  EXPECT_EQ(written(Kestor::Ptr<test::Counted>()), "null");
  EXPECT_EQ(written(Kestor::make<test::Counted>(1)).find("test::Counted@"), 0U);
}

TEST(ValueText, NumbersAreDecimalInAStreamOfAnyFlagsAndLocale) {
  struct Grouped : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
  };
  std::ostringstream os;
  os.imbue(std::locale(os.getloc(), new Grouped));
  os << std::hex << std::showbase;
  Zarn::writeValue(os, std::uint32_t{1234567});
  EXPECT_EQ(os.str(), "1234567");
}

TEST(EnumRegistry, ValidatesCodesAndNames) {
  const Zarn::EnumData& data = enumData(Ptp::PortState{});
  EXPECT_EQ(data.code(0x90U), 0x90);
  EXPECT_EQ(data.code("slaveLocked"), 0x90);
  EXPECT_NE(messageOf([&] { data.code(10U); }).find("Ptp::PortState"), std::string::npos);
  EXPECT_NE(messageOf([&] { data.code(256U + 1U); }).find("257"), std::string::npos);
  EXPECT_NE(messageOf([&] { data.code("Slave"); }).find("Slave"), std::string::npos);
}

TEST(EnumRegistry, ACodeWithoutANameIsWrittenInDecimal) {
  EXPECT_EQ(enumData(Ptp::PtpMode{}).text(5), "peerToPeerTransparent");
  EXPECT_EQ(enumData(Ptp::PtpMode{}).text(6), "6");
  EXPECT_EQ(enumData(Ptp::PtpMode{}).find(6U), nullptr);
  EXPECT_EQ(enumData(Ptp::PtpMode{}).find("six"), nullptr);
}

struct EnumerationCodes {
  const Zarn::EnumData& data;
  std::string_view name;
  std::vector<std::pair<unsigned, std::string_view>> codes;
};

TEST(EnumRegistry, TheStatusesEnumerationsHaveTheirCodes) {
  const EnumerationCodes all[] = {
      {enumData(Ptp::PtpMode{}), "Ptp::PtpMode", {{0, "disabled"}, {1, "boundary"}, {2, "ordinary"}}},
      {enumData(Ptp::PortState{}), "Ptp::PortState", {{1, "initializing"}, {2, "faulty"}, {9, "slave"}}},
      {enumData(Ptp::DelayMechanism{}), "Ptp::DelayMechanism", {{0, "none"}, {1, "e2e"}, {2, "p2p"}}},
      {enumData(Ptp::TransportMode{}), "Ptp::TransportMode", {{0, "ethernet"}, {1, "ipv4"}, {2, "ipv6"}}},
      {enumData(PtpMib::ClockRoleType{}), "PtpMib::ClockRoleType", {{0, "master"}, {1, "slave"}}},
      {enumData(PtpMib::RxTxMode{}), "PtpMib::RxTxMode", {{0, "unicast"}, {1, "multicast"}, {2, "multicastMix"}}},
  };
  for (const auto& [data, name, codes] : all) {
    EXPECT_EQ(data.name, name);
    for (const auto& [code, text] : codes) {
      EXPECT_EQ(data.code(text), code);
      EXPECT_EQ(data.text(static_cast<std::uint8_t>(code)), text);
    }
  }
}

}  // namespace
