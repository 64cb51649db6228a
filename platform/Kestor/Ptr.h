#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <ostream>
#include <utility>

#include "Kestor/Node.h"

namespace Kestor {

/// The counted reference through which every entity, data set and row is held.
template <class T>
using Ptr = boost::intrusive_ptr<T>;

/// Makes a node. The only way to: its first reference is the one returned.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...), false);
}

/// Streams a reference for a trace line: "null", or the node's type name and address.
struct Shown {
  const Node* node;
};
std::ostream& operator<<(std::ostream& os, Shown shown);

template <class T>
Shown shown(const Ptr<T>& ptr) {
  return {ptr.get()};
}

}  // namespace Kestor
