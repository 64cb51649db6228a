#include "ServedClock.h"

#include <utility>

namespace host {

ServedClock::ServedClock(EventLoop& loop, MonotonicCounters& counters, const std::string& moduleFile)
    : loop_(loop),
      counters_(counters),
      status_(Kestor::make<Ptp::Status>("ptpStatus")),
      ifMib_(Kestor::make<IntfSnmp::IfMib>("ifMib")),
      writer_(status_, ifMib_),
      module_(moduleFile, status_, ifMib_) {}

// A source may deliver while it starts, and then fail. What it delivers is applied when it has started.
void ServedClock::follow(const SourceOptions& options) {
  if (source_ && options == options_) return;
  std::unique_ptr<Source> next = makeSource(loop_, options, counters_);
  first_ = StatusSnapshot{};
  next->start([this, sender = next.get()](const StatusSnapshot& snapshot) {
    if (sender == source_.get()) return writer_.apply(snapshot);
    StatusWriter::check(snapshot);
    first_ = snapshot;
  });
  if (source_ && options.source != options_.source) counters_.newRun();
  source_ = std::move(next);
  options_ = options;
  writer_.apply(*std::exchange(first_, std::nullopt));
}

}  // namespace host
