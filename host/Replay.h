#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Json.h"
#include "LineReader.h"
#include "MonotonicCounters.h"
#include "SlicedTask.h"
#include "Source.h"

namespace host {

enum class Repeat { no, yes };

/// A recorded status, one change to a line: `{"at": seconds, "status": {...}}`, where `status` is an RFC 7396
/// merge patch to the status document before it. Knows what comes when; who owns it knows what time it is.
///
/// One line is read ahead, in slices. A line that is refused counts as not there.
class Replay {
 public:
  using Seconds = std::chrono::duration<double>;
  using Enough = SlicedTask::Enough;

  /// `name` stands before the line number in messages. A repeated replay starts over when its last line falls
  /// due, as another run of a PTP service; its counters go on rising.
  Replay(std::string name, std::unique_ptr<std::istream> text, Repeat repeat);

  /// Tells whether the next line is still to be read, as at first and after each step.
  bool isReading() const noexcept { return reading_.isRunning(); }
  /// Reads on, until the next line is known or `enough` holds, which is asked after each 40 µs or so.
  void read(const Enough& enough);
  /// Reads on until the next line is known.
  void read();

  /// When the next line falls due, since the start; nothing after the last line. As long as no line was
  /// accepted, a line that will be refused is due at 0. REQUIRES !isReading().
  std::optional<Seconds> due() const;

  /// Hands the status after the next line to the sink. Returns why the line was refused, as `NAME:LINE:
  /// reason`, if it was: by the document's rules or by the sink. REQUIRES due().
  [[nodiscard]] std::optional<std::string> step(const SnapshotSink& sink);

 private:
  struct Line {
    std::size_t number = 0;
    Seconds at{0};
    StatusSnapshot snapshot;
    std::optional<std::string> refusal;
    Json undo = Json::object();  ///< what takes it out of the document again
  };

  void readAhead(Pacer& pacer);
  void leaveBehind(Line& line, Pacer& pacer);
  std::optional<Line> readLine(Pacer& pacer);
  void decode(const std::string& text, Json& json, Line& line, Pacer& pacer);
  bool startOver(Pacer& pacer);
  void publish(Line& line, const SnapshotSink& sink);

  std::string name_;
  LineReader reader_;
  Repeat repeat_;
  MonotonicCounters counters_;
  Json document_ = Json::object();  ///< with the next line, or what of it could be read
  Seconds acceptedAt_{0};           ///< of the last line that the sink took in this run
  bool begun_ = false;              ///< whether there was any, in any run
  Seconds runStart_{0};
  Line last_;                 ///< left behind by a step, until the next line is read
  std::optional<Line> next_;  ///< while not reading
  SlicedTask reading_;        ///< uses all others, so that it ends first
};

}  // namespace host
