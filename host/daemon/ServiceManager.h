#pragma once

#include "EventLoop.h"

namespace host {

/// Tells systemd, where it started this process and asked to be told, how the service is (sd_notify(3)). The watchdog
/// is fed from the event loop, so that a loop that hangs is noticed.
class ServiceManager {
 public:
  explicit ServiceManager(EventLoop& loop);

  void ready() const;
  void reloading() const;
  void stopping() const;

 private:
  EventLoop::Handle watchdog_;
};

}  // namespace host
