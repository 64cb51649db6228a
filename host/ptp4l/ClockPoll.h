#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "ManagementMessage.h"
#include "ReplyStore.h"

namespace host::ptp4l {

/// Asks a clock for all that a status needs, one round after the other, and takes in what the clock reports
/// unasked. It only keeps the books: the caller sends what next() offers and hands in what arrives.
///
/// A round asks for the default data set first. Its answer proves that the clock is there, and says how many
/// ports to ask for: they are numbered from 1 without gaps. Each further request names one port, so that it brings a
/// single response: a service that writes more responses than its client has room for blocks until the client reads,
/// and stops serving time meanwhile.
///
/// A service answers in the order in which it is asked. A request that it passes over is given up. What the clock or
/// a port refuses, or passes over three times in a row, is asked for again only in every sixtieth round.
class ClockPoll {
 public:
  /// Requests in flight. The service's queue and this client's hold 10 datagrams by default, and the rest is left
  /// to other clients, and to events.
  static constexpr std::size_t window = 4;
  static constexpr unsigned roundsOfARefusal = 60;

  /// What a response meant.
  struct Heard {
    bool answer = false;      ///< it was asked for
    bool clock = false;       ///< all that was asked about the clock itself, and not about a port, is answered now
    bool event = false;       ///< it was not asked for, and changed what is known
    bool topology = false;    ///< a port's state or the parent changed: the clock's own data sets have, too
    bool otherClock = false;  ///< the default data set is another clock's than before; all else is forgotten
    bool stranger = false;    ///< it came from another clock than the one that answered this round, and was left out
  };

  /// The service tells its clients apart by `self` alone.
  explicit ClockPoll(Ptp::PortIdentity self) : self_(self) {}

  /// Drops what the round before left open and asks for the clock in each of these domains. What is known stays
  /// until something newer comes.
  void begin(const std::vector<Domain>& domains);
  /// Asks, before anything else, for the clock's own data sets again. REQUIRES: a round that was answered.
  void askForClock();
  /// Forgets all that the clock said, and what it refused, and ends the round: the next one may be another.
  void forget();

  /// Requests for ports wait here, so that the caller may spread them over time.
  std::size_t heldBack() const { return heldBack_.size(); }
  void release(std::size_t requests);

  /// The request to send now, if any. It is offered until sent() is called.
  std::optional<GetRequest> next() const;
  void sent();
  /// Domains in which this round has not yet asked. Empty once it was answered.
  std::vector<Domain> unasked() const;
  /// The subscription to send now, for two seconds, to be renewed each second; nothing where the clock is not known
  /// or refuses it. So short, because a service blocks when a client that was stopped leaves 10 events unread: what
  /// comes in two seconds fits beside the answers. The offsets of a clock that gets more than three synchronisations
  /// a second do not, and are left to the polls until the clock has another parent.
  std::optional<Subscription> subscription();
  Heard accept(const Response& response);

  /// The clock has answered in this round, so its domain and its ports are known.
  bool answered() const { return answered_; }
  /// Everything was answered or refused.
  bool complete() const { return answered_ && queue_.empty() && heldBack_.empty() && inFlight_.empty(); }
  /// Where the clock answered.
  Domain domain() const { return domain_; }
  /// The latest of each.
  const ClockReplies& replies() const { return store_.replies(); }

 private:
  using Question = std::pair<ManagementId, std::uint16_t>;  ///< and the port

  GetRequest request(ManagementId id, Domain domain, std::uint16_t port);
  bool wanted(Question question) const;
  bool isUnderWay(Question question) const;
  void askForPorts();
  bool isAnswer(const Response& response, const GetRequest& request) const;
  bool isEvent(const Response& response) const;
  Heard acceptAnswer(const Response& response, std::deque<GetRequest>::iterator asked);
  Heard acceptEvent(const Response& response);
  Heard store(const Response& response);
  void noteTopology(const Response& response);
  void passOver(const GetRequest& request);
  void refuse(const Response& response, std::uint16_t port);

  const Ptp::PortIdentity self_;
  std::uint16_t sequenceId_ = 0;
  std::deque<GetRequest> queue_;
  std::deque<GetRequest> heldBack_;
  std::deque<GetRequest> inFlight_;        ///< in the order in which they were sent
  std::map<Question, unsigned> unheeded_;  ///< how often in a row; a refusal counts as often as it takes
  std::set<ManagementId> complainedOf_;
  unsigned rounds_ = 0;
  std::uint16_t describeNext_ = 0;    ///< the port whose interface and protocol are asked for again in this round
  std::set<std::uint16_t> describe_;  ///< ports that may have another interface now
  unsigned timeStatusEvents_ = 0;     ///< since the last subscription
  bool syncIsFast_ = false;
  bool answered_ = false;
  Domain domain_;
  ReplyStore store_;
};

}  // namespace host::ptp4l
