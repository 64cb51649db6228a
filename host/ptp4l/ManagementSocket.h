#pragma once

#include <sys/un.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <system_error>

#include "FileIdentity.h"
#include "ManagementMessage.h"
#include "PrivateSocket.h"

namespace host::ptp4l {

/// A Unix datagram socket to a PTP service, and to nobody else: the kernel refuses what other processes send. It sends
/// GETs and subscriptions, and nothing that changes a clock. No call blocks.
class ManagementSocket {
 public:
  /// Throws std::system_error where no directory permits a socket or `servicePath` is no socket address.
  explicit ManagementSocket(const std::string& servicePath);

  int fd() const noexcept { return own_->fd(); }

  /// Connects to the service at the path, where that is not done or another one has taken the path since. Whether it
  /// is another one than was connected to before: the service was started anew. Only this call connects, so that what
  /// is sent between two of them goes to one service.
  bool followService();

  /// The service need not be there: no_such_file_or_directory and connection_refused say that it is not,
  /// resource_unavailable_try_again that its queue (10 datagrams by default) is full. After any other error nothing is
  /// sent until followService() connects again.
  std::error_code send(const GetRequest& request) { return sendBytes(encode(request)); }
  std::error_code send(const Subscription& subscription) { return sendBytes(encode(subscription)); }

  /// The next datagram; nothing where none is waiting. One that is larger than a PTP message can be comes cut. It is
  /// valid until the next one is received.
  std::optional<std::span<const std::uint8_t>> receive();

  /// Whether the service can answer: somebody may have removed the socket's own file.
  bool answerable() const { return own_->inPlace(); }
  /// Makes its own end anew, under another path and descriptor. The service stays known. REQUIRES that nothing waits
  /// for the descriptor. Throws std::system_error as the constructor does; nothing has changed then.
  void reopen();

 private:
  std::error_code connectToService(const std::optional<FileIdentity>& file);
  std::error_code sendBytes(std::span<const std::uint8_t> datagram);

  sockaddr_un service_;
  std::unique_ptr<PrivateSocket> own_;
  std::error_code disconnected_ = std::make_error_code(std::errc::not_connected);  ///< why; none while connected
  std::optional<FileIdentity> serviceFile_;  ///< of the service that was connected to last
  std::array<std::uint8_t, 1500> buffer_;
};

}  // namespace host::ptp4l
