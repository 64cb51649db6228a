#include "PidFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace host {
namespace {

constexpr std::size_t longestNumber = 32;  // with blanks and line ends around it

bool holdsANumberAtMost(int descriptor) {
  std::array<char, longestNumber + 1> content;
  const ssize_t size = pread(descriptor, content.data(), content.size(), 0);
  if (size < 0 || size > static_cast<ssize_t>(longestNumber)) return false;
  return std::string_view(content.data(), static_cast<std::size_t>(size)).find_first_not_of("0123456789 \n") ==
         std::string_view::npos;
}

bool holdsNow(int descriptor, std::string_view text) {
  return ftruncate(descriptor, 0) == 0 &&
         pwrite(descriptor, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

// Nothing of the file is touched before it is known to be ours.
std::string whyNotTaken(int descriptor) {
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK ? "another ptpsnmpd holds it" : std::strerror(errno);
  }
  const std::string refused = refusedAsPidFile(descriptor);
  if (!refused.empty() || holdsNow(descriptor, fmt::format("{}\n", getpid()))) return refused;
  return std::strerror(errno);
}

}  // namespace

int openPidFile(const std::string& file, int flags) {
  return open(file.c_str(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0644);
}

std::string refusedAsPidFile(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return std::strerror(errno);
  if (!S_ISREG(status.st_mode)) return "it is not a regular file";
  if (status.st_nlink == 0) return "it was removed meanwhile";
  if (status.st_nlink != 1) return "it is another file, too: there is a hard link to it";
  if (status.st_uid != geteuid() && status.st_uid != 0) return fmt::format("it belongs to user {}", status.st_uid);
  if (!holdsANumberAtMost(descriptor)) return "it holds something else than a process number";
  return "";
}

// Its lock is the kernel's and ends with the process, so that a file left over by a crash is no hindrance.
PidFile::PidFile(std::string file) : file_(std::move(file)) {
  if (file_.empty()) return;
  descriptor_ = openPidFile(file_, O_CREAT);
  if (descriptor_ < 0) throw std::runtime_error(fmt::format("pid file {}: {}", file_, std::strerror(errno)));
  const std::string why = whyNotTaken(descriptor_);
  if (why.empty()) return;
  close(descriptor_);
  throw std::runtime_error(fmt::format("pid file {}: {}", file_, why));
}

PidFile::~PidFile() {
  if (descriptor_ < 0) return;
  struct stat ours {
  }, there{};
  if (fstat(descriptor_, &ours) == 0 && lstat(file_.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
      ours.st_ino == there.st_ino) {
    unlink(file_.c_str());
  }
  close(descriptor_);
}

}  // namespace host
