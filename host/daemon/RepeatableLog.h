#pragma once

#include <spdlog/common.h>

#include <string_view>

#include "EventLoop.h"

namespace host::log {

/// Logs a line that a peer can cause as often as it likes. The first of a kind is said, then once an hour how many more
/// there were: see RepeatedLines. Each is said where the level debug is logged, and while nothing counts.
void repeatable(spdlog::level::level_enum level, std::string_view kind, std::string_view text);

/// The same for a line whose kind is to be seen from its words.
void repeatable(spdlog::level::level_enum level, std::string_view text);

/// Has repeatable lines counted while it exists, and says at its end what it has counted; one at a time.
class Counting {
 public:
  explicit Counting(EventLoop& loop);
  Counting(const Counting&) = delete;
  Counting& operator=(const Counting&) = delete;
  ~Counting();

 private:
  EventLoop::Handle timer_;
};

/// Has each repeatable line said while it exists: what the operator has caused.
class Uncounted {
 public:
  Uncounted();
  Uncounted(const Uncounted&) = delete;
  Uncounted& operator=(const Uncounted&) = delete;
  ~Uncounted();
};

}  // namespace host::log
