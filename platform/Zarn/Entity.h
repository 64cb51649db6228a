#pragma once

#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Kestor/Publisher.h"
#include "Kestor/String.h"

namespace Zarn {

/// A named node with a change publisher.
class Entity : public Kestor::Node {
 public:
  using Factory = Kestor::Ptr<Entity> (*)();

  ~Entity() override;

  const Kestor::String& name() const noexcept { return name_; }

  /// Whoever holds an entity, const or not, may listen to it.
  Kestor::Publisher& publisher() const noexcept { return publisher_; }

  /// The process-wide entity registered under a type name, or null.
  static Entity* singletonExists(const Kestor::String& type) noexcept;
  /// The same, made by the factory where it does not exist. It lives until singletonDel or the process's end.
  static Entity* singletonIs(const Kestor::String& type, Factory factory);
  static void singletonDel(const Kestor::String& type) noexcept;

 protected:
  explicit Entity(Kestor::String name) : name_(std::move(name)) {}

 private:
  Kestor::String name_;
  mutable Kestor::Publisher publisher_;
};

}  // namespace Zarn
