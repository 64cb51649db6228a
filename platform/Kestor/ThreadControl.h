#pragma once

#include <atomic>

namespace Kestor {

/// Tells whether more than one thread uses the framework's objects. Off at start. Switch it only while a
/// single thread runs: reference counts are plain while it is off and atomic while it is on.
class ThreadControl {
 public:
  static bool multiThreaded() noexcept { return multiThreaded_.load(std::memory_order_relaxed); }
  static void multiThreadedIs(bool on) noexcept { multiThreaded_.store(on, std::memory_order_relaxed); }

 private:
  static std::atomic<bool> multiThreaded_;
};

}  // namespace Kestor
