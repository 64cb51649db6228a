#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "Tables.h"

namespace test {

/// One publication of the container: the table's attribute and the key's fields.
struct Change {
  Kestor::AttributeId attribute;
  Fields key;

  friend bool operator==(const Change&, const Change&) = default;
  friend std::ostream& operator<<(std::ostream& os, const Change& change) {
    os << change.attribute << '(';
    for (const std::uint32_t field : change.key) os << ' ' << field;
    return os << " )";
  }
};
using Changes = std::vector<Change>;

/// Subscribes to a container and collects its changes; a reaction runs inside each notification.
class ChangeLog {
 public:
  explicit ChangeLog(PtpMib& mib) { mib.publisher().subscriberIs(slot_, notify); }

  Changes take() { return std::exchange(changes_, {}); }
  bool bound() const { return slot_.bound(); }

  std::function<void()> reaction;

 private:
  static void notify(Kestor::Publisher&, Kestor::Subscriber& slot, Kestor::AttributeId attribute, const void* key,
                     void*) {
    auto& self = *static_cast<ChangeLog*>(slot.owner());
    self.changes_.push_back({attribute, fieldsOf(attribute, key)});
    if (self.reaction) self.reaction();
  }

  template <class... Tables>
  static Fields fieldsIn(testing::Types<Tables...>*, Kestor::AttributeId attribute, const void* key) {
    Fields found{};
    ((attribute == Tables::attribute ? void(found = Tables::fields(*static_cast<const typename Tables::Key*>(key)))
                                     : void()),
     ...);
    return found;
  }
  static Fields fieldsOf(Kestor::AttributeId attribute, const void* key) {
    return fieldsIn(static_cast<AllTables*>(nullptr), attribute, key);
  }

  Changes changes_;
  Kestor::Subscriber slot_{this};
};

}  // namespace test
