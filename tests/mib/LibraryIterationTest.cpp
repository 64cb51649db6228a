// The tables' iteration, counted, as the agent library drives it.
#include <gmock/gmock.h>

#include <array>
#include <set>

#include "Device.h"
#include "Snmp/RegVoidCollByContext.h"
#include "SnmpAgent.h"
#include "TraceCapture.h"

namespace {

using namespace test;
using testing::ElementsAre;

class LibraryIterationTest : public testing::Test {
 protected:
  LibraryIterationTest() { populateBoundaryClock(device_); }

  std::array<unsigned long, 6> counts(const std::string& table) const {
    const auto* const records =
        static_cast<Snmp::RegVoidCollByContext*>(Zarn::Entity::singletonExists(Snmp::RegVoidCollByContext::typeName));
    const auto record = records->regVoid("", table);
    std::array<unsigned long, 6> values{};
    for (unsigned kind = 0; kind < 6; ++kind) {
      values[kind] = record->counters()->orderedIterCntrs(static_cast<Snmp::OrderedTableIteratorCounterTypes>(kind));
    }
    return values;
  }

  ServedDevice device_;
  SnmpAgent& agent_ = SnmpAgent::instance();
  const std::string current_ = "ptpbaseClockCurrentDSTable";
  const std::string port_ = "ptpbaseClockPortTable";
};

const Oid portRole = parseOid("1.3.6.1.2.1.241.1.2.7.1.6");

TEST_F(LibraryIterationTest, AGetOfARowIsOneSearch) {
  agent_.get({parseOid("1.3.6.1.2.1.241.1.2.1.1.4.5.2.1")});
  EXPECT_THAT(counts(current_), ElementsAre(0, 1, 0, 0, 0, 0));
}

TEST_F(LibraryIterationTest, AGetNextFromARowIsOneSearchAndOneStep) {
  agent_.getNext({portRole + Oid{5, 2, 1, 1}});
  EXPECT_THAT(counts(port_), ElementsAre(0, 1, 0, 0, 0, 1));
}

TEST_F(LibraryIterationTest, AGetNextFromTheLastRowGoesOnInTheNextColumnsFirstRow) {
  EXPECT_EQ(agent_.getNext({portRole + Oid{5, 2, 1, 300}}).varbinds.at(0).name,
            parseOid("1.3.6.1.2.1.241.1.2.7.1.7.5.2.1.1"));
  EXPECT_THAT(counts(port_), ElementsAre(0, 1, 1, 0, 1, 0));
}

TEST_F(LibraryIterationTest, AGetNextFromAnAbsentRowStartsAtTheFirst) {
  EXPECT_EQ(agent_.getNext({portRole + Oid{5, 2, 1, 299}}).varbinds.at(0).name, portRole + (Oid{5, 2, 1, 300}));
  EXPECT_THAT(counts(port_), ElementsAre(1, 0, 1, 0, 0, 1));
}

TEST_F(LibraryIterationTest, AGetNextWithAPartialIndexStartsAtTheFirstRow) {
  EXPECT_EQ(agent_.getNext({portRole + Oid{5, 2}}).varbinds.at(0).name, portRole + (Oid{5, 2, 1, 1}));
  EXPECT_THAT(counts(port_), ElementsAre(0, 0, 1, 0, 0, 0));
}

TEST_F(LibraryIterationTest, AClockTypeOutOfRangeInARequestIsAnErrorTraceAndAnAbsentCell) {
  TraceCapture traces("Snmp/0");
  EXPECT_EQ(agent_.get({portRole + Oid{5, 9, 1, 1}}).varbinds.at(0).type, "noSuchInstance");
  EXPECT_THAT(traces.take(),
              ElementsAre("Snmp/0 hint for index ptpbaseClockPortClockTypeIndex of ptpbaseClockPortTable is out of "
                          "range! invalid value for PtpSnmp::ClockType"));
}

TEST_F(LibraryIterationTest, TheLevelsAreIndependent) {
  const auto linesAt = [&](const char* selection) {
    TraceCapture traces(selection);
    agent_.get({portRole + Oid{5, 9, 1, 1}});
    agent_.get({parseOid("1.3.6.1.2.1.241.1.2.4.1.4.5.2.1")});
    return traces.take();
  };
  EXPECT_THAT(linesAt("Snmp/off"), testing::IsEmpty());
  EXPECT_THAT(linesAt("Snmp/0"), testing::AllOf(testing::SizeIs(2), testing::Each(testing::StartsWith("Snmp/0 "))));
  EXPECT_THAT(linesAt("Snmp/off,Snmp/2"),
              testing::AllOf(testing::Not(testing::IsEmpty()), testing::Each(testing::StartsWith("Snmp/2 "))));
}

TEST_F(LibraryIterationTest, ContextsAreFreedAfterEachRequest) {
  TraceCapture traces("Snmp/2");
  agent_.getBulk({ptpbaseMIB()}, 50);
  agent_.get({portRole + Oid{5, 2, 1, 1}, portRole + Oid{5, 2, 1, 300}, portRole + Oid{5, 2, 1, 2}});
  std::multiset<std::string> open;
  for (const std::string& line : traces.take()) {
    const auto pointer = [&](const std::string& mark) {
      const auto at = line.find(mark);
      return at == std::string::npos
                 ? ""
                 : line.substr(at + mark.size(), line.find_first_of(", ", at + mark.size()) - at - mark.size());
    };
    for (const char* made : {"allocated new loop context ", "allocated data context "}) {
      if (const std::string p = pointer(made); !p.empty()) open.insert(p);
    }
    for (const char* freed : {"_free_data_context ", "_free_loop_context_at_end "}) {
      if (const std::string p = pointer(freed); !p.empty()) {
        ASSERT_EQ(open.count(p), 1U) << line;
        open.erase(p);
      }
    }
  }
  EXPECT_THAT(open, testing::IsEmpty());
}

TEST_F(LibraryIterationTest, AWalkOfTheParentTableVisitsItsColumnsAndNoIndex) {
  std::vector<oid> columns;
  for (const Varbind& cell : agent_.walk(parseOid("1.3.6.1.2.1.241.1.2.2"))) {
    if (cell.name[9] == 2) columns.push_back(cell.name[11]);
  }
  EXPECT_THAT(columns, ElementsAre(4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST_F(LibraryIterationTest, ColumnsThatAreNotServedAreNoObject) {
  for (const char* name :
       {"1.3.6.1.2.1.241.1.2.4.1.4.5.2.1", "1.3.6.1.2.1.241.1.2.7.1.8.5.2.1.1", "1.3.6.1.2.1.241.1.2.7.1.9.5.2.1.1"}) {
    EXPECT_EQ(agent_.get({parseOid(name)}).varbinds.at(0).type, "noSuchObject") << name;
  }
}

TEST_F(LibraryIterationTest, AnIndexColumnIsNoObject) {
  for (const Varbind& cell : goldenList("boundary.txt")) {
    Oid index = cell.name;
    index[11] = 1;
    EXPECT_EQ(agent_.get({index}).varbinds.at(0).type, "noSuchObject") << oidText(index);
  }
}

TEST_F(LibraryIterationTest, ANameThatCannotBeSentFailsItsPacketAndNoOther) {
  device_.status->portDS(Ptp::PortDSKey("020000.fffe.00b001-1"))->name = Kestor::String(65, 'n');
  const Oid name = parseOid("1.3.6.1.2.1.241.1.2.7.1.5.5.2.1.1");
  const Response response = agent_.get({portRole + Oid{5, 2, 1, 1}, name, portRole + Oid{5, 2, 1, 300}});
  EXPECT_EQ(response.errorStatus, SNMP_ERR_GENERR);
  EXPECT_EQ(response.errorIndex, 2) << "the library passes varbinds one by one";
  EXPECT_EQ(agent_.get({portRole + Oid{5, 2, 1, 1}}).varbinds.at(0).value, "2");
}

TEST_F(LibraryIterationTest, AnUnknownTransportTravelsAsZeroesAndEndsNoWalk) {
  device_.status->portDS(Ptp::PortDSKey("020000.fffe.00b001-1"))->transport = static_cast<Ptp::TransportMode>(7);
  const Oid transport = parseOid("1.3.6.1.2.1.241.1.2.9.1.9");
  const Varbind cell = agent_.getNext({transport}).varbinds.at(0);
  EXPECT_EQ(cell.name, transport + (Oid{5, 2, 1, 1}));
  // The library encodes an empty identifier as two zero bytes, which read back as three sub-identifiers.
  EXPECT_EQ(cell.type + ' ' + cell.value, "OID 0.0.0");
  EXPECT_EQ(agent_.getNext({cell.name}).varbinds.at(0).name, transport + (Oid{5, 2, 1, 300}));
}

}  // namespace
