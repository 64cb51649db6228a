#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace host {

/// Another process, as /proc shows it.
struct RunningProcess {
  pid_t id = 0;
  uid_t user = 0;  ///< the effective one, as are the groups
  gid_t group = 0;
  std::vector<gid_t> groups;

  /// A variable that it was started with; empty where it was without. Nothing where the caller may not see that.
  std::optional<std::string> environment(const std::string& name) const;
  /// Whether it has the socket of this inode open. Nothing where the caller may not see that.
  std::optional<bool> holdsSocket(const std::string& inode) const;
};

/// Those that run under this name, the caller apart.
std::vector<RunningProcess> processesNamed(const std::string& name);

/// The user's name, or its number where it has none.
std::string userName(uid_t user);

}  // namespace host
