#pragma once

#include <boost/intrusive/list.hpp>
#include <cstdint>

namespace Kestor {

class Publisher;
class Subscriber;

/// Identifies an attribute within its entity type.
using AttributeId = std::uint16_t;

/// What a subscriber is told: the publisher, its own slot, the attribute that changed, the key of the changed
/// element where the attribute is a collection (else null), and the publisher's extra word. The key's type
/// follows from the attribute; it is valid for the duration of the call.
using Notification = void (*)(Publisher&, Subscriber&, AttributeId, const void* key, void* extra);

/// A slot for one subscription. Leaving scope ends the subscription.
class Subscriber : public boost::intrusive::list_base_hook<> {
 public:
  explicit Subscriber(void* owner) noexcept : owner_(owner) {}
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;
  ~Subscriber();

  /// The object on whose behalf the slot was made, for the callback to find its way back.
  void* owner() const noexcept { return owner_; }
  bool bound() const noexcept { return publisher_ != nullptr; }

 private:
  friend class Publisher;
  void* owner_;
  Publisher* publisher_ = nullptr;
  Notification notification_ = nullptr;
  std::uint64_t since_ = 0;
};

/// Tells subscribers, in the order in which they subscribed, of each change, synchronously.
///
/// Inside a notification a subscriber may unsubscribe itself or others, and may cause the publisher's owner
/// to be destroyed. A subscriber added inside a notification hears of later changes only. An exception that
/// leaves a notification ends the process: a change half told cannot be taken back.
class Publisher {
 public:
  Publisher() = default;
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;
  ~Publisher();

  /// Binds the slot. REQUIRES: the slot is unbound.
  void subscriberIs(Subscriber& subscriber, Notification notification) noexcept;
  /// Unbinds the slot; does nothing if it is not bound to this publisher.
  void subscriberDel(Subscriber& subscriber) noexcept;

  void publish(AttributeId attribute, const void* key = nullptr, void* extra = nullptr) noexcept;

  /// Publishes here and then at each owner up the tree, so that a subscriber of a whole subtree hears of it.
  void publishRecursively(AttributeId attribute, const void* key = nullptr, void* extra = nullptr) noexcept;

  /// The publisher of the entity that owns this one, or null at the top. It must outlive this publisher.
  void parentIs(Publisher* parent) noexcept { parent_ = parent; }

 private:
  // One for each publication under way, innermost first: what to visit next, kept right while the list
  // changes.
  struct Visit {
    boost::intrusive::list<Subscriber>::iterator next;
    bool publisherGone;
    Visit* outer;
  };

  boost::intrusive::list<Subscriber> subscribers_;
  Visit* visits_ = nullptr;
  std::uint64_t publications_ = 0;
  Publisher* parent_ = nullptr;
};

}  // namespace Kestor
