#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Json.h"
#include "LineReader.h"
#include "MonotonicCounters.h"
#include "Source.h"

namespace host {

enum class Repeat { no, yes };

/// A recorded status, one change to a line: `{"at": seconds, "status": {...}}`, where `status` is an RFC 7396
/// merge patch to the status document before it. Knows what comes when; who owns it knows what time it is.
///
/// One line is read ahead. A line that is refused counts as not there.
class Replay {
 public:
  using Seconds = std::chrono::duration<double>;

  /// `name` stands before the line number in messages. A repeated replay starts over when its last line falls
  /// due, as another run of a PTP service; its counters go on rising.
  Replay(std::string name, std::unique_ptr<std::istream> text, Repeat repeat);

  /// When the next line falls due, since the start; nothing after the last line. As long as no line was
  /// accepted, a line that will be refused is due at 0.
  std::optional<Seconds> due() const;

  /// Hands the status after the next line to the sink. Returns why the line was refused, as `NAME:LINE:
  /// reason`, if it was: by the document's rules or by the sink. REQUIRES due().
  [[nodiscard]] std::optional<std::string> step(const SnapshotSink& sink);

 private:
  struct Line {
    std::size_t number = 0;
    Seconds at{0};
    Json document = Json::object();
    StatusSnapshot snapshot;
    std::optional<std::string> refusal;
  };

  void readAhead();
  std::optional<Line> readLine();
  void decode(const std::string& text, Line& line) const;
  bool startOver();
  std::optional<std::string> publish(Line& line, const SnapshotSink& sink);

  std::string name_;
  LineReader reader_;
  Repeat repeat_;
  MonotonicCounters counters_;
  Line accepted_;       ///< the last line that the sink took in this run, or an empty one
  bool begun_ = false;  ///< whether there was any, in any run
  Seconds runStart_{0};
  std::optional<Line> next_;
};

}  // namespace host
