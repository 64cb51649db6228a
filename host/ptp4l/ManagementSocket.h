#pragma once

#include <sys/types.h>
#include <sys/un.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <system_error>

namespace host::ptp4l {

struct Datagram {
  std::span<const std::uint8_t> bytes;  ///< valid until the next one is received
  pid_t sender = 0;                     ///< the kernel's word for it; 0 for a process that cannot be seen from here
};

/// A Unix datagram socket to a PTP service, and to nobody else: the kernel refuses what other processes send.
/// Its own end lies in a private directory, so that only root and this user can see it; the directory goes with
/// the socket, and what a crash left of an earlier one is swept away. No call blocks.
class ManagementSocket {
 public:
  /// Throws std::system_error where no directory can be made or `servicePath` is no socket address.
  explicit ManagementSocket(const std::string& servicePath);
  ManagementSocket(const ManagementSocket&) = delete;
  ManagementSocket& operator=(const ManagementSocket&) = delete;
  ~ManagementSocket();

  int fd() const noexcept { return fd_; }

  /// The service need not be there: no_such_file_or_directory and connection_refused say that it is not,
  /// resource_unavailable_try_again that its queue (10 datagrams by default) is full. A service that has come
  /// since is found by the next call.
  std::error_code send(std::span<const std::uint8_t> datagram);

  /// The next datagram; nothing where none is waiting. One that is larger than a PTP message can be comes cut.
  std::optional<Datagram> receive();

  /// Whether another file has taken the path since the last call: the service was started anew. What is sent
  /// from now on goes to the new one.
  bool serviceReplaced();

 private:
  struct File {
    std::uint32_t deviceMajor, deviceMinor;
    std::uint64_t inode;
    std::int64_t bornSeconds;
    std::uint32_t bornNanoseconds;

    friend bool operator==(const File&, const File&) = default;
  };

  std::error_code connectToService();

  sockaddr_un service_;
  std::string directory_;
  std::string path_;
  int fd_ = -1;
  bool connected_ = false;
  std::optional<File> serviceFile_;
  std::array<std::uint8_t, 1500> buffer_;
};

}  // namespace host::ptp4l
