#include "Zarn/Entity.h"

#include <map>

namespace Zarn {
namespace {

std::map<Kestor::String, Kestor::Ptr<Entity>>& singletons() {
  static std::map<Kestor::String, Kestor::Ptr<Entity>> map;
  return map;
}

}  // namespace

Entity::~Entity() = default;

Entity* Entity::singletonExists(const Kestor::String& type) noexcept {
  const auto it = singletons().find(type);
  return it == singletons().end() ? nullptr : it->second.get();
}

Entity* Entity::singletonIs(const Kestor::String& type, Factory factory) {
  Kestor::Ptr<Entity>& singleton = singletons()[type];
  if (!singleton) singleton = factory();
  return singleton.get();
}

void Entity::singletonDel(const Kestor::String& type) noexcept { singletons().erase(type); }

}  // namespace Zarn
