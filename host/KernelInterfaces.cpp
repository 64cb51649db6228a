#include "KernelInterfaces.h"

#include <netlink/cache.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/route/link.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <utility>

namespace host {

namespace {
constexpr std::chrono::seconds retryPeriod(1);
}  // namespace

void KernelInterfaces::FreeManager::operator()(nl_cache_mngr* manager) const { nl_cache_mngr_free(manager); }

KernelInterfaces::KernelInterfaces(EventLoop& loop, std::function<void()> changed) : loop_(loop) {
  follow();
  changed_ = std::move(changed);
}

KernelInterfaces::~KernelInterfaces() = default;

std::optional<std::uint32_t> KernelInterfaces::ifIndex(const std::string& name) const {
  const int index = links_ != nullptr ? rtnl_link_name2i(links_, name.c_str()) : 0;
  if (index <= 0) return {};
  return static_cast<std::uint32_t>(index);
}

void KernelInterfaces::follow() {
  const bool retrying = retry_ != nullptr;
  const std::string error = list();
  if (error.empty()) {
    retry_.reset();
    readable_ = loop_.readable(nl_cache_mngr_get_fd(manager_.get()), [this] { update(); });
  } else if (!retrying) {
    spdlog::error("no interface index: netlink: {}", error);
    retry_ = loop_.every(retryPeriod, [this] { follow(); });
  }
  if (changed_) changed_();
}

// Subscribes first and lists then, so that no change falls between. The cache stays our own: one that is provided to
// the whole process (NL_AUTO_PROVIDE) is leaked when a second one takes its place. Returns what went wrong, if
// anything.
std::string KernelInterfaces::list() {
  readable_.reset();
  links_ = nullptr;
  manager_.reset();
  nl_cache_mngr* manager = nullptr;
  int error = nl_cache_mngr_alloc(nullptr, NETLINK_ROUTE, 0, &manager);
  if (error == 0) {
    manager_.reset(manager);
    error = nl_cache_mngr_add(manager, "route/link", nullptr, nullptr, &links_);
  }
  if (error >= 0) return {};
  manager_.reset();
  links_ = nullptr;
  return nl_geterror(error);
}

// An error means that changes were lost, as when they came faster than they were read: list anew.
void KernelInterfaces::update() {
  const int result = nl_cache_mngr_data_ready(manager_.get());
  if (result >= 0) {
    if (changed_) changed_();
    return;
  }
  spdlog::debug("listing the interfaces anew: netlink: {}", nl_geterror(result));
  follow();
}

}  // namespace host
