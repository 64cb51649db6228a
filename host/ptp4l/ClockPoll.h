#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "ManagementMessage.h"
#include "StatusMapping.h"

namespace host::ptp4l {

/// Asks a clock for all that a status needs, one round after the other. It only keeps the books: the caller
/// sends what next() offers and hands in what arrives.
///
/// A round asks for the default data set first. Its answer proves that the clock is there, and says how many
/// ports to ask for. Each further request names one port, so that it brings a single response: a service that
/// writes more responses than its client has room for blocks until the client reads, and stops serving time
/// meanwhile.
class ClockPoll {
 public:
  /// Requests in flight. Both ends queue 10 datagrams by default, and the service has other clients.
  static constexpr std::size_t window = 4;

  explicit ClockPoll(std::uint16_t senderNumber) : senderNumber_(senderNumber) {}

  /// Drops what the round before left open and asks for the clock in each of these domains.
  void begin(const std::vector<Domain>& domains);
  /// Asks again, from now on, for what was refused.
  void forgetRefusals() { refused_.clear(); }

  /// The request to send now, if any. It is offered until sent() is called.
  std::optional<GetRequest> next() const;
  void sent();
  void accept(const Response& response);

  /// Everything was answered or refused.
  bool complete() const { return answered_ && queue_.empty() && inFlight_.empty(); }
  /// Where the clock answered.
  Domain domain() const { return domain_; }
  const ClockReplies& replies() const { return replies_; }

 private:
  void ask(ManagementId id, Domain domain, std::uint16_t port);
  void askForTheRest();
  void store(const Response& response, std::uint16_t port);
  void storeDefaultDataSet(const Response& response);
  void refuse(const Response& response, std::uint16_t port);

  const std::uint16_t senderNumber_;
  std::uint16_t sequenceId_ = 0;
  std::deque<GetRequest> queue_;
  std::map<std::uint16_t, GetRequest> inFlight_;  ///< by sequence id
  std::set<ManagementId> refused_;
  bool answered_ = false;
  Domain domain_;
  ClockReplies replies_;
};

}  // namespace host::ptp4l
