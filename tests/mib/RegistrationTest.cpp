#include <gmock/gmock.h>

#include "Device.h"
#include "LibrarySpy.h"
#include "Snmp/HandlerRegistration.h"
#include "Snmp/RegVoidCollByContext.h"
#include "SnmpAgent.h"
#include "Tables.h"
#include "TraceCapture.h"
#include "Zarn/StateDatabase.h"

namespace {

using namespace test;
using testing::Each;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Announced = std::pair<Kestor::String, Kestor::String>;

Kestor::Ptr<Snmp::RegVoid> record(const std::string& context, const std::string& tableName) {
  const auto* const records =
      static_cast<Snmp::RegVoidCollByContext*>(Zarn::Entity::singletonExists(Snmp::RegVoidCollByContext::typeName));
  return records == nullptr ? nullptr : records->regVoid(context, tableName);
}

class RegistrationTest : public testing::Test {
 protected:
  RegistrationTest() { spy_.reset(); }

  // The first row's first cell is found under a name that is one component short. Without any component the library
  // has no name for the row, and the process none the worse for it.
  void expectServedWithoutOneIndex(const Table& t) {
    const Oid column = t.root + Oid{1, t.served[0]};
    if (t.indexes.size() == 1) {
      EXPECT_EQ(agent_.getNext({column}).errorStatus, SNMP_ERR_GENERR) << t.name;
      EXPECT_EQ(agent_.get({column + Oid{1}}).errorStatus, SNMP_ERR_GENERR) << t.name;
      return;
    }
    Varbind cell = *std::find_if(golden_.begin(), golden_.end(),
                                 [&](const Varbind& each) { return startsWith(each.name, column); });
    cell.name.pop_back();
    EXPECT_EQ(agent_.getNext({column}).varbinds.at(0), cell);
    EXPECT_EQ(agent_.get({cell.name}).varbinds.at(0), cell);
  }

