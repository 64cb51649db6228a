#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "IntfSnmp/IfMib.h"
#include "Ptp/Status.h"
#include "Source.h"

namespace host {

/// The only code that changes the live status. It applies the difference between the status and a snapshot,
/// in an order that those who listen to the status can follow:
///
///   - objects that stay are updated in place, since rows hold them;
///   - a port's counters record is there before its data set is published, since a row looks for it once;
///   - removals come before additions, and a port whose number changed is removed and added anew, since one
///   row key
///     cannot name two ports;
///   - a service that is gone shows clock mode 0 first, which empties the tables, and only then loses its
///   data sets.
class StatusWriter {
 public:
  StatusWriter(Kestor::Ptr<Ptp::Status> status, Kestor::Ptr<IntfSnmp::IfMib> ifMib);

  /// Throws StatusRefused where apply() would.
  static void check(const StatusSnapshot& snapshot);

  /// Afterwards the status equals the snapshot; or is empty, where the snapshot has no default data set. Throws
  /// StatusRefused, having changed nothing, where two ports carry one number or a value cannot be served.
  void apply(const StatusSnapshot& snapshot);

 private:
  void applyInterfaces(const StatusSnapshot& snapshot);
  void removePorts(const StatusSnapshot& snapshot);
  void applyPorts(const StatusSnapshot& snapshot);
  void applyMibData(const StatusSnapshot& snapshot);
  void withdrawService();
  void forgetUnusedInterfaces(const StatusSnapshot& snapshot);
  Pelor::IntfId intfId(const std::string& interface);

  Kestor::Ptr<Ptp::Status> status_;
  Kestor::Ptr<IntfSnmp::IfMib> ifMib_;
  std::map<std::string, Pelor::IntfId> intfIds_;
  std::uint64_t lastIntfId_ = 0;
};

}  // namespace host
