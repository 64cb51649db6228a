#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Columns.h"
#include "Requests.h"
#include "TraceCapture.h"

namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr int setModes[] = {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT,
                            MODE_SET_FREE,     MODE_SET_UNDO,     MODE_GETNEXT,    MODE_GETBULK};

class HandlerTest : public testing::TestWithParam<Table> {
 protected:
  HandlerTest() {
    addRows(device_);
    walk_.first();
  }

  std::string line(int level, const std::string& rest) const {
    return fmt::format("Snmp/{} {}{}", level, table_.name, rest);
  }
  Lines entry(int mode) const { return {line(2, "_handler"), line(2, fmt::format("_handler: request mode {}", mode))}; }

  const Table& table_ = GetParam();
  Device device_;
  Walk walk_{GetParam(), device_};
};

TEST_P(HandlerTest, EveryModeButGetIsRefusedOnTheFirstOpenRequestAlone) {
  for (const int mode : setModes) {
    Requests requests(table_, mode);
    requests.add(table_.served[0], &walk_).processed = 1;
    requests.add(table_.served[0], &walk_);
    requests.add(table_.served[0], &walk_);
    TraceCapture traces("Snmp/0-31");
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
    EXPECT_TRUE(requests.untouched(0));
    EXPECT_EQ(requests[1].status, SNMP_ERR_NOTWRITABLE);
    EXPECT_TRUE(requests.untouched(2));
    Lines expected = entry(mode);
    expected.push_back(line(2, fmt::format("_handler: request {} already processed", fmt::ptr(&requests[0]))));
    expected.push_back(line(0, fmt::format(" invalid column {}", table_.served[0])));
    EXPECT_EQ(traces.take(), expected);
  }
}

TEST_P(HandlerTest, ARefusalNeedsNoRow) {
  Requests requests(table_, MODE_SET_RESERVE1);
  requests.add(table_.lastColumn, nullptr);
  EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
  EXPECT_EQ(requests[0].status, SNMP_ERR_NOTWRITABLE);
}

TEST_P(HandlerTest, AListThatIsProcessedAlreadySetsNothing) {
  for (const int mode : {int{MODE_GET}, int{MODE_SET_RESERVE1}}) {
    Requests requests(table_, mode);
    for (int i = 0; i < 3; ++i) requests.add(table_.served[0], &walk_).processed = 1;
    TraceCapture traces("Snmp/0-31");
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
    Lines expected = entry(mode);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(requests.untouched(i));
      expected.push_back(line(2, fmt::format("_handler: request {} already processed", fmt::ptr(&requests[i]))));
    }
    EXPECT_EQ(traces.take(), expected);
  }
}

TEST_P(HandlerTest, AnEmptyListIsNoError) {
  for (const int mode : {int{MODE_GET}, int{MODE_SET_RESERVE1}}) {
    Requests requests(table_, mode);
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
  }
}

TEST_P(HandlerTest, ARequestWithoutARowEndsTheCallWithoutAnError) {
  Requests requests(table_, MODE_GET);
  requests.add(table_.served[0], nullptr);
  requests.add(table_.served[0], &walk_);
  TraceCapture traces("Snmp/0-31");
  EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
  EXPECT_TRUE(requests.untouched(0));
  EXPECT_TRUE(requests.untouched(1));
  Lines expected = entry(MODE_GET);
  expected.push_back(line(2, "_handler: null data context in request"));
  EXPECT_EQ(traces.take(), expected);
}

TEST_P(HandlerTest, AColumnThatIsNotServedIsNoObjectAndEndsTheCall) {
  for (unsigned column = 0; column <= table_.lastColumn + 2; ++column) {
    if (std::find(table_.served.begin(), table_.served.end(), column) != table_.served.end()) continue;
    Requests requests(table_, MODE_GET);
    requests.add(column, &walk_);
    requests.add(table_.served[0], &walk_);
    TraceCapture traces("Snmp/0");
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
    EXPECT_EQ(requests.value(0).type, "noSuchObject");
    EXPECT_TRUE(requests.untouched(1));
    EXPECT_THAT(traces.take(), ElementsAre(line(0, fmt::format(" invalid column {}", column))));
  }
}

