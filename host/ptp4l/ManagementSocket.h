#pragma once

#include <sys/un.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <system_error>

namespace host::ptp4l {

/// A Unix datagram socket to a PTP service. Its own end lies in a private directory, so that only root and
/// this user can send to it; the directory goes with the socket. No call blocks.
class ManagementSocket {
 public:
  /// Throws std::system_error where no directory can be made or `servicePath` is no socket address.
  explicit ManagementSocket(const std::string& servicePath);
  ManagementSocket(const ManagementSocket&) = delete;
  ManagementSocket& operator=(const ManagementSocket&) = delete;
  ~ManagementSocket();

  int fd() const noexcept { return fd_; }

  /// The service need not be there: no_such_file_or_directory and connection_refused say that it is not,
  /// resource_unavailable_try_again that its queue (10 datagrams by default) is full.
  std::error_code send(std::span<const std::uint8_t> datagram);
  /// The next datagram, valid until the next call; nothing where none is waiting. One that is larger than a
  /// PTP message can be comes cut.
  std::optional<std::span<const std::uint8_t>> receive();

 private:
  sockaddr_un service_;
  std::string directory_;
  std::string path_;
  int fd_ = -1;
  std::array<std::uint8_t, 1500> buffer_;
};

}  // namespace host::ptp4l
