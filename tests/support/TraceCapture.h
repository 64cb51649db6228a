#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Zarn/Trace.h"

namespace test {

/// Selects traces and collects their lines for as long as it lives; afterwards the settings are those of the start.
class TraceCapture {
 public:
  explicit TraceCapture(std::string_view selection) {
    Zarn::TraceSettings::reset();
    Zarn::TraceSettings::select(selection);
    Zarn::TraceSettings::sinkIs([this](std::string_view line) { lines_.emplace_back(line); });
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;
  ~TraceCapture() {
    Zarn::TraceSettings::sinkIs({});
    Zarn::TraceSettings::reset();
  }

  /// The lines since the last call, each as "<handle>/<level> <message>".
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace test