TEST_P(HandlerTest, AGetNamesItsColumnAndTheKeyOfItsRow) {
  for (const Column& column : columns()) {
    if (column.table != table_.name) continue;
    Requests requests(table_, MODE_GET);
    requests.add(column.number, &walk_);
    TraceCapture traces("Snmp/0-31");
    requests.handle();
    const std::string key = keyText(table_, rowIndexes(table_).front());
    EXPECT_THAT(traces.take(),
                Contains(line(2, fmt::format("_handler: request GET for column {}, key {}", column.name, key))));
  }
}

TEST_P(HandlerTest, EachServedColumnIsAnsweredInEachRequestThatIsOpen) {
  Requests requests(table_, MODE_GET);
  for (const unsigned column : table_.served) {
    // Without a data set behind it a name has no value, which is another test's subject.
    if (table_.name.starts_with("ptpbaseClockPort") && column == 5 && table_.indexes.size() == 4) continue;
    requests.add(column, &walk_).processed = 1;
    requests.add(column, &walk_);
  }
  EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
  for (std::size_t i = 0; i < requests.size(); ++i) EXPECT_EQ(requests.untouched(i), i % 2 == 0) << i;
}

TEST_P(HandlerTest, NothingIsTracedWhileItsLevelIsOff) {
  TraceCapture traces("Snmp/1,Snmp/3-31");
  for (const int mode : {int{MODE_GET}, int{MODE_SET_RESERVE1}}) {
    Requests requests(table_, mode);
    requests.add(table_.served[0], &walk_);
    requests.add(1, &walk_);
    requests.handle();
  }
  EXPECT_THAT(traces.take(), IsEmpty());
}

TEST_P(HandlerTest, TheOutcomeIsTheSameWithAndWithoutTraces) {
  const auto outcome = [&](const char* selection) {
    TraceCapture traces(selection);
    Requests requests(table_, MODE_GET);
    for (const unsigned column : table_.served) requests.add(column, &walk_);
    const int result = requests.handle();
    std::vector<Varbind> values;
    for (std::size_t i = 0; i < requests.size(); ++i) values.push_back(requests.value(i));
    return std::make_pair(result, values);
  };
  EXPECT_EQ(outcome("Snmp/0-31"), outcome("Snmp/off"));
}

// The lines of one GET of a row's first cell.
Lines traceOfGet(const Table& table) {
  Device device;
  addRows(device);
  Walk walk(table, device);
  walk.first();
  Requests requests(table, MODE_GET);
  requests.add(table.served[0], &walk);
  TraceCapture traces("Snmp/0-31");
  requests.handle();
  return traces.take();
}

TEST(GetTraceTest, AGetTellsOfTheCallItsModeAndTheCell) {
  EXPECT_THAT(traceOfGet(table("ptpbaseClockPortTransDSTable")),
              ElementsAre("Snmp/2 ptpbaseClockPortTransDSTable_handler",
                          "Snmp/2 ptpbaseClockPortTransDSTable_handler: request mode 160",
                          "Snmp/2 ptpbaseClockPortTransDSTable_handler: request GET for column "
                          "ptpbaseClockPortTransDSPortIdentity, key "
                          "PtpSnmp::PortTransDSTableKey(domainIndex=0,instanceIndex=1,portNumberIndex=9)"));
}

TEST(GetTraceTest, TheSystemTablesColumnIsNamedWithoutTheTablesPrefix) {
  EXPECT_EQ(traceOfGet(table("ptpbaseSystemTable")).back(),
            "Snmp/2 ptpbaseSystemTable_handler: request GET for column ptpDomainClockPortsTotal, key "
            "PtpSnmp::SystemTableKey(ptpDomainIndex=0,ptpInstanceIndex=1)");
}

TEST(GetTraceTest, AClockTypeIsAKeyByItself) {
  EXPECT_EQ(traceOfGet(table("ptpbaseSystemDomainTable")).back(),
            "Snmp/2 ptpbaseSystemDomainTable_handler: request GET for column ptpbaseSystemDomainTotals, key "
            "ordinaryClock");
}

INSTANTIATE_TEST_SUITE_P(Tables, HandlerTest, testing::ValuesIn(tables()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
