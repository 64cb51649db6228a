#include "Zarn/StateDatabase.h"

#include <gtest/gtest.h>

#include "IntfSnmp/IfMib.h"
#include "Snmp/SnmpUtil.h"

namespace {

const Kestor::String path = "snmp/test/ifmib";

struct StateDatabaseTest : testing::Test {
  ~StateDatabaseTest() override { database.entityDel(path); }
  Zarn::StateDatabase& database = Zarn::StateDatabase::instance();
};

TEST_F(StateDatabaseTest, HoldsAnEntityAtItsPath) {
  EXPECT_EQ(database.entity(path), nullptr);
  const auto entity = Kestor::make<IntfSnmp::IfMib>("ifMib");
  database.entityIs(path, entity);
  EXPECT_EQ(database.entity(path), entity.get());
  EXPECT_EQ(entity->refCount(), 2U);
  EXPECT_EQ(database.entity("snmp/test"), nullptr);
}

TEST_F(StateDatabaseTest, ReleasesWhatIsReplacedOrDeleted) {
  const auto first = Kestor::make<IntfSnmp::IfMib>("first");
  const auto second = Kestor::make<IntfSnmp::IfMib>("second");
  database.entityIs(path, first);
  database.entityIs(path, second);
  EXPECT_EQ(first->refCount(), 1U);
  EXPECT_EQ(database.entity(path), second.get());
  database.entityDel(path);
  EXPECT_EQ(second->refCount(), 1U);
  EXPECT_EQ(database.entity(path), nullptr);
  database.entityDel(path);
}

TEST_F(StateDatabaseTest, IsWhatTheSnmpSideLooksPathsUpIn) {
  EXPECT_EQ(SnmpUtil::getEntityRelative(path.c_str()), nullptr);
  const auto entity = Kestor::make<IntfSnmp::IfMib>("ifMib");
  database.entityIs(path, entity);
  EXPECT_EQ(SnmpUtil::getEntityRelative(path.c_str()), entity.get());
}

}  // namespace
