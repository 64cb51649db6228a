#pragma once

#include <string>

namespace host {

/// A file that holds the process number while it exists. Without a name there is none.
class PidFile {
 public:
  /// Throws std::runtime_error, naming the file and what is wrong, where it cannot be written, names another process
  /// that is alive, or is refused as a pid file: it holds what it held then.
  explicit PidFile(std::string file);
  PidFile(const PidFile&) = delete;
  PidFile& operator=(const PidFile&) = delete;
  /// Removes the file, unless another one has its name now.
  ~PidFile();

 private:
  const std::string file_;
  int descriptor_ = -1;
};

/// Opens a pid file that may be there, without following a link or waiting for anybody; `flags` are added. -1 with
/// errno where that cannot be.
int openPidFile(const std::string& file, int flags);

/// Why an open file is not taken as a pid file; empty where it is. Who may write to a folder, such as /tmp, can put
/// another user's file there under any name. So it must be a regular file with no other name, of this user or root, and
/// hold nothing but a process number.
std::string refusedAsPidFile(int descriptor);

}  // namespace host
