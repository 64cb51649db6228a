#include "ManagementSocket.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "UnixAddress.h"

namespace host::ptp4l {

namespace {

sockaddr_un addressOf(const std::string& path) {
  if (fitsUnixAddress(path)) return unixAddress(path);
  throw std::system_error(std::make_error_code(std::errc::filename_too_long), "socket path '" + path + "'");
}

}  // namespace

ManagementSocket::ManagementSocket(const std::string& servicePath)
    : service_(addressOf(servicePath)), own_(std::make_unique<PrivateSocket>()) {}

// A service whose file was removed may live on. One that refused is dead, even if the next one's file looks the same.
bool ManagementSocket::followService() {
  const auto file = fileAt(service_.sun_path);
  if (!disconnected_ && (!file || file == serviceFile_)) return false;
  const bool died = disconnected_ == std::errc::connection_refused;
  disconnected_ = connectToService(file);
  if (disconnected_) return false;
  const auto before = std::exchange(serviceFile_, file);
  return before && (died || before != file);
}

// A connected socket takes datagrams from its peer alone. Where the file is another one afterwards, either may be what
// was connected to.
std::error_code ManagementSocket::connectToService(const std::optional<FileIdentity>& file) {
  if (connect(own_->fd(), reinterpret_cast<const sockaddr*>(&service_), sizeof(service_)) != 0) {
    return {errno, std::generic_category()};
  }
  if (fileAt(service_.sun_path) != file) return std::make_error_code(std::errc::connection_reset);
  return {};
}

std::error_code ManagementSocket::sendBytes(std::span<const std::uint8_t> datagram) {
  if (disconnected_) return disconnected_;
  if (::send(own_->fd(), datagram.data(), datagram.size(), MSG_DONTWAIT) >= 0) return {};
  const std::error_code error(errno, std::generic_category());
  if (error != std::errc::resource_unavailable_try_again) disconnected_ = error;
  return error;
}

std::optional<std::span<const std::uint8_t>> ManagementSocket::receive() {
  const ssize_t size = recv(own_->fd(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
  if (size < 0) return {};
  return std::span<const std::uint8_t>(buffer_).first(static_cast<std::size_t>(size));
}

void ManagementSocket::reopen() {
  own_ = std::make_unique<PrivateSocket>();
  disconnected_ = std::make_error_code(std::errc::not_connected);
}

}  // namespace host::ptp4l
