#include "ReplaySource.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace host {
namespace {

using namespace std::chrono_literals;
using Seconds = Replay::Seconds;

// Neither a burst of lines nor a large one must keep SNMP requests waiting. Between two turns is a millisecond at
// least.
constexpr int maxLinesAtOnce = 64;
constexpr auto longestServe = 5ms;

// Timers need not take any delay that a replay may ask for.
constexpr Seconds longestWait = 1h;

// A pipe or a device could block the loop, or never end.
void requireRegularFile(const std::string& file) {
  const auto status = std::filesystem::status(file);
  if (std::filesystem::is_directory(status)) throw std::system_error(EISDIR, std::generic_category());
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw std::runtime_error("not a regular file");
  }
}

std::string reasonOf(const std::exception& error) {
  const auto* system = dynamic_cast<const std::system_error*>(&error);
  return system != nullptr ? system->code().message() : error.what();
}

std::unique_ptr<std::istream> openFile(const std::string& file) {
  try {
    requireRegularFile(file);
    auto stream = std::make_unique<std::ifstream>(file, std::ios::binary);
    if (!stream->is_open()) throw std::system_error(errno, std::generic_category());
    return stream;
  } catch (const std::exception& error) {
    throw std::runtime_error(fmt::format("{}: cannot be opened: {}", file, reasonOf(error)));
  }
}

}  // namespace

ReplaySource::ReplaySource(EventLoop& loop, const std::string& name, std::unique_ptr<std::istream> text, Repeat repeat)
    : loop_(loop), name_(name), replay_(name, std::move(text), repeat) {}

std::unique_ptr<ReplaySource> ReplaySource::open(EventLoop& loop, const std::string& file) {
  return std::make_unique<ReplaySource>(loop, file, openFile(file));
}

void ReplaySource::start(SnapshotSink sink) {
  replay_.read();
  if (!replay_.due()) throw std::runtime_error(fmt::format("{}: holds no status", name_));
  sink_ = std::move(sink);
  start_ = std::chrono::steady_clock::now();
  while (replay_.due() == Seconds(0)) {
    if (const auto refusal = replay_.step(sink_)) throw std::runtime_error(*refusal);
    replay_.read();
  }
  waitForNext();
}

void ReplaySource::serve() {
  const auto isDue = [this] { return replay_.due() && *replay_.due() <= elapsed(); };
  const auto began = elapsed();
  const auto enough = [this, began] { return elapsed() - began >= longestServe; };
  for (int lines = 0; lines < maxLinesAtOnce && !enough(); ++lines) {
    replay_.read(enough);
    if (replay_.isReading() || !isDue()) break;
    if (const auto refusal = replay_.step(sink_)) spdlog::error("{}; the line is ignored", *refusal);
  }
  waitForNext();
}

void ReplaySource::waitForNext() {
  if (replay_.isReading()) {
    timer_ = loop_.after(0ms, [this] { serve(); });
    return;
  }
  const auto due = replay_.due();
  if (!due) {
    timer_.reset();
    return;
  }
  const Seconds wait = std::clamp(*due - elapsed(), Seconds(0), longestWait);
  timer_ = loop_.after(std::chrono::ceil<std::chrono::milliseconds>(wait), [this] { serve(); });
}

}  // namespace host
