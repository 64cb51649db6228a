#include "Zarn/TypeRegistry.h"

#include <fmt/format.h>

#include <algorithm>

#include "Zarn/Entity.h"
#include "Zarn/Exception.h"

namespace Zarn {

TypeRegistry& TypeRegistry::instance() {
  static TypeRegistry registry;
  return registry;
}

void TypeRegistry::moduleIs(const ModuleData& module) {
  auto types = types_;
  auto enums = enums_;
  for (const TypeData* type : module.types) {
    if (!types.emplace(type->name, type).second) {
      throw RangeException(fmt::format("module {}: the type {} is registered already", module.name, type->name));
    }
  }
  for (const EnumData* data : module.enums) {
    if (!enums.emplace(data->name, data).second) {
      throw RangeException(fmt::format("module {}: the enumeration {} is registered already", module.name, data->name));
    }
  }
  types_.swap(types);
  enums_.swap(enums);
}

void TypeRegistry::moduleDel(const ModuleData& module) noexcept {
  // By record and not by name: a module that was refused shares names with another and takes nothing of it along.
  std::erase_if(types_, [&](const auto& entry) { return std::ranges::count(module.types, entry.second) != 0; });
  std::erase_if(enums_, [&](const auto& entry) { return std::ranges::count(module.enums, entry.second) != 0; });
}

const TypeData* TypeRegistry::type(std::string_view name) const noexcept {
  const auto it = types_.find(name);
  return it == types_.end() ? nullptr : it->second;
}

const EnumData* TypeRegistry::enumeration(std::string_view name) const noexcept {
  const auto it = enums_.find(name);
  return it == enums_.end() ? nullptr : it->second;
}

Kestor::Ptr<Entity> TypeRegistry::entity(std::string_view typeName, const Kestor::String& name) const {
  const TypeData* found = type(typeName);
  if (found == nullptr || found->factory == nullptr) {
    throw NameNotFoundException(fmt::format("no factory is registered for the type \"{}\"", typeName));
  }
  return found->factory(name);
}

}  // namespace Zarn
