#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace host {

class TimerQueue;

/// Descriptors and timers of the one thread, served by the SNMP engine's own loop as its external descriptors, so that
/// sources run alike in a daemon of our own and in one that belongs to somebody else.
///
/// Callbacks run one at a time. What a registration returns keeps it alive: destroying it ends the
/// registration, also from inside its own callback. What a callback throws does not reach the engine: run() throws it
/// on; where the loop is somebody else's, it is logged and the callback is over.
class EventLoop {
 public:
  using Callback = std::function<void()>;

  class Registration {
   public:
    virtual ~Registration() = default;
  };
  using Handle = std::unique_ptr<Registration>;

  EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;
  ~EventLoop();

  /// Calls back whenever the descriptor is readable.
  [[nodiscard]] Handle readable(int fd, Callback callback);
  /// Calls back once. Delays below a millisecond are rounded up to one, and so are periods.
  [[nodiscard]] Handle after(std::chrono::milliseconds delay, Callback callback);
  /// Calls back on each period.
  [[nodiscard]] Handle every(std::chrono::milliseconds period, Callback callback);

  /// Serves descriptors, timers and SNMP requests until stop() was called. Throws what a callback threw.
  void run();
  void stop() noexcept { stopped_ = true; }

 private:
  Handle timer(std::chrono::milliseconds delay, std::chrono::milliseconds period, Callback callback);

  bool stopped_ = false;
  std::shared_ptr<TimerQueue> timers_;
  Handle timersDue_;
};

}  // namespace host
