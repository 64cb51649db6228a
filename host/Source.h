#pragma once

#include <functional>
#include <stdexcept>

#include "StatusSnapshot.h"

namespace host {

/// A status was refused: what() names the field and the value. The state before it stays.
class StatusRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Takes each new snapshot. Throws StatusRefused where the snapshot contradicts itself; nothing has changed
/// then.
using SnapshotSink = std::function<void(const StatusSnapshot&)>;

/// Where the PTP status comes from. A source runs on the event loop it was given, from start() until it is
/// destroyed, and hands a whole snapshot to its sink whenever something changed.
class Source {
 public:
  Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  virtual ~Source() = default;

  /// Throws std::runtime_error, with a message for the operator, where the source can never work.
  virtual void start(SnapshotSink sink) = 0;
};

}  // namespace host
