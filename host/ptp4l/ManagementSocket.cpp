#include "ManagementSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>
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

constexpr char directoryPrefix[] = "ptpsnmpd-";
constexpr char socketName[] = "client";

int connectTo(int fd, const sockaddr_un& address) {
  return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

bool nobodyReads(const std::string& socketPath) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const bool refused = connectTo(fd, addressOf(socketPath)) != 0 && errno == ECONNREFUSED;
  close(fd);
  return refused;
}

// A process that was killed could not remove its directory. Only this user's are touched, and only those whose
// socket is dead.
void sweepLeftOvers(const std::string& parent) {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(directoryPrefix)) continue;
    struct stat status {};
    if (lstat(entry.path().c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid()) continue;
    const std::string socketPath = entry.path() / socketName;
    if (socketPath.size() >= sizeof(sockaddr_un::sun_path) || !nobodyReads(socketPath)) continue;
    unlink(socketPath.c_str());
    rmdir(entry.path().c_str());
  }
}

// mkdtemp makes it with mode 0700 and under a name that no left-over has.
std::string makePrivateDirectory() {
  for (const std::string& parent : runtimeDirectories()) {
    sweepLeftOvers(parent);
    std::string directory = parent + "/" + directoryPrefix + "XXXXXX";
    if (mkdtemp(directory.data()) != nullptr) return directory;
  }
  throw systemError("no directory for the management socket");
}

int bindTo(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) throw systemError("management socket");
  const int on = 1;
  if (setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof(on)) == 0 &&
      bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    return fd;
  }
  const auto error = systemError(path);
  close(fd);
  throw error;
}

pid_t senderOf(msghdr& message) {
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_CREDENTIALS) continue;
    ucred credentials{};
    std::memcpy(&credentials, CMSG_DATA(header), sizeof(credentials));
    return credentials.pid;
  }
  return 0;
}

}  // namespace

ManagementSocket::ManagementSocket(const std::string& servicePath)
    : service_(addressOf(servicePath)), directory_(makePrivateDirectory()), path_(directory_ + "/" + socketName) {
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
  if (!connected_) {
    if (const auto error = connectToService()) return error;
  }
  if (::send(fd_, datagram.data(), datagram.size(), MSG_DONTWAIT) >= 0) return {};
  const std::error_code error(errno, std::generic_category());
  if (error != std::errc::resource_unavailable_try_again) connected_ = false;
  return error;
}

// A connected socket takes datagrams from its peer alone.
std::error_code ManagementSocket::connectToService() {
  if (connectTo(fd_, service_) != 0) return {errno, std::generic_category()};
  connected_ = true;
  return {};
}

bool ManagementSocket::serviceReplaced() {
  struct statx status {};
  if (statx(AT_FDCWD, service_.sun_path, 0, STATX_INO | STATX_BTIME, &status) != 0) return false;
  // Some file systems give an inode's number to the next file; the time of birth tells them apart, where there is one.
  const File now{status.stx_dev_major, status.stx_dev_minor, status.stx_ino, status.stx_btime.tv_sec,
                 status.stx_btime.tv_nsec};
  const std::optional<File> before = std::exchange(serviceFile_, now);
  if (!before || *before == now) return false;
  connected_ = false;
  return true;
}

std::optional<Datagram> ManagementSocket::receive() {
  iovec part{buffer_.data(), buffer_.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t size = recvmsg(fd_, &message, MSG_DONTWAIT);
  if (size < 0) return {};
  return Datagram{std::span<const std::uint8_t>(buffer_).first(static_cast<std::size_t>(size)), senderOf(message)};
}

}  // namespace host::ptp4l
