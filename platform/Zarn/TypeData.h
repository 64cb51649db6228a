#pragma once

#include <cstdint>
#include <span>
#include <sstream>
#include <string_view>

#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Kestor/String.h"
#include "Zarn/EnumData.h"
#include "Zarn/ValueText.h"

namespace Zarn {

class Entity;

/// One attribute of a type, as the framework sees it.
struct AttributeData {
  /// Reads the attribute of a node of the type, as text.
  using Text = Kestor::String (*)(const Kestor::Node&);
  /// Sets an attribute that is an entity made from other entities; their number and types are the
  /// attribute's. Throws RangeException where they do not fit.
  using EntityIs = void (*)(Kestor::Node&, std::span<const Kestor::Ptr<Entity>>);

  std::uint16_t id;
  std::string_view name;
  Text text;
  EntityIs entityIs = nullptr;
};

/// A type's record. Static data of the module that defines the type.
struct TypeData {
  using Factory = Kestor::Ptr<Entity> (*)(const Kestor::String& name);

  std::string_view name;  ///< qualified, for example "PtpSnmp::PtpMib"
  std::span<const AttributeData> attributes;
  Factory factory = nullptr;  ///< null where the framework cannot make one by name alone

  const AttributeData* attribute(std::string_view attributeName) const noexcept;
};

/// What a model module registers: its types and its enumerations.
struct ModuleData {
  std::string_view name;
  std::span<const TypeData* const> types;
  std::span<const EnumData* const> enums;
};

namespace detail {
template <class>
struct MemberClass;
template <class R, class C>
struct MemberClass<R (C::*)() const> {
  using Type = C;
};
template <class R, class C>
struct MemberClass<R (C::*)() const noexcept> {
  using Type = C;
};
template <class R, class C>
struct MemberClass<R C::*> {
  using Type = C;
};
}  // namespace detail

/// The record of an attribute that an accessor (or a public data member) of the class reads. Derived names
/// the node's own class where the accessor belongs to a base of it.
template <auto Accessor, class Derived = typename detail::MemberClass<decltype(Accessor)>::Type>
constexpr AttributeData attribute(std::uint16_t id, std::string_view name, AttributeData::EntityIs entityIs = nullptr) {
  return {id, name,
          [](const Kestor::Node& node) {
            std::ostringstream os;
            const auto& object = static_cast<const Derived&>(node);
            if constexpr (std::is_member_function_pointer_v<decltype(Accessor)>) {
              writeValue(os, (object.*Accessor)());
            } else {
              writeValue(os, object.*Accessor);
            }
            return os.str();
          },
          entityIs};
}

/// Reads an attribute by name. Throws NameNotFoundException.
Kestor::String attributeText(const Kestor::Node& node, std::string_view name);

/// Sets an entity attribute by name. Throws NameNotFoundException where there is none that can be set.
void attributeEntityIs(Kestor::Node& node, std::string_view name, std::span<const Kestor::Ptr<Entity>> arguments);

}  // namespace Zarn
