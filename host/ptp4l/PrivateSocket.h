#pragma once

#include <string>

#include "FileIdentity.h"

namespace host::ptp4l {

/// A Unix datagram socket in a directory of its own, where only root and this user can see it. The directory goes with
/// the socket, and what a crash left of an earlier one is swept away.
class PrivateSocket {
 public:
  /// Throws std::system_error where no directory permits it.
  PrivateSocket();
  PrivateSocket(const PrivateSocket&) = delete;
  PrivateSocket& operator=(const PrivateSocket&) = delete;
  ~PrivateSocket();

  /// It never blocks.
  int fd() const noexcept { return fd_; }
  /// Whether its file is still there, so that it can be answered.
  bool inPlace() const { return fileAt(path_) == file_; }

 private:
  std::string directory_;
  std::string path_;
  int fd_ = -1;
  std::optional<FileIdentity> file_;
};

}  // namespace host::ptp4l
