#include "PtpSnmp/ClockType.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Zarn/Exception.h"

namespace {

using PtpSnmp::ClockType;
using PtpSnmp::ClockTypeInstance;

constexpr std::pair<unsigned, const char*> named[] = {
    {0, "ordinaryClock"}, {1, "boundaryClock"}, {2, "transparentClock"}, {3, "boundaryNode"}};

TEST(ClockType, IsStoredInOneByteUnderItsCode) {
  EXPECT_EQ(sizeof(ClockType), 1U);
  EXPECT_EQ(static_cast<unsigned>(ClockType::ordinaryClock), 0U);
  EXPECT_EQ(static_cast<unsigned>(ClockType::boundaryClock), 1U);
  EXPECT_EQ(static_cast<unsigned>(ClockType::transparentClock), 2U);
  EXPECT_EQ(static_cast<unsigned>(ClockType::boundaryNode), 3U);
}

TEST(ClockType, HasFiveCodes) {
  EXPECT_EQ(enumData(ClockType{}).enumerators.size(), 5U);
  for (unsigned code = 0; code < 5; ++code) EXPECT_EQ(static_cast<unsigned>(ClockTypeInstance(code)), code);
  for (const unsigned code : {5U, 255U, 256U, 257U, 4294967295U}) {
    EXPECT_THROW(ClockTypeInstance(code), Zarn::RangeException) << code;
  }
}

TEST(ClockType, TheFifthCodeHasANameThatReadsBack) {
  const ClockType fifth = ClockTypeInstance(4U);
  EXPECT_EQ(ClockTypeInstance(stringValue(fifth)), fifth);
  for (const auto& [code, name] : named) EXPECT_NE(stringValue(fifth), name);
}

TEST(ClockType, ItsTextIsItsName) {
  for (const auto& [code, name] : named) {
    const ClockType type = ClockTypeInstance(code);
    EXPECT_EQ(stringValue(type), name);
    EXPECT_EQ(ClockTypeInstance(Kestor::String(name)), type);
    std::ostringstream os;
    os << type;
    EXPECT_EQ(os.str(), name);
  }
}

TEST(ClockType, RefusesAnUnknownName) {
  for (const char* bad : {"", "ordinary", "OrdinaryClock", "ordinaryClock ", "1"}) {
    EXPECT_THROW(ClockTypeInstance(Kestor::String(bad)), Zarn::RangeException) << bad;
  }
}

TEST(ClockType, ReadsItsNameFromACursor) {
  Zarn::CharRange text("transparentClock,rest");
  ClockType type{};
  sequenceToValue(text, &type);
  EXPECT_EQ(type, ClockType::transparentClock);
  EXPECT_EQ(text.rest(), ",rest");
  EXPECT_THROW(sequenceToValue(text, &type), Zarn::RangeException);
}

}  // namespace
