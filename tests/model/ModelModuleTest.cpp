#include "PtpSnmp/ModelModule.h"

#include <gtest/gtest.h>

#include "PtpSnmp/PtpMib.h"
#include "Zarn/Exception.h"
#include "Zarn/TypeRegistry.h"

namespace {

struct ModelModule : testing::Test {
  ModelModule() { registry.moduleIs(PtpSnmp::PtpSnmpModule); }
  ~ModelModule() override { registry.moduleDel(PtpSnmp::PtpSnmpModule); }
  Zarn::TypeRegistry& registry = Zarn::TypeRegistry::instance();
};

TEST_F(ModelModule, RegistersTheContainerTheSixRowsAndTheClockType) {
  EXPECT_EQ(PtpSnmp::PtpSnmpModule.name, "PtpSnmp");
  for (const char* type :
       {"PtpSnmp::PtpMib", "PtpSnmp::PtpTableEntry", "PtpSnmp::TransDefaultDSTableEntry", "PtpSnmp::PortTableEntry",
        "PtpSnmp::PortTransDSTableEntry", "PtpSnmp::SystemTableEntry", "PtpSnmp::SystemDomainTableEntry"}) {
    ASSERT_NE(registry.type(type), nullptr) << type;
    EXPECT_EQ(registry.type(type)->name, type);
  }
  EXPECT_EQ(registry.enumeration("PtpSnmp::ClockType"), &enumData(PtpSnmp::ClockType{}));
}

TEST_F(ModelModule, TheFrameworkMakesTheContainerAndNoRow) {
  const auto entity = registry.entity("PtpSnmp::PtpMib", "ptpmib");
  const auto* mib = dynamic_cast<const PtpSnmp::PtpMib*>(entity.get());
  ASSERT_NE(mib, nullptr);
  EXPECT_EQ(mib->name(), "ptpmib");
  EXPECT_THROW(registry.entity("PtpSnmp::PtpTableEntry", "row"), Zarn::NameNotFoundException);
}

TEST_F(ModelModule, EachTypesAttributesHaveIdsAndNamesOfTheirOwn) {
  for (const Zarn::TypeData* type : PtpSnmp::PtpSnmpModule.types) {
    std::uint16_t last = 256;
    for (const Zarn::AttributeData& attribute : type->attributes) {
      EXPECT_EQ(attribute.id, ++last) << type->name << ' ' << attribute.name;
      EXPECT_EQ(type->attribute(attribute.name), &attribute) << type->name << ' ' << attribute.name;
    }
  }
}

}  // namespace
