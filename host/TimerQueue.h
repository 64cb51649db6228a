#pragma once

#include <chrono>
#include <functional>
#include <map>

namespace host {

/// Timers behind one descriptor of the kernel's. The library's own alarms are numbered, each new one by the next of
/// 32 bits: after years of polling the numbers would begin anew, those of living alarms among them.
class TimerQueue {
 public:
  using Clock = std::chrono::steady_clock;
  using Callback = std::function<void()>;

  class Timer {
   public:
    /// Calls back after a delay and, unless the period is 0, again on each period. A period is 1 ms at least.
    Timer(TimerQueue& queue, Clock::duration delay, Clock::duration period, Callback callback);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer();

   private:
    friend class TimerQueue;
    TimerQueue& queue_;
    const Clock::duration period_;
    const Callback callback_;
    std::multimap<Clock::time_point, Timer*>::iterator place_;
  };

  /// Throws std::system_error.
  TimerQueue();
  TimerQueue(const TimerQueue&) = delete;
  TimerQueue& operator=(const TimerQueue&) = delete;
  ~TimerQueue();

  /// Readable when a timer is due.
  int descriptor() const noexcept { return descriptor_; }

  /// Gives the callback of each timer that is due to `call`, which may end it or any other.
  void expire(const std::function<void(const Callback&)>& call);

 private:
  using Times = std::multimap<Clock::time_point, Timer*>;

  void arm() noexcept;

  int descriptor_;
  Times times_;  ///< of the timers that will call back
};

}  // namespace host
