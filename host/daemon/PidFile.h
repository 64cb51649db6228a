#pragma once

#include <string>

namespace host {

/// A file that holds the process number while it exists. Without a name there is none.
class PidFile {
 public:
  /// Throws std::runtime_error where it cannot be written, or names another process that is alive.
  explicit PidFile(std::string file);
  PidFile(const PidFile&) = delete;
  PidFile& operator=(const PidFile&) = delete;
  ~PidFile();

 private:
  const std::string file_;
  int descriptor_ = -1;
};

}  // namespace host
