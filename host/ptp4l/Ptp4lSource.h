#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "ClockPoll.h"
#include "DomainSearch.h"
#include "EventLoop.h"
#include "KernelInterfaces.h"
#include "ManagementSocket.h"
#include "MonotonicCounters.h"
#include "Source.h"

namespace host::ptp4l {

/// The status of a live ptp4l, followed through its management socket: what changes is reported by ptp4l as it
/// happens, and everything is asked for once in a period.
///
/// A poll that gets no answer for a period, or none but the first, or takes too long for what it asks, is given up and
/// changes nothing. Three of them in a row, and the service counts as gone: the sink gets an empty snapshot, and every
/// further poll looks for the service again. The sink gets an empty one, too, in place of one that it refuses. Of a
/// service or clock that is new, nothing is shown until a poll was answered in full.
class Ptp4lSource final : public Source {
 public:
  /// The counters are what was shown of the service before, and must outlive the source.
  Ptp4lSource(EventLoop& loop, MonotonicCounters& counters, std::string socketPath,
              std::chrono::milliseconds poll = std::chrono::seconds(1), bool events = true);

  void start(SnapshotSink sink) override;

 private:
  enum class Service { unknown, answering, gone };

  void poll();
  void pollSoon();
  void periodEnded();
  std::chrono::milliseconds longestPoll() const;
  void reopenSocket();
  void sendRequests();
  void receiveResponses();
  void take(const Response& response);
  void askForPorts();
  void askForClock();
  void subscribe();
  void otherClockAnswers();
  void pollAnswered();
  void pollUnanswered(const std::string& reason);
  void deliverWhole();
  void deliver(const StatusSnapshot& snapshot);
  void warnOnce(const std::string& message);

  EventLoop& loop_;
  const std::string socketPath_;
  const std::chrono::milliseconds period_;
  const bool events_;
  SnapshotSink sink_;

  Service service_ = Service::unknown;
  bool searching_ = true;  ///< no poll was answered in full yet, or another service or clock has come since
  bool polling_ = false;   ///< a poll is neither answered nor given up
  bool changed_ = false;   ///< since the last delivery, and to be shown at the end of this turn
  bool hearing_ = false;   ///< more than the first question was answered since the last period began
  int unansweredPolls_ = 0;
  std::error_code sendError_;  ///< of the current poll
  std::chrono::steady_clock::time_point pollBegan_;
  DomainSearch domains_;
  ClockPoll clock_;
  MonotonicCounters& counters_;
  std::optional<StatusSnapshot> delivered_;
  std::set<std::string> warnings_;

  bool sameInterfaces_ = false;  ///< the service's interfaces are those of this process
  KernelInterfaces interfaces_;
  std::optional<ManagementSocket> socket_;
  EventLoop::Handle readable_;  ///< refers to the socket, as do polls
  EventLoop::Handle pollTimer_;
  EventLoop::Handle pacing_;
  EventLoop::Handle renewal_;
};

}  // namespace host::ptp4l
