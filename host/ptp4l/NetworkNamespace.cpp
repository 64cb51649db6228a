#include "NetworkNamespace.h"

#include <sys/stat.h>

#include <string>

namespace host::ptp4l {

std::optional<bool> sharesNetworkNamespace(pid_t process) {
  struct stat own {
  }, other{};
  const std::string path = "/proc/" + std::to_string(process) + "/ns/net";
  if (process <= 0 || stat("/proc/self/ns/net", &own) != 0 || stat(path.c_str(), &other) != 0) return {};
  return own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

}  // namespace host::ptp4l
