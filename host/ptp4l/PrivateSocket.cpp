#include "PrivateSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "UnixAddress.h"

namespace host::ptp4l {

namespace {

constexpr char directoryPrefix[] = "ptpsnmpd-";
constexpr char socketName[] = "client";

std::system_error systemError(const std::string& what) { return {errno, std::generic_category(), what}; }

// systemd gives a service a directory of its own, or several, separated by colons.
std::vector<std::string> runtimeDirectories() {
  std::vector<std::string> directories;
  for (const char* variable : {"RUNTIME_DIRECTORY", "XDG_RUNTIME_DIR"}) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/') continue;
    const std::string list(value);
    directories.push_back(list.substr(0, list.find(':')));
  }
  directories.insert(directories.end(), {"/run", "/tmp"});
  return directories;
}

bool nobodyReads(const std::string& socketPath) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const sockaddr_un address = unixAddress(socketPath);
  const bool refused =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 && errno == ECONNREFUSED;
  close(fd);
  return refused;
}

// A process that was killed could not remove its directory. Only this user's are touched, and only those whose
// socket is dead.
void sweepLeftOvers(const std::string& parent) {
  std::error_code ignored;
  std::filesystem::directory_iterator entries(parent, ignored);
  for (; entries != std::filesystem::directory_iterator(); entries.increment(ignored)) {
    const auto& entry = *entries;
    if (!entry.path().filename().string().starts_with(directoryPrefix)) continue;
    struct stat status {};
    if (lstat(entry.path().c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid()) continue;
    const std::string socketPath = entry.path() / socketName;
    if (!fitsUnixAddress(socketPath) || !nobodyReads(socketPath)) continue;
    unlink(socketPath.c_str());
    rmdir(entry.path().c_str());
  }
}

// mkdtemp makes it with mode 0700 and under a name that no left-over has.
std::string makePrivateDirectory() {
  for (const std::string& parent : runtimeDirectories()) {
    std::string directory = parent + "/" + directoryPrefix + "XXXXXX";
    if (!fitsUnixAddress(directory + "/" + socketName)) continue;
    sweepLeftOvers(parent);
    if (mkdtemp(directory.data()) != nullptr) return directory;
  }
  throw systemError("no directory for the management socket");
}

int bindTo(const std::string& path) {
  const sockaddr_un address = unixAddress(path);
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) throw systemError("management socket");
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
  const auto error = systemError(path);
  close(fd);
  throw error;
}

}  // namespace

PrivateSocket::PrivateSocket() : directory_(makePrivateDirectory()), path_(directory_ + "/" + socketName) {
  try {
    fd_ = bindTo(path_);
  } catch (...) {
    rmdir(directory_.c_str());
    throw;
  }
  file_ = fileAt(path_);
}

PrivateSocket::~PrivateSocket() {
  close(fd_);
  unlink(path_.c_str());
  rmdir(directory_.c_str());
}

}  // namespace host::ptp4l
