#pragma once

#include <cstdint>

#include "ManagementMessage.h"
#include "StatusMapping.h"

namespace host::ptp4l {

/// What a clock has said, the latest of each, and what a response changes of it.
///
/// Data of a port are believed only where they name the port that sent them.
class ReplyStore {
 public:
  enum class Change {
    none,
    values,
    topology,    ///< a port's state or the parent: the clock's own data sets have changed, too
    otherClock,  ///< all that was known was known of another clock, and is forgotten
  };

  const ClockReplies& replies() const { return replies_; }
  /// The port's own, made where it was not there.
  PortReplies& port(std::uint16_t number) { return replies_.ports[number]; }

  /// Takes an answer. What it should have told and does not tell legibly is no longer known. REQUIRES no error.
  Change answered(const Response& response);
  /// Takes what was reported unasked: a port's state, the parent or the time status. What is not legible is passed
  /// over. REQUIRES a known clock, and no error.
  Change reported(const Response& response);

  void forget() { replies_ = {}; }
  void forgetPort(std::uint16_t number) { replies_.ports.erase(number); }
  /// What this message told of this port, or of the clock, is no longer known.
  void forgetReply(ManagementId id, std::uint16_t port);

 private:
  Change takeDefaultDataSet(const Response& response);
  Change takeParentDataSet(const Response& response);
  Change takePortDataSet(const Response& response);
  Change takeTimeStatus(const Response& response);

  ClockReplies replies_;
};

}  // namespace host::ptp4l
