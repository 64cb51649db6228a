#include "PidFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace host {

// Its lock is the kernel's and ends with the process, so that a file left over by a crash is no hindrance.
PidFile::PidFile(std::string file) : file_(std::move(file)) {
  if (file_.empty()) return;
  descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (descriptor_ < 0) throw std::runtime_error(fmt::format("pid file {}: {}", file_, std::strerror(errno)));
  const std::string text = fmt::format("{}\n", getpid());
  std::string why;
  if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    why = errno == EWOULDBLOCK ? "another ptpsnmpd holds it" : std::strerror(errno);
  } else if (ftruncate(descriptor_, 0) != 0 ||
             write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    why = std::strerror(errno);
  }
  if (why.empty()) return;
  close(descriptor_);
  throw std::runtime_error(fmt::format("pid file {}: {}", file_, why));
}

PidFile::~PidFile() {
  if (descriptor_ < 0) return;
  unlink(file_.c_str());
  close(descriptor_);
}

}  // namespace host
