#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TraceCapture.h"
#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace {

using Lines = std::vector<std::string>;
using Zarn::TraceHandle;
using Zarn::TraceSettings;

std::vector<unsigned> levelsOn(const TraceHandle& handle) {
  std::vector<unsigned> levels;
  for (unsigned level = 0; level < 32; ++level) {
    if (handle.on(level)) levels.push_back(level);
  }
  return levels;
}

struct TraceTest : testing::Test {
  ~TraceTest() override { TraceSettings::reset(); }
  TraceHandle& snmp = TraceHandle::instance("Snmp");
  TraceHandle& ptpSnmp = TraceHandle::instance("PtpSnmp");
};

TEST_F(TraceTest, AHandleIsOnePerName) {
  EXPECT_EQ(&TraceHandle::instance("Snmp"), &snmp);
  EXPECT_NE(&snmp, &ptpSnmp);
  EXPECT_EQ(snmp.name(), "Snmp");
}

TEST_F(TraceTest, NoLevelIsOnUntilItIsSelected) {
  EXPECT_EQ(levelsOn(TraceHandle::instance("NeverSelected")), std::vector<unsigned>{});
}

TEST_F(TraceTest, ASelectionSwitchesOnTheLevelsAndRangesThatItNames) {
  TraceSettings::select("Snmp/0-2,PtpSnmp/8");
  EXPECT_EQ(levelsOn(snmp), (std::vector{0U, 1U, 2U}));
  EXPECT_EQ(levelsOn(ptpSnmp), (std::vector{8U}));
}

TEST_F(TraceTest, SelectionsAddUp) {
  TraceSettings::select("Snmp/1");
  TraceSettings::select("Snmp/31,Snmp/8-9");
  EXPECT_EQ(levelsOn(snmp), (std::vector{1U, 8U, 9U, 31U}));
}

TEST_F(TraceTest, OffSwitchesOffEveryLevelSelectedBefore) {
  TraceSettings::select("Snmp/0-31,Snmp/off");
  EXPECT_EQ(levelsOn(snmp), std::vector<unsigned>{});
}

TEST_F(TraceTest, AfterAResetNoLevelIsOn) {
  TraceSettings::select("Snmp/0-31");
  TraceSettings::reset();
  EXPECT_EQ(levelsOn(snmp), std::vector<unsigned>{});
}

TEST_F(TraceTest, ASelectionHoldsForHandlesMadeLater) {
  TraceSettings::select("MadeAfterItsSelection/4");
  EXPECT_EQ(levelsOn(TraceHandle::instance("MadeAfterItsSelection")), (std::vector{4U}));
}

TEST_F(TraceTest, AnEmptySelectionChangesNothing) {
  TraceSettings::select("Snmp/3");
  TraceSettings::select("");
  EXPECT_EQ(levelsOn(snmp), (std::vector{3U}));
}

TEST_F(TraceTest, ABadItemIsNamedAndNothingIsSelected) {
  for (const std::string bad : {"Snmp", "Snmp/", "/1", "Snmp/x", "Snmp/32", "Snmp/-1", "Snmp/1-", "Snmp/3-2",
                                "Snmp/1-32", "Snmp/1 ", "Snmp/1/2", "Snmp/OFF", "Snmp/4294967296"}) {
    try {
      TraceSettings::select("PtpSnmp/5," + bad + ",PtpSnmp/6");
      ADD_FAILURE() << bad;
    } catch (const Zarn::RangeException& error) {
      EXPECT_NE(std::string(error.what()).find('"' + bad + '"'), std::string::npos) << error.what();
    }
    EXPECT_EQ(levelsOn(snmp), std::vector<unsigned>{}) << bad;
    EXPECT_EQ(levelsOn(ptpSnmp), std::vector<unsigned>{}) << bad;
  }
  EXPECT_THROW(TraceSettings::select(",Snmp/1"), Zarn::RangeException);
}

TEST_F(TraceTest, ALineIsHandleLevelAndMessage) {
  test::TraceCapture trace("PtpSnmp/8");
  ptpSnmp.trace(8, "Enter ", 4, '/', std::string("x"));
  EXPECT_EQ(trace.take(), (Lines{"PtpSnmp/8 Enter 4/x"}));
}

TEST_F(TraceTest, ALevelThatIsOffWritesNothing) {
  test::TraceCapture trace("Snmp/1");
  snmp.trace(2, "detail");
  ptpSnmp.trace(1, "start");
  EXPECT_EQ(trace.take(), Lines{});
}

struct CountsItsFormatting {
  int& count;
  friend std::ostream& operator<<(std::ostream& os, const CountsItsFormatting& part) {
    ++part.count;
    return os << "formatted";
  }
};

TEST_F(TraceTest, NothingIsFormattedWhileTheLevelIsOff) {
  int count = 0;
  snmp.trace(8, CountsItsFormatting{count});
  EXPECT_EQ(count, 0);
  test::TraceCapture trace("Snmp/8");
  snmp.trace(8, CountsItsFormatting{count});
  EXPECT_EQ(count, 1);
  EXPECT_EQ(trace.take(), (Lines{"Snmp/8 formatted"}));
}

TEST_F(TraceTest, WithoutASinkALineGoesToStandardError) {
  TraceSettings::select("Snmp/0");
  testing::internal::CaptureStderr();
  snmp.trace(0, "an error");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Snmp/0 an error\n");
}

}  // namespace
