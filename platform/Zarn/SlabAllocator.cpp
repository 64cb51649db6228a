#include "Zarn/SlabAllocator.h"

#include <boost/pool/pool.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "Kestor/ThreadControl.h"

namespace Zarn {

MemAllocationTracker::List& MemAllocationTracker::all() noexcept {
  // Never destroyed: trackers are statics of other libraries and leave the list at their own time.
  static auto* list = new List;
  return *list;
}

MemAllocationTracker::MemAllocationTracker(std::string_view type) noexcept : type_(type) { all().push_back(*this); }

MemAllocationTracker::~MemAllocationTracker() { all().erase(List::s_iterator_to(*this)); }

#if defined(__SANITIZE_ADDRESS__)

void* slabAllocate(std::size_t size) { return ::operator new(size); }
void slabFree(void* block, std::size_t size) noexcept { ::operator delete(block, size); }

#else

namespace {

using Pool = boost::pool<boost::default_user_allocator_new_delete>;

Pool& poolOf(std::size_t size) {
  static constexpr std::size_t step = alignof(std::max_align_t);
  static constexpr std::size_t directSizes = 32;
  // In blocks. Slabs double in size up to the largest: beyond that a pool would hold room for as many blocks again as
  // it has.
  static constexpr std::size_t firstSlab = 32;
  static constexpr std::size_t largestSlab = 2048;
  // Never destroyed, like the trackers: an entity may be released by another library's static destructor.
  static auto* pools = new std::map<std::size_t, std::unique_ptr<Pool>>;
  static Pool* direct[directSizes] = {};

  const std::size_t index = (size + step - 1) / step;
  if (index < directSizes && direct[index] != nullptr) return *direct[index];
  std::unique_ptr<Pool>& pool = (*pools)[index];
  if (!pool) pool = std::make_unique<Pool>(index * step, firstSlab, largestSlab);
  if (index < directSizes) direct[index] = pool.get();
  return *pool;
}

// The last user of a row may be any thread, so the pools are guarded while there is more than one.
std::unique_lock<std::mutex> guardFromOtherThreads() {
  static std::mutex mutex;
  return Kestor::ThreadControl::multiThreaded() ? std::unique_lock(mutex) : std::unique_lock<std::mutex>();
}

}  // namespace

void* slabAllocate(std::size_t size) {
  const auto guard = guardFromOtherThreads();
  void* block = poolOf(size).malloc();
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void slabFree(void* block, std::size_t size) noexcept {
  const auto guard = guardFromOtherThreads();
  poolOf(size).free(block);
}

#endif

}  // namespace Zarn
