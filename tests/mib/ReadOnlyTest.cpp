// Nothing can be written: a SET of any type to any name below the subtree is refused and changes nothing.
#include <gmock/gmock.h>

#include <set>

#include "Device.h"
#include "SnmpAgent.h"
#include "Tables.h"
#include "TraceCapture.h"

namespace {

using namespace test;

const std::vector<std::pair<char, std::string>>& anyValues() {
  static const std::vector<std::pair<char, std::string>> values{
      {'i', "1"}, {'u', "1"}, {'c', "1"}, {'C', "1"}, {'s', "x"}, {'o', "1.3.6.1"}, {'t', "1"}, {'a', "192.0.2.1"}};
  return values;
}

class ReadOnlyTest : public testing::Test {
 protected:
  ReadOnlyTest() { populateTransparentClock(device_); }

  void expectRefused(const Oid& name) {
    for (const auto& [type, value] : anyValues()) {
      const Response response = agent_.set({{name, type, value}});
      EXPECT_NE(response.errorStatus, SNMP_ERR_NOERROR) << oidText(name) << ' ' << type;
      EXPECT_EQ(response.errorIndex, 1) << oidText(name) << ' ' << type;
    }
  }

  ServedDevice device_;
  SnmpAgent& agent_ = SnmpAgent::instance();
  const std::vector<Varbind> golden_ = goldenList("transparent.txt");
};

TEST_F(ReadOnlyTest, EachOfThe66ColumnsIsNotWritable) {
  std::set<Oid> columns;
  for (const Varbind& cell : golden_) {
    columns.insert(Oid(cell.name.begin(), cell.name.begin() + 12));
    for (const auto& [type, value] : anyValues()) {
      const Response response = agent_.set({{cell.name, type, value}});
      EXPECT_EQ(response.errorStatus, SNMP_ERR_NOTWRITABLE) << cell << ' ' << type;
      EXPECT_EQ(response.errorIndex, 1) << cell << ' ' << type;
    }
  }
  EXPECT_EQ(columns.size(), 66U);
  EXPECT_EQ(agent_.walk(ptpbaseMIB()), golden_);
}

TEST_F(ReadOnlyTest, TheLibraryRefusesASetBeforeAnyHandlerHearsOfIt) {
  for (const Varbind& cell : golden_) {
    TraceCapture traces("Snmp/0-31");
    EXPECT_EQ(agent_.set({{cell.name, 'i', "1"}}).errorStatus, SNMP_ERR_NOTWRITABLE) << cell;
    EXPECT_THAT(traces.take(), testing::Each(testing::Not(testing::HasSubstr("_handler")))) << cell;
  }
}

TEST_F(ReadOnlyTest, AbsentRowsIndexColumnsAndIncompleteNamesAreRefused) {
  for (const Table& t : tables()) {
    const Oid absent(t.indexes.size(), 3);
    for (unsigned column = 1; column <= t.lastColumn + 1; ++column) {
      expectRefused(t.root + Oid{1, column} + absent);
      expectRefused(t.root + Oid{1, column});
    }
    expectRefused(t.root);
    expectRefused(t.root + Oid{1});
    expectRefused(t.root + Oid{2, 1, 1});
  }
  EXPECT_EQ(agent_.walk(ptpbaseMIB()), golden_);
}

TEST_F(ReadOnlyTest, ASetOfManyCellsNamesTheFirst) {
  const Response response = agent_.set({{golden_[0].name, 'u', "1"}, {golden_[5].name, 'i', "1"}});
  EXPECT_EQ(response.errorStatus, SNMP_ERR_NOTWRITABLE);
  EXPECT_EQ(response.errorIndex, 1);
  EXPECT_EQ(agent_.walk(ptpbaseMIB()), golden_);
}

TEST_F(ReadOnlyTest, Version1HearsOfAnErrorToo) {
  for (const Varbind& cell : golden_) {
    EXPECT_NE(agent_.set({{cell.name, 'i', "1"}}, SNMP_VERSION_1).errorStatus, SNMP_ERR_NOERROR) << cell;
  }
}

}  // namespace
