#include "ManagementSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace host::ptp4l {

namespace {

std::system_error systemError(const std::string& what) { return {errno, std::generic_category(), what}; }

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    throw std::system_error(std::make_error_code(std::errc::filename_too_long), "socket path '" + path + "'");
  }
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

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

// mkdtemp makes it with mode 0700 and under a name that no left-over has.
std::string makePrivateDirectory() {
  for (const std::string& parent : runtimeDirectories()) {
    std::string directory = parent + "/ptpsnmpd-XXXXXX";
    if (mkdtemp(directory.data()) != nullptr) return directory;
  }
  throw systemError("no directory for the management socket");
}

int bindTo(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) throw systemError("management socket");
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
  const auto error = systemError(path);
  close(fd);
  throw error;
}

}  // namespace

ManagementSocket::ManagementSocket(const std::string& servicePath)
    : service_(addressOf(servicePath)), directory_(makePrivateDirectory()), path_(directory_ + "/client") {
  try {
    fd_ = bindTo(path_);
  } catch (...) {
    rmdir(directory_.c_str());
    throw;
  }
}

ManagementSocket::~ManagementSocket() {
  close(fd_);
  unlink(path_.c_str());
  rmdir(directory_.c_str());
}

std::error_code ManagementSocket::send(std::span<const std::uint8_t> datagram) {
  const auto* address = reinterpret_cast<const sockaddr*>(&service_);
  if (sendto(fd_, datagram.data(), datagram.size(), MSG_DONTWAIT, address, sizeof(service_)) >= 0) return {};
  return {errno, std::generic_category()};
}

std::optional<std::span<const std::uint8_t>> ManagementSocket::receive() {
  const ssize_t size = recv(fd_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
  if (size < 0) return {};
  return std::span<const std::uint8_t>(buffer_).first(static_cast<std::size_t>(size));
}

}  // namespace host::ptp4l
