#pragma once

#include <cstddef>

#include "Zarn/MemAllocationTracker.h"

namespace Zarn {

/// Fixed-size blocks from slabs that are shared by all types of one size. Blocks return to their slab; slabs
/// stay with the process, so a table that shrinks and grows again does not fragment the heap. Under a
/// sanitizer every block comes from the heap instead, so that a use after free is seen.
/// Any thread may allocate and free while Kestor::ThreadControl says that there is more than one.
void* slabAllocate(std::size_t size);
void slabFree(void* block, std::size_t size) noexcept;

/// Gives a type its allocation from the slabs, counted by the type's `memAllocationTracker_`.
template <class T>
class SlabAllocated {
 public:
  static void* operator new(std::size_t size) {
    void* block = slabAllocate(size);
    T::memAllocationTracker_.allocated();
    return block;
  }
  static void operator delete(void* block, std::size_t size) noexcept {
    if (block == nullptr) return;
    T::memAllocationTracker_.freed();
    slabFree(block, size);
  }

 protected:
  ~SlabAllocated() = default;
};

}  // namespace Zarn
