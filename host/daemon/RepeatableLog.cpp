#include "RepeatableLog.h"

#include <spdlog/spdlog.h>

#include <chrono>
#include <optional>

#include "RepeatedLines.h"

namespace host::log {
namespace {

using Level = spdlog::level::level_enum;
using Time = RepeatedLines::Time;

std::optional<RepeatedLines> lines;  // while they are counted
int uncounted = 0;

Time now() { return std::chrono::steady_clock::now(); }

bool counts() { return lines && uncounted == 0 && !spdlog::should_log(spdlog::level::debug); }

void sayCounts(Time time) {
  for (const RepeatedLines::Count& count : lines->due(time))
    spdlog::log(static_cast<Level>(count.level), "{}", count.text);
  spdlog::default_logger()->flush();
}

}  // namespace

void repeatable(Level level, std::string_view kind, std::string_view text) {
  if (!spdlog::should_log(level)) return;
  if (!counts() || lines->isFirst(level, kind, text, now())) spdlog::log(level, "{}", text);
}

void repeatable(Level level, std::string_view text) {
  if (spdlog::should_log(level)) repeatable(level, RepeatedLines::kindOf(text), text);
}

Counting::Counting(EventLoop& loop) {
  lines.emplace();
  timer_ = loop.every(std::chrono::minutes(1), [] { sayCounts(now()); });
}

Counting::~Counting() {
  sayCounts(Time::max());
  lines.reset();
}

Uncounted::Uncounted() { ++uncounted; }
Uncounted::~Uncounted() { --uncounted; }

}  // namespace host::log
