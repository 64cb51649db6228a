#include "TimerQueue.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace host {

TimerQueue::Timer::Timer(TimerQueue& queue, Clock::duration delay, Clock::duration period, Callback callback)
    : queue_(queue),
      period_(period),
      callback_(std::move(callback)),
      place_(queue.times_.emplace(Clock::now() + delay, this)) {
  if (place_ == queue_.times_.begin()) queue_.arm();
}

TimerQueue::Timer::~Timer() {
  if (place_ != queue_.times_.end()) queue_.times_.erase(place_);
}

TimerQueue::TimerQueue() : descriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "no timer");
}

TimerQueue::~TimerQueue() { close(descriptor_); }

void TimerQueue::expire(const std::function<void(const Callback&)>& call) {
  std::uint64_t expirations = 0;
  if (read(descriptor_, &expirations, sizeof(expirations)) < 0) return;  // not yet
  const Clock::time_point now = Clock::now();
  while (!times_.empty() && times_.begin()->first <= now) {
    Timer& timer = *times_.begin()->second;
    auto place = times_.extract(timer.place_);
    place.key() = now + timer.period_;
    timer.place_ = timer.period_.count() > 0 ? times_.insert(std::move(place)) : times_.end();
    const Callback callback = timer.callback_;  // it may end the timer
    call(callback);
  }
  arm();
}

// By what is left, not by a time: who lets a process live at another date changes its clocks, not the kernel's.
void TimerQueue::arm() noexcept {
  itimerspec setting{};
  if (!times_.empty()) {
    const auto left = std::max<Clock::duration>(times_.begin()->first - Clock::now(), std::chrono::nanoseconds(1));
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    setting.it_value = {.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(left - seconds).count()};
  }
  timerfd_settime(descriptor_, 0, &setting, nullptr);
}

}  // namespace host
