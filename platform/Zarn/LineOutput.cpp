#include "Zarn/LineOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <utility>

namespace Zarn {
namespace {

// Between poll(2) and write(2) another program may fill what has been shared with it, so that write(2) must not block
// by itself. O_NONBLOCK belongs to what was opened, which is shared, too. So a pipe or terminal is opened anew, which
// the system permits unless it is another user's. A file would have a position of its own, and lines overwrite each
// other.
int openedAnew(int fd, mode_t type) {
  if (type != S_IFIFO && type != S_IFCHR) return -1;
  std::array<char, 32> path{};
  std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", fd);
  return open(path.data(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

LineOutput::LineOutput(int fd, std::string prefix) : fd_(fd), prefix_(std::move(prefix)) {}

LineOutput::~LineOutput() { release(); }

void LineOutput::release() noexcept {
  if (own_ >= 0) close(std::exchange(own_, -1));
}

void LineOutput::follow() noexcept {
  struct stat status {};
  if (fstat(fd_, &status) != 0 || (status.st_dev == device_ && status.st_ino == inode_)) return;
  release();
  device_ = status.st_dev;
  inode_ = status.st_ino;
  type_ = status.st_mode & S_IFMT;
  own_ = openedAnew(fd_, type_);
  withinLine_ = false;
}

// How much fits for sure where poll(2) says that something does: a pipe promises PIPE_BUF, a terminal one character.
std::size_t LineOutput::mostAtOnce() const noexcept {
  if (type_ == S_IFREG) return SSIZE_MAX;
  return type_ == S_IFCHR && own_ < 0 ? 1 : PIPE_BUF;
}

void LineOutput::write(std::string_view text) noexcept {
  tellDropped();
  if (dropped_ > 0 || !put(text)) ++dropped_;
}

void LineOutput::tellDropped() noexcept {
  follow();
  if (dropped_ == 0) return;
  std::array<char, 160> text{};
  std::snprintf(text.data(), text.size(), "%slines missing here, which could not be written: %llu\n", prefix_.c_str(),
                static_cast<unsigned long long>(dropped_));
  if (put(text.data())) dropped_ = 0;
}

// False where the text, or a part of it, could not be written.
bool LineOutput::put(std::string_view text) noexcept {
  if (withinLine_ && putSome("\n") != 1) return false;
  withinLine_ = false;
  while (!text.empty()) {
    const ssize_t written = putSome(text.substr(0, mostAtOnce()));
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
    withinLine_ = !text.empty();
  }
  return true;
}

ssize_t LineOutput::putSome(std::string_view text) const noexcept {
  if (type_ == S_IFSOCK) return send(fd_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  const int fd = own_ >= 0 ? own_ : fd_;
  pollfd writable{.fd = fd, .events = POLLOUT, .revents = 0};
  return poll(&writable, 1, 0) == 1 ? ::write(fd, text.data(), text.size()) : -1;
}

}  // namespace Zarn
