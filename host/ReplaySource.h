#pragma once

#include <chrono>
#include <istream>
#include <memory>
#include <string>

#include "EventLoop.h"
#include "Replay.h"
#include "Source.h"

namespace host {

/// Plays a recorded status. The last state stays. A line that is refused while it plays is logged and left
/// out.
class ReplaySource final : public Source {
 public:
  /// `name` stands for the text in messages. The loop must outlive the source.
  ReplaySource(EventLoop& loop, const std::string& name, std::unique_ptr<std::istream> text,
               Repeat repeat = Repeat::no);
  /// Throws std::runtime_error where the file cannot be opened.
  static std::unique_ptr<ReplaySource> open(EventLoop& loop, const std::string& file);

  /// Applies the lines that are due at once. Throws where one of them is refused, where the first line is,
  /// whenever it is due, and where there is no line.
  void start(SnapshotSink sink) override;

 private:
  void serve();
  void waitForNext();
  Replay::Seconds elapsed() const { return std::chrono::steady_clock::now() - start_; }

  EventLoop& loop_;
  std::string name_;
  Replay replay_;
  SnapshotSink sink_;
  std::chrono::steady_clock::time_point start_;
  EventLoop::Handle timer_;
};

}  // namespace host
