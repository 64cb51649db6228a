#pragma once

#include <memory>
#include <optional>
#include <string>

#include "MibModule.h"
#include "Sources.h"
#include "StatusWriter.h"

namespace host {

/// A PTP clock that is served: its live status, the module that answers from it, and the source that fills it.
/// What every host of the module runs, whoever owns the SNMP engine.
class ServedClock {
 public:
  /// Registers the tables; they are empty until a source is followed. The loop must outlive the clock, as must the
  /// counters, which are what was shown before. Throws std::runtime_error where the module cannot be loaded.
  ServedClock(EventLoop& loop, MonotonicCounters& counters, const std::string& moduleFile);
  ServedClock(const ServedClock&) = delete;
  ServedClock& operator=(const ServedClock&) = delete;
  ~ServedClock() = default;

  /// Follows this source from now on, in place of the one before; does nothing where it is the same. Throws
  /// std::runtime_error where it can never work: the one before then goes on.
  void follow(const SourceOptions& options);

  /// What is followed; the source is empty before the first.
  const SourceOptions& options() const noexcept { return options_; }

 private:
  EventLoop& loop_;
  MonotonicCounters& counters_;
  // In this order, so that each outlives those that use it: the source feeds the writer, the module follows the status.
  const Kestor::Ptr<Ptp::Status> status_;
  const Kestor::Ptr<IntfSnmp::IfMib> ifMib_;
  StatusWriter writer_;
  const MibModule module_;
  SourceOptions options_{.source = ""};
  std::optional<StatusSnapshot> first_;  // of a source that is being started
  std::unique_ptr<Source> source_;
};

}  // namespace host
