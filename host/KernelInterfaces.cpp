#include "KernelInterfaces.h"

#include <netlink/cache.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/route/link.h>
#include <spdlog/spdlog.h>

namespace host {

void KernelInterfaces::FreeManager::operator()(nl_cache_mngr* manager) const { nl_cache_mngr_free(manager); }

KernelInterfaces::KernelInterfaces(EventLoop& loop) : loop_(loop) { follow(); }

KernelInterfaces::~KernelInterfaces() = default;

std::optional<std::uint32_t> KernelInterfaces::ifIndex(const std::string& name) const {
  const int index = links_ != nullptr ? rtnl_link_name2i(links_, name.c_str()) : 0;
  if (index <= 0) return {};
  return static_cast<std::uint32_t>(index);
}

// Subscribes first and lists then, so that no change falls between. The cache stays our own: one that is provided to
// the whole process (NL_AUTO_PROVIDE) is leaked when a second one takes its place.
bool KernelInterfaces::follow() {
  readable_.reset();
  links_ = nullptr;
  manager_.reset();
  nl_cache_mngr* manager = nullptr;
  int error = nl_cache_mngr_alloc(nullptr, NETLINK_ROUTE, 0, &manager);
  if (error == 0) {
    manager_.reset(manager);
    error = nl_cache_mngr_add(manager, "route/link", nullptr, nullptr, &links_);
  }
  if (error < 0) {
    spdlog::error("no interface index: netlink: {}", nl_geterror(error));
    manager_.reset();
    links_ = nullptr;
    return false;
  }
  readable_ = loop_.readable(nl_cache_mngr_get_fd(manager_.get()), [this] { update(); });
  return true;
}

// An error means that changes were lost, as when they came faster than they were read: list anew.
void KernelInterfaces::update() {
  const int result = nl_cache_mngr_data_ready(manager_.get());
  if (result < 0 && follow()) spdlog::debug("interfaces listed anew: netlink: {}", nl_geterror(result));
}

}  // namespace host
