#include "Processes.h"

#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace host {
namespace {

namespace fs = std::filesystem;

// The second of a line's four numbers is the effective one.
template <class Number>
Number effective(std::istringstream& numbers) {
  Number real = 0;
  Number value = 0;
  numbers >> real >> value;
  return value;
}

// Nothing where this is not a process of that name, or has ended.
std::optional<RunningProcess> processAt(const fs::path& folder, const std::string& name) {
  RunningProcess process;
  std::ifstream status(folder / "status");
  std::string line;
  bool named = false;
  while (std::getline(status, line)) {
    std::istringstream rest(line);
    std::string field;
    rest >> field;
    if (field == "Name:") {
      rest >> field;
      named = field == name;
    } else if (field == "Pid:") {
      rest >> process.id;
    } else if (field == "Uid:") {
      process.user = effective<uid_t>(rest);
    } else if (field == "Gid:") {
      process.group = effective<gid_t>(rest);
    } else if (field == "Groups:") {
      for (gid_t group = 0; rest >> group;) process.groups.push_back(group);
    }
  }
  if (!named || process.id == getpid()) return {};
  return process;
}

}  // namespace

std::vector<RunningProcess> processesNamed(const std::string& name) {
  std::vector<RunningProcess> found;
  std::error_code ignored;
  for (fs::directory_iterator at("/proc", ignored); at != fs::directory_iterator(); at.increment(ignored)) {
    const std::string id = at->path().filename();
    if (id.find_first_not_of("0123456789") != std::string::npos) continue;
    if (auto process = processAt(at->path(), name)) found.push_back(std::move(*process));
  }
  return found;
}

std::optional<std::string> RunningProcess::environment(const std::string& name) const {
  std::ifstream file(fmt::format("/proc/{}/environ", id));
  if (!file) return {};
  for (std::string variable; std::getline(file, variable, '\0');) {
    if (variable.starts_with(name + "=")) return variable.substr(name.size() + 1);
  }
  return "";
}

std::optional<bool> RunningProcess::holdsSocket(const std::string& inode) const {
  std::error_code error;
  fs::directory_iterator at(fmt::format("/proc/{}/fd", id), error);
  if (error) return {};
  std::error_code ignored;  // it may end, and close what is being looked at
  for (; at != fs::directory_iterator(); at.increment(ignored)) {
    if (fs::read_symlink(at->path(), ignored) == "socket:[" + inode + "]") return true;
  }
  return false;
}

std::string userName(uid_t user) {
  const passwd* const entry = getpwuid(user);
  return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

}  // namespace host
