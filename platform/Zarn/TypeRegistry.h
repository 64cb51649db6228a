#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "Zarn/TypeData.h"

namespace Zarn {

/// The types and enumerations of the modules loaded into this process, by qualified name.
class TypeRegistry {
 public:
  static TypeRegistry& instance();

  /// Learns a module's types. Throws RangeException if one of its names is taken, and then learns nothing.
  void moduleIs(const ModuleData& module);
  /// Forgets a module's types. REQUIRES: no node of them is left.
  void moduleDel(const ModuleData& module) noexcept;

  /// Null where there is none.
  const TypeData* type(std::string_view name) const noexcept;
  const EnumData* enumeration(std::string_view name) const noexcept;

  /// Makes an entity of the named type through the type's factory. Throws NameNotFoundException.
  Kestor::Ptr<Entity> entity(std::string_view type, const Kestor::String& name) const;

 private:
  std::map<std::string_view, const TypeData*> types_;
  std::map<std::string_view, const EnumData*> enums_;
};

}  // namespace Zarn
