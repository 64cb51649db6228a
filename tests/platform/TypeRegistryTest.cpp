#include <gtest/gtest.h>

#include "Ptp/Enums.h"
#include "Zarn/Entity.h"
#include "Zarn/Exception.h"
#include "Zarn/TypeData.h"
#include "Zarn/TypeRegistry.h"

namespace {

using Zarn::TypeRegistry;

class Thing final : public Zarn::Entity {
 public:
  explicit Thing(const Kestor::String& name) : Entity(name) {}
  const Zarn::TypeData& typeData() const noexcept override { return type(); }

  int number() const { return 42; }
  void partIs(std::span<const Kestor::Ptr<Zarn::Entity>> arguments) {
    if (arguments.size() != 1) throw Zarn::RangeException("part takes one entity");
    part = arguments[0];
  }

  static const Zarn::TypeData& type() {
    static constexpr Zarn::AttributeData attributes[] = {
        Zarn::attribute<&Thing::name, Thing>(257, "name"),
        Zarn::attribute<&Thing::number>(258, "number"),
        Zarn::attribute<&Thing::part>(259, "part",
                                      [](Kestor::Node& node, std::span<const Kestor::Ptr<Zarn::Entity>> arguments) {
                                        static_cast<Thing&>(node).partIs(arguments);
                                      }),
    };
    static constexpr Zarn::TypeData data{
        "test::Thing", attributes,
        [](const Kestor::String& name) -> Kestor::Ptr<Zarn::Entity> { return Kestor::make<Thing>(name); }};
    return data;
  }

  Kestor::Ptr<Zarn::Entity> part;
};

constexpr Zarn::TypeData madeByNobody{"test::MadeByNobody", {}};
constexpr Zarn::EnumeratorData enumerators[] = {{1, "one"}};
constexpr Zarn::EnumData enumeration{"test::Enumeration", enumerators};
const Zarn::TypeData* const types[] = {&Thing::type(), &madeByNobody};
const Zarn::EnumData* const enums[] = {&enumeration};
const Zarn::ModuleData module{"test", types, enums};

struct RegistryTest : testing::Test {
  RegistryTest() { registry.moduleIs(module); }
  ~RegistryTest() override { registry.moduleDel(module); }
  TypeRegistry& registry = TypeRegistry::instance();
};

TEST_F(RegistryTest, KnowsAModulesTypesAndEnumerationsByName) {
  EXPECT_EQ(registry.type("test::Thing"), &Thing::type());
  EXPECT_EQ(registry.enumeration("test::Enumeration"), &enumeration);
  EXPECT_EQ(registry.type("test::Unknown"), nullptr);
  EXPECT_EQ(registry.enumeration("test::Unknown"), nullptr);
}

TEST_F(RegistryTest, ForgetsAModule) {
  registry.moduleDel(module);
  EXPECT_EQ(registry.type("test::Thing"), nullptr);
  EXPECT_EQ(registry.enumeration("test::Enumeration"), nullptr);
  EXPECT_NO_THROW(registry.moduleIs(module));
}

TEST_F(RegistryTest, RefusesATakenTypeNameAndLearnsNothingThen) {
  static constexpr Zarn::TypeData fresh{"test::Fresh", {}};
  static constexpr Zarn::TypeData taken{"test::Thing", {}};
  const Zarn::TypeData* const clashing[] = {&fresh, &taken};
  const Zarn::ModuleData second{"second", clashing, {}};
  EXPECT_THROW(registry.moduleIs(second), Zarn::RangeException);
  EXPECT_EQ(registry.type("test::Fresh"), nullptr);
  EXPECT_EQ(registry.type("test::Thing"), &Thing::type());
  registry.moduleDel(second);
  EXPECT_EQ(registry.type("test::Thing"), &Thing::type()) << "a refused module takes nothing along";
}

TEST_F(RegistryTest, RefusesATakenEnumerationNameAndLearnsNothingThen) {
  static constexpr Zarn::TypeData fresh{"test::Fresh", {}};
  static constexpr Zarn::EnumData taken{"test::Enumeration", {}};
  const Zarn::TypeData* const freshTypes[] = {&fresh};
  const Zarn::EnumData* const takenEnums[] = {&taken};
  EXPECT_THROW(registry.moduleIs({"second", freshTypes, takenEnums}), Zarn::RangeException);
  EXPECT_EQ(registry.type("test::Fresh"), nullptr);
  EXPECT_EQ(registry.enumeration("test::Enumeration"), &enumeration);
}

TEST_F(RegistryTest, RefusesAModuleThatIsRegisteredAlready) {
  EXPECT_THROW(registry.moduleIs(module), Zarn::RangeException);
}

TEST_F(RegistryTest, MakesAnEntityThroughItsTypesFactory) {
  const Kestor::Ptr<Zarn::Entity> entity = registry.entity("test::Thing", "thing");
  EXPECT_EQ(entity->name(), "thing");
  EXPECT_EQ(entity->fwkType(), "test::Thing");
  EXPECT_EQ(entity->refCount(), 1U);
  EXPECT_THROW(registry.entity("test::MadeByNobody", "x"), Zarn::NameNotFoundException);
  EXPECT_THROW(registry.entity("test::Unknown", "x"), Zarn::NameNotFoundException);
}

TEST(GenericAttributes, AreReadByName) {
  const auto thing = Kestor::make<Thing>("thing");
  EXPECT_EQ(Zarn::attributeText(*thing, "name"), "thing");
  EXPECT_EQ(Zarn::attributeText(*thing, "number"), "42");
  EXPECT_EQ(Zarn::attributeText(*thing, "part"), "null");
  EXPECT_THROW(Zarn::attributeText(*thing, "Name"), Zarn::NameNotFoundException);
  EXPECT_EQ(Thing::type().attribute("number")->id, 258);
  EXPECT_EQ(Thing::type().attribute("none"), nullptr);
}

TEST(GenericAttributes, AnEntityAttributeIsSetByName) {
  const auto thing = Kestor::make<Thing>("thing");
  const Kestor::Ptr<Zarn::Entity> parts[] = {Kestor::make<Thing>("part")};
  Zarn::attributeEntityIs(*thing, "part", parts);
  EXPECT_EQ(thing->part, parts[0]);
  EXPECT_THROW(Zarn::attributeEntityIs(*thing, "part", {}), Zarn::RangeException);
  EXPECT_THROW(Zarn::attributeEntityIs(*thing, "number", parts), Zarn::NameNotFoundException);
  EXPECT_THROW(Zarn::attributeEntityIs(*thing, "none", parts), Zarn::NameNotFoundException);
}

TEST(EntitySingletons, AreMadeOnceAndLiveUntilDeleted) {
  const auto factory = []() -> Kestor::Ptr<Zarn::Entity> { return Kestor::make<Thing>("singleton"); };
  EXPECT_EQ(Zarn::Entity::singletonExists("test::Thing"), nullptr);
  Zarn::Entity* const made = Zarn::Entity::singletonIs("test::Thing", factory);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->refCount(), 1U);
  EXPECT_EQ(Zarn::Entity::singletonIs("test::Thing", factory), made);
  EXPECT_EQ(Zarn::Entity::singletonExists("test::Thing"), made);
  const Kestor::Ptr<Zarn::Entity> held(made);
  Zarn::Entity::singletonDel("test::Thing");
  EXPECT_EQ(Zarn::Entity::singletonExists("test::Thing"), nullptr);
  EXPECT_EQ(held->refCount(), 1U);
}

}  // namespace
