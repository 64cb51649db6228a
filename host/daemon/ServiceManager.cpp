#include "ServiceManager.h"

#include <fmt/format.h>
#include <systemd/sd-daemon.h>

#include <ctime>

namespace host {
namespace {

void notify(const char* state) { sd_notify(0, state); }

}  // namespace

// Fed twice as often as it asks, as sd_watchdog_enabled(3) recommends.
ServiceManager::ServiceManager(EventLoop& loop) {
  std::uint64_t microseconds = 0;
  if (sd_watchdog_enabled(0, &microseconds) <= 0) return;
  const auto half = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::microseconds(microseconds / 2));
  watchdog_ = loop.every(half, [] { notify("WATCHDOG=1"); });
}

void ServiceManager::ready() const { notify("READY=1"); }

void ServiceManager::reloading() const {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  notify(fmt::format("RELOADING=1\nMONOTONIC_USEC={}", now.tv_sec * 1'000'000LL + now.tv_nsec / 1000).c_str());
}

void ServiceManager::stopping() const { notify("STOPPING=1"); }

}  // namespace host
