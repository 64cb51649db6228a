#pragma once

#include <map>

#include "Zarn/Entity.h"

namespace Zarn {

/// The process's tree of entities, by path ("snmp/ptp/ptpmib"), relative to the agent's root.
class StateDatabase {
 public:
  static StateDatabase& instance();

  /// Mounts an entity; one that stood at the path before is released.
  void entityIs(const Kestor::String& path, Kestor::Ptr<Entity> entity);
  void entityDel(const Kestor::String& path) noexcept;
  /// Null where nothing is mounted.
  Entity* entity(const Kestor::String& path) const noexcept;

 private:
  std::map<Kestor::String, Kestor::Ptr<Entity>> entities_;
};

}  // namespace Zarn
