#include "Zarn/TypeData.h"

#include <fmt/format.h>

#include <algorithm>

#include "Zarn/Entity.h"
#include "Zarn/Exception.h"

namespace Zarn {

const AttributeData* TypeData::attribute(std::string_view attributeName) const noexcept {
  const auto it = std::ranges::find(attributes, attributeName, &AttributeData::name);
  return it == attributes.end() ? nullptr : &*it;
}

Kestor::String attributeText(const Kestor::Node& node, std::string_view name) {
  const AttributeData* found = node.typeData().attribute(name);
  if (found == nullptr) {
    throw NameNotFoundException(fmt::format("{} has no attribute \"{}\"", node.fwkType(), name));
  }
  return found->text(node);
}

void attributeEntityIs(Kestor::Node& node, std::string_view name, std::span<const Kestor::Ptr<Entity>> arguments) {
  const AttributeData* found = node.typeData().attribute(name);
  if (found == nullptr || found->entityIs == nullptr) {
    throw NameNotFoundException(fmt::format("{} has no entity attribute \"{}\"", node.fwkType(), name));
  }
  found->entityIs(node, arguments);
}

}  // namespace Zarn
