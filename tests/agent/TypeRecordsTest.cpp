// What the object framework knows of the agent, and what it can do with that.
#include "AgentHarness.h"
#include "PtpSnmp/ModelModule.h"
#include "PtpSnmpAgent/AgentModule.h"
#include "Zarn/Exception.h"
#include "Zarn/TypeRegistry.h"

namespace test {
namespace {

using Arguments = std::vector<Kestor::Ptr<Zarn::Entity>>;

struct TypeRecords : testing::Test {
  TypeRecords() {
    registry().moduleIs(PtpSnmp::PtpSnmpModule);
    registry().moduleIs(PtpSnmp::Agent::PtpSnmpAgentModule);
  }
  ~TypeRecords() override {
    registry().moduleDel(PtpSnmp::Agent::PtpSnmpAgentModule);
    registry().moduleDel(PtpSnmp::PtpSnmpModule);
  }
  static Zarn::TypeRegistry& registry() { return Zarn::TypeRegistry::instance(); }

  AgentHarness device;
};

Lines attributesOf(const char* type) {
  Lines names;
  for (const auto& attribute : TypeRecords::registry().type(type)->attributes) names.emplace_back(attribute.name);
  return names;
}

TEST_F(TypeRecords, BothModulesCarryTheirNameAndTypes) {
  EXPECT_EQ(PtpSnmp::PtpSnmpModule.name, "PtpSnmp");
  EXPECT_EQ(PtpSnmp::Agent::PtpSnmpAgentModule.name, "PtpSnmpAgent");
  for (const char* type :
       {"PtpSnmp::PtpMib", "PtpSnmp::PtpTableEntry", "PtpSnmp::TransDefaultDSTableEntry", "PtpSnmp::PortTableEntry",
        "PtpSnmp::PortTransDSTableEntry", "PtpSnmp::SystemTableEntry", "PtpSnmp::SystemDomainTableEntry",
        "PtpSnmp::Agent::Root", "PtpSnmp::Agent::Agent", "PtpSnmp::Agent::PtpSnmpSm"}) {
    EXPECT_NE(registry().type(type), nullptr) << type;
  }
  EXPECT_NE(registry().enumeration("PtpSnmp::ClockType"), nullptr);
}

TEST_F(TypeRecords, EveryAttributeOfTheAgentsEntitiesIsNamed) {
  using testing::IsSupersetOf;
  EXPECT_EQ(attributesOf("PtpSnmp::Agent::Root"), (Lines{"name", "agent"}));
  EXPECT_EQ(registry().type("PtpSnmp::Agent::Root")->attribute("agent")->id, 258);
  EXPECT_EQ(attributesOf("PtpSnmp::Agent::Agent"), (Lines{"ptpStatus", "ptpMib", "ifMib", "ptpSnmpSm"}));
  EXPECT_THAT(attributesOf("PtpSnmp::Agent::PtpSnmpSm"),
              IsSupersetOf({"ptpStatus", "defaultDS", "ifMib", "ptpMib", "portDSKeyToPortNumber"}));
}

TEST_F(TypeRecords, ARootMadeAndGivenItsAgentByTheFrameworkFillsTheTables) {
  device.status->defaultDSIs(defaultDS(1));
  const auto entity = registry().entity("PtpSnmp::Agent::Root", "ptpAgent");
  EXPECT_EQ(entity->fwkType(), "PtpSnmp::Agent::Root");
  EXPECT_EQ(Zarn::attributeText(*entity, "name"), "ptpAgent");
  EXPECT_EQ(Zarn::attributeText(*entity, "agent"), "null");
  Zarn::attributeEntityIs(*entity, "agent", Arguments{device.status, device.mib, device.ifMib});
  const auto& root = dynamic_cast<const Root&>(*entity);
  EXPECT_EQ(root.agent()->ptpStatus(), device.status);
  EXPECT_EQ(root.agent()->ptpMib(), device.mib);
  EXPECT_EQ(root.agent()->ifMib(), device.ifMib);
  EXPECT_EQ(device.take().size(), 9U) << "three rows, built twice";
  EXPECT_EQ(Zarn::attributeText(*entity, "agent"), text(Kestor::shown(root.agent())));
}

TEST_F(TypeRecords, AttributesOfTheRunningAgentReadByName) {
  device.status->defaultDSIs(defaultDS(1));
  device.status->portDSIs(portKey(2), portDS(4));
  device.status->portDSIs(portKey(1), portDS(3));
  const PtpSnmpSm& machine = device.start();
  const auto& agent = device.root->agent();
  EXPECT_EQ(Zarn::attributeText(*agent, "ptpSnmpSm"), text(Kestor::shown(agent->ptpSnmpSm())));
  EXPECT_EQ(Zarn::attributeText(*agent, "ptpMib"), text(Kestor::shown(device.mib)));
  EXPECT_EQ(Zarn::attributeText(machine, "ptpStatus"), text(Kestor::shown(device.status)));
  EXPECT_EQ(Zarn::attributeText(machine, "defaultDS"), text(Kestor::shown(device.status->defaultDS())));
  EXPECT_EQ(Zarn::attributeText(machine, "portDSKeyToPortNumber"), "001122.fffe.334455-1=3,001122.fffe.334455-2=4");
}

TEST_F(TypeRecords, WrongArgumentsOfAgentAreRefusedAndChangeNothing) {
  const auto set = [&](const Arguments& arguments) { Zarn::attributeEntityIs(*device.root, "agent", arguments); };
  EXPECT_THROW(set({device.status, device.mib}), Zarn::RangeException);
  EXPECT_THROW(set({device.mib, device.status, device.ifMib}), Zarn::RangeException);
  EXPECT_THROW(set({device.status, device.ifMib, device.mib}), Zarn::RangeException);
  EXPECT_EQ(device.root->agent(), nullptr);
  EXPECT_THROW(Zarn::attributeEntityIs(*device.root, "name", Arguments{}), Zarn::NameNotFoundException);
}

}  // namespace
}  // namespace test