  SnmpAgent& agent_ = SnmpAgent::instance();
  LibrarySpy& spy_ = LibrarySpy::instance();
  const std::vector<Varbind> golden_ = goldenList("transparent.txt");
  Device device_;
};

std::vector<std::string> callsOf(const std::vector<const char*>& calls) {
  std::vector<std::string> expected;
  for (const Table& t : tables()) {
    for (const char* call : calls) expected.push_back(std::string(call) + " " + t.name + "_");
  }
  return expected;
}

TEST_F(RegistrationTest, TheTwelveTablesAreRegisteredInOrderAndThenAnnounced) {
  init_ptpbaseMIB("");
  EXPECT_THAT(spy_.calls, ElementsAreArray(callsOf({"create", "register", "inject"})));
  ASSERT_THAT(spy_.registered, SizeIs(12));
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(spy_.registered[i].name, tables()[i].name + "_");
    EXPECT_EQ(spy_.registered[i].root, tables()[i].root);
    EXPECT_EQ(spy_.registered[i].handler, tables()[i].handler);
    EXPECT_EQ(spy_.registered[i].modes, HANDLER_CAN_GETANDGETNEXT);
    EXPECT_FALSE(spy_.registered[i].announced);
  }
  EXPECT_THAT(Snmp::mibContexts(), testing::ElementsAre(Announced("", "ptpbaseMIB")));
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, IndexesAndColumnsAreDescribedAndCountedByTheLibraryAlone) {
  init_ptpbaseMIB("");
  for (std::size_t i = 0; i < 12; ++i) {
    const Table& t = tables()[i];
    const Registered& seen = spy_.registered.at(i);
    std::vector<u_char> types;
    for (const Index& index : t.indexes) types.push_back(index.type);
    EXPECT_THAT(seen.indexTypes, ElementsAreArray(types)) << t.name;
    EXPECT_EQ(seen.numberIndexes, 0) << t.name;
    EXPECT_EQ(seen.minColumn, t.firstColumn) << t.name;
    EXPECT_EQ(seen.maxColumn, t.lastColumn) << t.name;
    EXPECT_EQ(seen.columns.isRange, 0) << t.name;
    EXPECT_EQ(seen.columns.next, nullptr) << t.name;
    ASSERT_THAT(seen.validColumns, SizeIs(t.lastColumn - t.firstColumn + 1)) << t.name;
    for (unsigned c = 0; c < seen.validColumns.size(); ++c) EXPECT_EQ(seen.validColumns[c], t.firstColumn + c);
  }
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, TheIteratorIsSortedOwnedByTheLibraryAndBoundToTheTablesRecord) {
  init_ptpbaseMIB("");
  for (std::size_t i = 0; i < 12; ++i) {
    const Table& t = tables()[i];
    const netsnmp_iterator_info& iterator = spy_.registered.at(i).iterator;
    EXPECT_EQ(iterator.flags, 3) << t.name;
    EXPECT_EQ(iterator.refcnt, 0) << t.name;
    EXPECT_EQ(iterator.get_first_data_point, t.getFirst) << t.name;
    EXPECT_EQ(iterator.get_next_data_point, t.getNext) << t.name;
    EXPECT_EQ(iterator.make_data_context, t.makeDataContext) << t.name;
    EXPECT_EQ(iterator.free_data_context, t.freeDataContext) << t.name;
    EXPECT_EQ(iterator.free_loop_context_at_end, t.freeLoopContextAtEnd) << t.name;
    EXPECT_EQ(iterator.free_loop_context, nullptr) << t.name;
    ASSERT_NE(record("", t.name), nullptr) << t.name;
    EXPECT_EQ(iterator.myvoid, record("", t.name).get()) << t.name;
    EXPECT_EQ(spy_.registered[i].record, iterator.myvoid) << t.name;
    EXPECT_EQ(record("", t.name)->data(), device_.ptpMib.get()) << t.name;
  }
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, UnregisteringTakesRecordsAndHandlersBackInOrder) {
  init_ptpbaseMIB("");
  spy_.reset();
  unregister_ptpbaseMIB("");
  std::vector<std::string> unregistered;
  std::copy_if(spy_.calls.begin(), spy_.calls.end(), std::back_inserter(unregistered),
               [](const std::string& call) { return call.starts_with("unregister "); });
  EXPECT_THAT(unregistered, ElementsAreArray(callsOf({"unregister"})));
  for (const Table& t : tables()) EXPECT_EQ(record("", t.name), nullptr) << t.name;
  EXPECT_THAT(Snmp::mibContexts(), IsEmpty());
  EXPECT_THAT(agent_.walk(ptpbaseMIB()), IsEmpty());
}

TEST_F(RegistrationTest, NothingIsRememberedOfAContextThatWasUnregistered) {
  init_ptpbaseMIB("");
  unregister_ptpbaseMIB("");
  spy_.reset();
  unregister_ptpbaseMIB("");
  EXPECT_THAT(spy_.calls, IsEmpty());
  init_ptpbaseMIB("");
  EXPECT_THAT(spy_.registered, SizeIs(12));
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, UnregisteringAContextThatNeverWasOnlyWithdrawsTheModule) {
  Snmp::registerMibContext("blue", "ptpbaseMIB");
  TraceCapture traces("Snmp/0-31");
  unregister_ptpbaseMIB("blue");
  EXPECT_THAT(spy_.calls, IsEmpty());
  EXPECT_THAT(Snmp::mibContexts(), IsEmpty());
  EXPECT_THAT(traces.take(), testing::ElementsAre("Snmp/2 Unregistering ptpbaseMIB in context \"blue\""));
}

TEST_F(RegistrationTest, EveryOtherContextIsDeclinedTableByTableAndStillAnnounced) {
  TraceCapture traces("Snmp/2");
  init_ptpbaseMIB("blue");
  std::vector<std::string> expectedTraces;
  std::vector<std::string> expectedCalls;
  for (const Table& t : tables()) {
    expectedTraces.push_back("Snmp/2 initialize_table_" + t.name +
                             " in context \"blue\" vornPathWithContext not specified ");
    expectedCalls.push_back("create " + t.name + "_blue");
    expectedCalls.push_back("free " + t.name + "_blue");
  }
  EXPECT_THAT(traces.take(), ElementsAreArray(expectedTraces));
  EXPECT_THAT(spy_.calls, ElementsAreArray(expectedCalls));
  EXPECT_THAT(Snmp::mibContexts(), testing::ElementsAre(Announced("blue", "ptpbaseMIB")));
  for (const Table& t : tables()) EXPECT_EQ(record("blue", t.name), nullptr);
  spy_.reset();
  unregister_ptpbaseMIB("blue");
  EXPECT_THAT(spy_.calls, IsEmpty());
}

