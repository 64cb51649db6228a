#pragma once

#include <cstdint>
#include <map>

#include "StatusSnapshot.h"

namespace host {

/// Keeps packet counters from going back when the PTP service that counts starts again: a reader takes a fall
/// of a 64-bit counter for a wrap and sees an absurd rate. What a new run counts is added to what was shown
/// before it.
///
/// A port is its number, by which rows are known, whatever clock it belongs to. Each that was seen is remembered,
/// also those that are gone and may come back.
class MonotonicCounters {
 public:
  /// From now on the counts are those of another run, which began at 0.
  void newRun();

  /// Replaces the counts in the snapshot by those to show. A count that fell since the last snapshot began a
  /// new run.
  void apply(StatusSnapshot& snapshot);

  /// The sums of what was last shown of each port, also of those that are gone: what a clock has counted that does
  /// not count by itself.
  Ptp::PacketCounters sumOfPorts() const;

 private:
  class Counter {
   public:
    void newRun();
    /// Modulo 2^64, as any 64-bit counter.
    std::uint64_t shown(std::uint64_t count);
    std::uint64_t shown() const { return earlierRuns_ + thisRun_; }

   private:
    std::uint64_t earlierRuns_ = 0;
    std::uint64_t thisRun_ = 0;
  };

  struct Record {
    Counter sent;
    Counter received;

    void newRun();
    void apply(Ptp::PacketCounters& counters);
  };

  Record clock_;
  std::map<std::uint16_t, Record> ports_;
};

}  // namespace host
