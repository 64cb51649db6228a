#pragma once

#include <functional>

#include "Fiber.h"
#include "Pacer.h"

namespace host {

/// Work that is done in slices: it is left in its midst, and continued there when it next gets a turn.
class SlicedTask final : private Pacer {
 public:
  using Work = std::function<void(Pacer&)>;
  /// Tells whether a slice is over.
  using Enough = std::function<bool()>;

  explicit SlicedTask(Work work);

  /// Has the work begin anew with the next run(). REQUIRES !isRunning().
  void begin() noexcept { running_ = true; }
  bool isRunning() const noexcept { return running_; }

  /// Works on until all is done or `enough` holds, which is asked after each portion of some 40 µs. Does nothing where
  /// !isRunning(). Throws what the work throws, which ends it.
  void run(const Enough& enough);

 private:
  void portionIsOver() override;

  const Work work_;
  const Enough* enough_ = nullptr;  ///< in run()
  bool running_ = false;
  Fiber fiber_;
};

}  // namespace host
