#include "Zarn/StateDatabase.h"

namespace Zarn {

StateDatabase& StateDatabase::instance() {
  static StateDatabase database;
  return database;
}

void StateDatabase::entityIs(const Kestor::String& path, Kestor::Ptr<Entity> entity) {
  entities_[path] = std::move(entity);
}

void StateDatabase::entityDel(const Kestor::String& path) noexcept { entities_.erase(path); }

Entity* StateDatabase::entity(const Kestor::String& path) const noexcept {
  const auto it = entities_.find(path);
  return it == entities_.end() ? nullptr : it->second.get();
}

}  // namespace Zarn
