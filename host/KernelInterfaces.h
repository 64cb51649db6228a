#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "EventLoop.h"

struct nl_cache;
struct nl_cache_mngr;

namespace host {

/// The interfaces of this network namespace, followed through the kernel's route netlink.
class KernelInterfaces {
 public:
  /// Calls back, if it is given something to call, whenever an index may be another. Where netlink fails this is said
  /// once, no interface has an index, and the list is asked for again each second.
  explicit KernelInterfaces(EventLoop& loop, std::function<void()> changed = {});
  ~KernelInterfaces();

  std::optional<std::uint32_t> ifIndex(const std::string& name) const;

 private:
  struct FreeManager {
    void operator()(nl_cache_mngr* manager) const;
  };

  void follow();
  std::string list();
  void update();

  EventLoop& loop_;
  std::function<void()> changed_;
  std::unique_ptr<nl_cache_mngr, FreeManager> manager_;
  nl_cache* links_ = nullptr;  ///< the manager's
  EventLoop::Handle readable_;
  EventLoop::Handle retry_;
};

}  // namespace host
