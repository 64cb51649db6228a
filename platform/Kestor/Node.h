#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "Kestor/ThreadControl.h"

namespace Zarn {
struct TypeData;
}

namespace Kestor {

/// Base of every object that is owned through Kestor::Ptr.
///
/// A node starts with one reference, which Kestor::make hands to the first Ptr: while its constructor runs
/// the node can be referred to, and it is deleted when the last reference is dropped. References may be taken
/// on const nodes: who may hold a node and who may change it are separate questions.
class Node {
 public:
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  virtual ~Node();

  /// The type's record: its qualified name and its attributes. Valid as long as the type's module is loaded.
  virtual const Zarn::TypeData& typeData() const noexcept = 0;

  /// The qualified name under which the type is registered, for example "PtpSnmp::PtpTableEntry".
  std::string_view fwkType() const noexcept;

  std::uint32_t refCount() const noexcept { return refs_.load(std::memory_order_relaxed); }

  friend void intrusive_ptr_add_ref(const Node* node) noexcept { node->refTake(); }
  friend void intrusive_ptr_release(const Node* node) noexcept { node->refDrop(); }

 protected:
  Node() = default;

  /// A word of flags beside the count. The lowest 16 bits are for the node's own use.
  bool flag(std::uint32_t bit) const noexcept { return (flags_ & bit) != 0; }
  void flagIs(std::uint32_t bit, bool on) noexcept { flags_ = on ? flags_ | bit : flags_ & ~bit; }

 private:
  void refTake() const noexcept {
    if (ThreadControl::multiThreaded()) [[unlikely]] {
      refs_.fetch_add(1, std::memory_order_relaxed);
    } else {
      refs_.store(refCount() + 1, std::memory_order_relaxed);
    }
  }
  void refDrop() const noexcept {
    if (ThreadControl::multiThreaded()) [[unlikely]] {
      if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) lastUserGone();
    } else {
      const std::uint32_t left = refCount() - 1;
      refs_.store(left, std::memory_order_relaxed);
      if (left == 0) lastUserGone();
    }
  }
  // Not inline: a reference is dropped in many places, and seldom is it the last.
  void lastUserGone() const noexcept;

  static constexpr std::uint32_t beingDestroyedFlag = 1U << 16;

  mutable std::atomic<std::uint32_t> refs_{1};
  mutable std::uint32_t flags_ = 0;
};

}  // namespace Kestor