TEST_F(RegistrationTest, AContextMayBeServedBesideADeclinedOne) {
  init_ptpbaseMIB("");
  init_ptpbaseMIB("blue");
  EXPECT_THAT(Snmp::mibContexts(), testing::ElementsAre(Announced("", "ptpbaseMIB"), Announced("blue", "ptpbaseMIB")));
  unregister_ptpbaseMIB("blue");
  for (const Table& t : tables()) EXPECT_NE(record("", t.name), nullptr);
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, ADeclinedContextNeedsNoContainer) {
  Zarn::StateDatabase::instance().entityDel("snmp/ptp/ptpmib");
  init_ptpbaseMIB("blue");
  unregister_ptpbaseMIB("blue");
}

TEST_F(RegistrationTest, StartAndEndOfATablesInitialisationAreTraced) {
  TraceCapture traces("Snmp/1,Snmp/8");
  init_ptpbaseMIB("");
  std::vector<std::string> lines = traces.take();
  std::vector<std::string> expected;
  for (const Table& t : tables()) {
    char text[200];
    snprint_objid(text, sizeof text, t.root.data(), t.root.size());
    expected.push_back("Snmp/1 initialize_table_" + t.name + " initializing oid " + text + " in context \"\"");
    expected.push_back("Snmp/8 Initialized table " + t.name + " in context \"\"");
  }
  EXPECT_THAT(lines, ElementsAreArray(expected));
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, AnIndexThatCannotBeSetUpIsTracedAndTheTableServedWithoutIt) {
  device_.track();
  populateTransparentClock(device_);
  int before = 0;
  for (const Table& t : tables()) {
    for (std::size_t failing = 0; failing < t.indexes.size(); ++failing, ++before) {
      spy_.reset();
      spy_.failingVarbind = static_cast<int>(failing);
      TraceCapture traces("Snmp/0");
      t.initialize(SnmpUtil::getSnmpConfig(), "");
      EXPECT_THAT(traces.take(), testing::ElementsAre("Snmp/0 Failed to set up " + t.indexes[failing].name +
                                                      " in netsnmp table_info in context \"\""));
      ASSERT_THAT(spy_.registered, SizeIs(1));
      std::vector<u_char> rest;
      for (std::size_t i = 0; i < t.indexes.size(); ++i) {
        if (i != failing) rest.push_back(t.indexes[i].type);
      }
      EXPECT_THAT(spy_.registered[0].indexTypes, ElementsAreArray(rest)) << t.name;
      expectServedWithoutOneIndex(t);
      unregister_ptpbaseMIB("");
    }
  }
  EXPECT_EQ(before, 35);
}

TEST_F(RegistrationTest, TheModulesRegistrationIsEnrolledAndInitialisesTheContext) {
  ASSERT_THAT(Snmp::handlerRegistrations(), SizeIs(1));
  Snmp::handlerRegistrations().front()->initHandler("");
  EXPECT_THAT(spy_.registered, SizeIs(12));
  unregister_ptpbaseMIB("");
}

TEST_F(RegistrationTest, TheLibrarysDebugOutputTellsOfTheInitialisation) {
  char tokens[] = "trace,ptpbaseMIB";
  debug_register_tokens(tokens);
  snmp_set_do_debugging(1);
  snmp_enable_stderrlog();
  testing::internal::CaptureStderr();
  init_ptpbaseMIB("");
  const std::string output = testing::internal::GetCapturedStderr();
  snmp_disable_stderrlog();
  snmp_set_do_debugging(0);
  unregister_ptpbaseMIB("");
  EXPECT_THAT(output, testing::ContainsRegex("trace: init_ptpbaseMIB\\(\\): .*ptpbaseMIB\\.cpp, [0-9]+:\n"
                                             "ptpbaseMIB: Initializing in context \"\"\n"));
}

}  // namespace
