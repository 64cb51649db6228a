#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Zarn {

/// Writes lines to a descriptor and never waits for its reader: a pipe that nobody reads, a terminal that was stopped,
/// a socket whose queue is full. A line that cannot be written is dropped and counted, also where a disk is full.
///
/// The flags of the descriptor stay as they are, since other programs share them. A descriptor that is redirected
/// meanwhile is followed.
class LineOutput {
 public:
  /// `prefix` begins the line that tells how many lines were dropped.
  explicit LineOutput(int fd, std::string prefix = "");
  LineOutput(const LineOutput&) = delete;
  LineOutput& operator=(const LineOutput&) = delete;
  ~LineOutput();

  /// Writes a text that ends with a newline, or drops it. Dropped lines are told ahead of the next that is written.
  void write(std::string_view text) noexcept;

  /// Tells how many lines were dropped, if any and if that can be written by now.
  void tellDropped() noexcept;

 private:
  void follow() noexcept;
  void release() noexcept;
  std::size_t mostAtOnce() const noexcept;
  bool put(std::string_view text) noexcept;
  ssize_t putSome(std::string_view text) const noexcept;

  const int fd_;
  const std::string prefix_;
  dev_t device_ = 0;  // with the inode, what the descriptor stood for when it was used last
  ino_t inode_ = 0;
  mode_t type_ = 0;
  int own_ = -1;  // the same pipe or terminal, opened anew so that it does not block; -1 where there is none
  std::uint64_t dropped_ = 0;  // and not told yet
  bool withinLine_ = false;    // a line was cut off
};

}  // namespace Zarn
