#include "NetworkNamespace.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "FileIdentity.h"

namespace host::ptp4l {

// The kernel lists the sockets of one namespace, with the paths as they were bound: /var/run is /run, so that files
// are compared and not their names.
bool isSocketOfThisNetworkNamespace(const std::string& path) {
  std::error_code error;
  const std::string end = "/" + std::filesystem::canonical(path, error).filename().string();
  const auto file = fileAt(path);
  if (error || !file) return false;
  std::ifstream sockets("/proc/self/net/unix");
  for (std::string line; std::getline(sockets, line);) {
    const std::size_t bound = line.find(" /");
    if (bound != std::string::npos && line.ends_with(end) && fileAt(line.substr(bound + 1)) == file) return true;
  }
  return false;
}

}  // namespace host::ptp4l
