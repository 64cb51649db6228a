#include "EventLoop.h"

#include "NetSnmp.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

#include "TimerQueue.h"

namespace host {
namespace {

using std::chrono::milliseconds;

bool loopIsOurs = false;
std::exception_ptr thrown;  // by a callback, in this turn of our own loop

// The callers are the engine's C functions. Runs a copy: the callback may end its registration.
void call(EventLoop::Callback callback) noexcept {
  try {
    callback();
  } catch (const std::exception& error) {
    if (loopIsOurs) {
      thrown = std::current_exception();
    } else {
      spdlog::error("{}", error.what());
    }
  }
}

class Descriptor final : public EventLoop::Registration {
 public:
  Descriptor(int fd, EventLoop::Callback callback) : fd_(fd), callback_(std::move(callback)) {
    if (register_readfd(fd, readable, this) != FD_REGISTERED_OK) {
      throw std::runtime_error("the event loop takes no more descriptors");
    }
  }
  ~Descriptor() override { unregister_readfd(fd_); }

 private:
  static void readable(int, void* self) noexcept { call(static_cast<Descriptor*>(self)->callback_); }

  int fd_;
  EventLoop::Callback callback_;
};

class Timer final : public EventLoop::Registration {
 public:
  Timer(std::shared_ptr<TimerQueue> queue, milliseconds delay, milliseconds period, EventLoop::Callback callback)
      : queue_(std::move(queue)), timer_(*queue_, delay, period, std::move(callback)) {}

 private:
  const std::shared_ptr<TimerQueue> queue_;  // it may be destroyed after the loop
  TimerQueue::Timer timer_;
};

// Of any size. Its memory serves all turns.
class DescriptorSet {
 public:
  DescriptorSet() { netsnmp_large_fd_set_init(&set_, FD_SETSIZE); }
  DescriptorSet(const DescriptorSet&) = delete;
  DescriptorSet& operator=(const DescriptorSet&) = delete;
  ~DescriptorSet() { netsnmp_large_fd_set_cleanup(&set_); }
  netsnmp_large_fd_set* empty() {
    NETSNMP_LARGE_FD_ZERO(&set_);
    return &set_;
  }
  netsnmp_large_fd_set* get() { return &set_; }

 private:
  netsnmp_large_fd_set set_;
};

struct Descriptors {
  DescriptorSet readable, writable, exceptional;
};

void turn(Descriptors& descriptors) {
  auto& [readable, writable, exceptional] = descriptors;
  int limit = 0;
  int noTimeout = 1;
  timeval timeout{};
  snmp_select_info2(&limit, readable.empty(), &timeout, &noTimeout);
  netsnmp_external_event_info2(&limit, readable.get(), writable.empty(), exceptional.empty());
  int count = netsnmp_large_fd_set_select(limit, readable.get(), writable.get(), exceptional.get(),
                                          noTimeout != 0 ? nullptr : &timeout);
  if (count > 0) {
    netsnmp_dispatch_external_events2(&count, readable.get(), writable.get(), exceptional.get());
    if (count > 0) snmp_read2(readable.get());
  } else if (count == 0) {
    snmp_timeout();
  } else if (errno != EINTR) {
    throw std::runtime_error(std::string("waiting for requests failed: ") + std::strerror(errno));
  }
  run_alarms();
  netsnmp_check_outstanding_agent_requests();
}

}  // namespace

EventLoop::EventLoop() : timers_(std::make_shared<TimerQueue>()) {
  // The library's alarms are run by the loop itself and need no signal.
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  timersDue_ = readable(timers_->descriptor(), [timers = timers_] { timers->expire(call); });
}

EventLoop::~EventLoop() = default;

EventLoop::Handle EventLoop::readable(int fd, Callback callback) {
  return std::make_unique<Descriptor>(fd, std::move(callback));
}

EventLoop::Handle EventLoop::after(milliseconds delay, Callback callback) {
  return timer(delay, milliseconds(0), std::move(callback));
}

EventLoop::Handle EventLoop::every(milliseconds period, Callback callback) {
  return timer(period, std::max(period, milliseconds(1)), std::move(callback));
}

EventLoop::Handle EventLoop::timer(milliseconds delay, milliseconds period, Callback callback) {
  return std::make_unique<Timer>(timers_, std::max(delay, milliseconds(1)), period, std::move(callback));
}

void EventLoop::run() {
  stopped_ = false;
  Descriptors descriptors;
  loopIsOurs = true;
  while (!stopped_ && !thrown) turn(descriptors);
  loopIsOurs = false;
  if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
}

}  // namespace host
