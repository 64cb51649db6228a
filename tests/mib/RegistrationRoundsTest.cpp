// A module is unloaded and loaded again on each reload of its agent: nothing may pile up.
#include <gtest/gtest.h>
#include <malloc.h>

#include "Device.h"
#include "Snmp/RegVoidCollByContext.h"
#include "SnmpAgent.h"
#include "ptpbaseMIB/ptpbaseMIB.h"

namespace {

using namespace test;

// Every subtree that is registered with the library, by name and handler.
std::vector<std::pair<Oid, std::string>> libraryRegistry() {
  std::vector<std::pair<Oid, std::string>> registry;
  for (const netsnmp_subtree* tree = netsnmp_subtree_find_first(""); tree != nullptr; tree = tree->next) {
    registry.emplace_back(Oid(tree->start_a, tree->start_a + tree->start_len),
                          tree->reginfo != nullptr ? tree->reginfo->handlerName : "");
  }
  return registry;
}

TEST(RegistrationRoundsTest, AThousandRoundsLeaveMemoryAndTheLibrarysRegistryAsTheyWere) {
  SnmpAgent& agent = SnmpAgent::instance();
  Device device;
  device.track();
  populateTransparentClock(device);
  const auto round = [&] {
    init_ptpbaseMIB("");
    init_ptpbaseMIB("blue");
    EXPECT_EQ(agent.get({parseOid("1.3.6.1.2.1.241.1.1.2.1.2.3")}).varbinds.at(0).value, "1");
    unregister_ptpbaseMIB("blue");
    unregister_ptpbaseMIB("");
  };
  for (int i = 0; i < 10; ++i) round();  // what is made once
  const auto registry = libraryRegistry();
  const auto* const records =
      static_cast<Snmp::RegVoidCollByContext*>(Zarn::Entity::singletonExists(Snmp::RegVoidCollByContext::typeName));
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 1000; ++i) round();
  EXPECT_EQ(records->size(), 0U);
  EXPECT_EQ(libraryRegistry(), registry);
  // The smallest thing that a round could lose is a block of 32 bytes.
  EXPECT_LT(mallinfo2().uordblks, before + 1000 * 16);
}

TEST(RegistrationRoundsTest, NoTraceIsLeftOfAThousandContextsOnceTheyAreUnregistered) {
  Device device;
  const auto round = [](int number) {
    const Kestor::String context = "context with a name too long for the string itself " + std::to_string(number);
    init_ptpbaseMIB(context);
    unregister_ptpbaseMIB(context);
  };
  for (int i = 0; i < 10; ++i) round(i);
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 10; i < 1010; ++i) round(i);
  EXPECT_LT(mallinfo2().uordblks, before + 1000 * 16);
}

}  // namespace
