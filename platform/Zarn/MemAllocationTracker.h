#pragma once

#include <atomic>
#include <boost/intrusive/list.hpp>
#include <cstddef>
#include <string_view>

namespace Zarn {

/// Counts the live objects of one type, for memory diagnostics. A static member of the type it counts.
class MemAllocationTracker : public boost::intrusive::list_base_hook<> {
 public:
  using List = boost::intrusive::list<MemAllocationTracker>;

  explicit MemAllocationTracker(std::string_view type) noexcept;
  MemAllocationTracker(const MemAllocationTracker&) = delete;
  MemAllocationTracker& operator=(const MemAllocationTracker&) = delete;
  ~MemAllocationTracker();

  std::string_view type() const noexcept { return type_; }
  std::size_t live() const noexcept { return live_.load(std::memory_order_relaxed); }

  void allocated() noexcept { live_.fetch_add(1, std::memory_order_relaxed); }
  void freed() noexcept { live_.fetch_sub(1, std::memory_order_relaxed); }

  /// The trackers of all types loaded into the process.
  static List& all() noexcept;

 private:
  std::string_view type_;
  std::atomic<std::size_t> live_{0};
};

}  // namespace Zarn
