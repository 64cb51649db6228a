#include <gtest/gtest.h>

#include <optional>

#include "Snmp/HandlerRegistration.h"
#include "Snmp/RegVoidCollByContext.h"
#include "Snmp/SnmpUtil.h"

namespace {

TEST(TableRecords, AreFoundByContextAndTable) {
  const auto records = Kestor::make<Snmp::RegVoidCollByContext>();
  int data = 0;
  const auto record = records->addRegVoid("", "table", &data);
  EXPECT_EQ(record->data(), &data);
  EXPECT_EQ(records->regVoid("", "table"), record);
  EXPECT_EQ(records->regVoid("other", "table"), nullptr);
  EXPECT_EQ(records->regVoid("", "other"), nullptr);
  records->addRegVoid("other", "table", &data);
  EXPECT_EQ(records->size(), 2U);
}

TEST(TableRecords, ANewRecordReplacesTheOldOne) {
  const auto records = Kestor::make<Snmp::RegVoidCollByContext>();
  int data[2] = {};
  const auto first = records->addRegVoid("", "table", &data[0]);
  const auto second = records->addRegVoid("", "table", &data[1]);
  EXPECT_EQ(first->refCount(), 1U);
  EXPECT_EQ(records->regVoid("", "table"), second);
  EXPECT_EQ(records->size(), 1U);
}

TEST(TableRecords, ADeletedRecordIsReleased) {
  const auto records = Kestor::make<Snmp::RegVoidCollByContext>();
  int data = 0;
  const auto record = records->addRegVoid("", "table", &data);
  records->delRegVoid("", "table");
  EXPECT_EQ(record->refCount(), 1U);
  EXPECT_EQ(records->regVoid("", "table"), nullptr);
  records->delRegVoid("", "table");
}

TEST(TableRecords, AreASingletonUnderTheirTypesName) {
  const Kestor::String type = Snmp::RegVoidCollByContext::typeName;
  Zarn::Entity* const made = Zarn::Entity::singletonIs(type, &Snmp::RegVoidCollByContext::factory);
  EXPECT_EQ(made->fwkType(), type);
  EXPECT_EQ(Zarn::Entity::singletonExists(type), made);
  Zarn::Entity::singletonDel(type);
}

TEST(TableCounters, CountEachKindOnItsOwn) {
  const auto records = Kestor::make<Snmp::RegVoidCollByContext>();
  const auto record = records->addRegVoid("", "table", nullptr);
  const auto& counters = record->counters();
  ASSERT_NE(counters, nullptr);
  counters->orderedIterCntrsInc(Snmp::nextAdvanced, 1);
  counters->orderedIterCntrsInc(Snmp::nextAdvanced, 2);
  EXPECT_EQ(counters->orderedIterCntrs(Snmp::nextAdvanced), 3U);
  EXPECT_EQ(counters->orderedIterCntrs(Snmp::hintMatched), 0U);
  EXPECT_EQ(record->fwkType(), "Snmp::RegVoid");
  EXPECT_EQ(counters->fwkType(), "Snmp::TableCounters");
  record->countersIs(nullptr);
  EXPECT_EQ(record->counters(), nullptr);
}

struct Handler final : Snmp::HandlerRegistration {
  void initHandler(Kestor::String) override {}
};

TEST(Enrolment, LastsAsLongAsTheRegistree) {
  Handler first;
  Handler second;
  std::optional<Snmp::AutoRegistree> firstEnrolled(std::in_place, &first);
  {
    const Snmp::AutoRegistree secondEnrolled(&second);
    EXPECT_EQ(Snmp::handlerRegistrations(), (std::vector<Snmp::HandlerRegistration*>{&first, &second}));
    firstEnrolled.reset();
    EXPECT_EQ(Snmp::handlerRegistrations(), (std::vector<Snmp::HandlerRegistration*>{&second}));
  }
  EXPECT_TRUE(Snmp::handlerRegistrations().empty());
}

TEST(MibContexts, AreAnnouncedAndWithdrawn) {
  Snmp::registerMibContext("", "ptpbaseMIB");
  Snmp::registerMibContext("", "ptpbaseMIB");
  Snmp::registerMibContext("red", "ptpbaseMIB");
  EXPECT_EQ(Snmp::mibContexts().size(), 2U);
  EXPECT_TRUE(Snmp::mibContexts().contains({"", "ptpbaseMIB"}));
  Snmp::unregisterMibContext("", "ptpbaseMIB");
  Snmp::unregisterMibContext("", "unknown");
  EXPECT_EQ(Snmp::mibContexts().size(), 1U);
  Snmp::unregisterMibContext("red", "ptpbaseMIB");
  EXPECT_TRUE(Snmp::mibContexts().empty());
}

TEST(SnmpConfiguration, IsThereAndTheSameForAll) {
  ASSERT_NE(SnmpUtil::getSnmpConfig(), nullptr);
  EXPECT_EQ(SnmpUtil::getSnmpConfig(), SnmpUtil::getSnmpConfig());
  EXPECT_EQ(SnmpUtil::getSnmpConfig()->fwkType(), "Snmp::Config");
}

}  // namespace
