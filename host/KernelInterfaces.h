#pragma once

#include <cstdint>
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
  /// Where netlink fails this is said once, and no interface has an index.
  explicit KernelInterfaces(EventLoop& loop);
  ~KernelInterfaces();

  std::optional<std::uint32_t> ifIndex(const std::string& name) const;

 private:
  struct FreeManager {
    void operator()(nl_cache_mngr* manager) const;
  };

  bool follow();
  void update();

  EventLoop& loop_;
  std::unique_ptr<nl_cache_mngr, FreeManager> manager_;
  nl_cache* links_ = nullptr;  ///< the manager's
  EventLoop::Handle readable_;
};

}  // namespace host
