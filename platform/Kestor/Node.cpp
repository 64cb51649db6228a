#include "Kestor/Node.h"

#include "Kestor/Ptr.h"
#include "Zarn/TypeData.h"

namespace Kestor {

std::atomic<bool> ThreadControl::multiThreaded_{false};

Node::~Node() = default;

// References taken and dropped while the destructor runs must not delete the node again.
void Node::lastUserGone() const noexcept {
  if (flag(beingDestroyedFlag)) return;
  flags_ |= beingDestroyedFlag;
  delete this;
}

std::string_view Node::fwkType() const noexcept { return typeData().name; }

std::ostream& operator<<(std::ostream& os, Shown shown) {
  if (shown.node == nullptr) return os << "null";
  return os << shown.node->fwkType() << '@' << static_cast<const void*>(shown.node);
}

}  // namespace Kestor
