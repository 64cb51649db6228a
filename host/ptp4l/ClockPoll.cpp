#include "ClockPoll.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

namespace host::ptp4l {

namespace {

constexpr std::uint16_t subscriptionSeconds = 2;
constexpr unsigned timeStatusPerSecond = 3;
constexpr unsigned unheededIsRefused = 3;

}  // namespace

void ClockPoll::begin(const std::vector<Domain>& domains) {
  queue_.clear();
  heldBack_.clear();
  inFlight_.clear();
  answered_ = false;
  if (++rounds_ % roundsOfARefusal == 0) unheeded_.clear();
  for (const Domain domain : domains) queue_.push_back(request(ManagementId::defaultDataSet, domain, allPorts));
}

void ClockPoll::forget() {
  begin({});
  store_.forget();
  unheeded_.clear();
  complainedOf_.clear();
  describe_.clear();
  syncIsFast_ = false;
}

// An answer that is still to come tells the truth as well as another one after it.
void ClockPoll::askForClock() {
  using enum ManagementId;
  for (const auto id : {timePropertiesDataSet, parentDataSet, currentDataSet}) {
    const Question question{id, allPorts};
    if (wanted(question) && !isUnderWay(question)) queue_.push_front(request(id, domain_, allPorts));
  }
}

// A port's interface and its protocol stay as long as the service runs, but for the port of a bond, whose state changes
// with its interface. One port a round is enough to notice where they did not stay.
void ClockPoll::askForPorts() {
  const unsigned ports = std::min<unsigned>(replies().defaultDS->numberPorts.value(), allPorts - 1);
  describeNext_ = describeNext_ < ports ? describeNext_ + 1 : 1;
  for (unsigned i = 1; i <= ports; ++i) {
    const auto port = static_cast<std::uint16_t>(i);
    const PortReplies& known = store_.port(port);
    const bool due = port == describeNext_ || describe_.contains(port);
    const auto ask = [&](ManagementId id) {
      if (wanted({id, port})) heldBack_.push_back(request(id, domain_, port));
    };
    if (due || !known.interface) ask(ManagementId::portPropertiesNp);
    if (due || !known.description) ask(ManagementId::clockDescription);
    ask(ManagementId::portStatsNp);
    // Last, since every service has it: its answer tells that the others were passed over.
    ask(ManagementId::portDataSet);
  }
  describe_.clear();
}

void ClockPoll::release(std::size_t requests) {
  const auto end = heldBack_.begin() + static_cast<std::ptrdiff_t>(std::min(requests, heldBack_.size()));
  queue_.insert(queue_.end(), heldBack_.begin(), end);
  heldBack_.erase(heldBack_.begin(), end);
}

// Of the questions for the clock in several domains, only one is ever answered.
std::optional<GetRequest> ClockPoll::next() const {
  if (queue_.empty() || (answered_ && inFlight_.size() >= window)) return {};
  return queue_.front();
}

void ClockPoll::sent() {
  inFlight_.push_back(queue_.front());
  queue_.pop_front();
}

std::vector<Domain> ClockPoll::unasked() const {
  std::vector<Domain> domains;
  if (answered_) return domains;
  for (const GetRequest& request : queue_) domains.push_back(request.domain);
  return domains;
}

std::optional<Subscription> ClockPoll::subscription() {
  if (std::exchange(timeStatusEvents_, 0) > timeStatusPerSecond) syncIsFast_ = true;
  if (!replies().defaultDS || !wanted({ManagementId::subscribeEventsNp, allPorts})) return {};
  std::uint8_t events = Events::portState | Events::parentDataSet;
  if (!syncIsFast_) events |= Events::timeSync;
  return Subscription{.events = events,
                      .seconds = subscriptionSeconds,
                      .domain = domain_,
                      .sequenceId = sequenceId_++,
                      .sender = self_};
}

ClockPoll::Heard ClockPoll::accept(const Response& response) {
  if (response.target != self_) return {};
  const auto asked = std::find_if(inFlight_.begin(), inFlight_.end(),
                                  [&](const GetRequest& request) { return isAnswer(response, request); });
  const bool isAsked = asked != inFlight_.end();
  if (!isAsked && !isEvent(response)) return {};
  // Which clock answers the first question of a round is not known before.
  const bool mayBeAnother = isAsked && !answered_;
  if (!mayBeAnother && response.source.clockIdentity != replies().defaultDS->clockIdentity) return {.stranger = true};
  return isAsked ? acceptAnswer(response, asked) : acceptEvent(response);
}

ClockPoll::Heard ClockPoll::acceptAnswer(const Response& response, std::deque<GetRequest>::iterator asked) {
  const std::uint16_t port = asked->port;
  if (answered_) std::for_each(inFlight_.begin(), asked, [this](const GetRequest& request) { passOver(request); });
  inFlight_.erase(answered_ ? inFlight_.begin() : asked, asked + 1);
  unheeded_.erase({response.id, port});
  Heard heard;
  if (response.error) {
    refuse(response, port);
  } else {
    heard = store(response);
  }
  const auto ofClock = [](const GetRequest& request) { return request.port == allPorts; };
  heard.answer = true;
  heard.clock = port == allPorts && answered_ && std::none_of(queue_.begin(), queue_.end(), ofClock) &&
                std::none_of(inFlight_.begin(), inFlight_.end(), ofClock);
  return heard;
}

ClockPoll::Heard ClockPoll::acceptEvent(const Response& response) {
  if (response.error) {
    refuse(response, allPorts);
    return {};
  }
  if (response.id == ManagementId::timeStatusNp) ++timeStatusEvents_;
  const ReplyStore::Change change = store_.reported(response);
  const bool topology = change == ReplyStore::Change::topology;
  if (topology) noteTopology(response);
  return {.event = change != ReplyStore::Change::none, .topology = topology};
}

bool ClockPoll::isAnswer(const Response& response, const GetRequest& request) const {
  return response.sequenceId == request.sequenceId && response.id == request.id && response.domain == request.domain &&
         (response.error || request.port == allPorts || response.source.portNumber.value() == request.port);
}

// Its sequence id is of the service's choice. A late answer to a question of an earlier round looks the same, and is
// as true. Of the subscription's answer, only an error tells something.
bool ClockPoll::isEvent(const Response& response) const {
  if (!replies().defaultDS || response.domain != domain_) return false;
  if (response.error) return response.id == ManagementId::subscribeEventsNp;
  switch (response.id) {
    case ManagementId::timeStatusNp:
    case ManagementId::parentDataSet: return true;
    case ManagementId::portDataSet: return replies().ports.contains(response.source.portNumber.value());
    default: return false;
  }
}

GetRequest ClockPoll::request(ManagementId id, Domain domain, std::uint16_t port) {
  return {.id = id, .domain = domain, .port = port, .sequenceId = sequenceId_++, .sender = self_};
}

ClockPoll::Heard ClockPoll::store(const Response& response) {
  const ReplyStore::Change change = store_.answered(response);
  if (response.id == ManagementId::defaultDataSet && change != ReplyStore::Change::none) {
    const bool otherClock = change == ReplyStore::Change::otherClock;
    if (otherClock) unheeded_.clear();
    answered_ = true;
    domain_ = response.domain;
    queue_.clear();
    inFlight_.clear();
    askForClock();
    askForPorts();
    return {.otherClock = otherClock};
  }
  const bool topology = change == ReplyStore::Change::topology;
  if (topology) noteTopology(response);
  return {.topology = topology};
}

// How often a clock is synchronised is its parent's choice.
void ClockPoll::noteTopology(const Response& response) {
  if (response.id == ManagementId::portDataSet) describe_.insert(response.source.portNumber.value());
  if (response.id == ManagementId::parentDataSet) syncIsFast_ = false;
}

bool ClockPoll::wanted(Question question) const {
  const auto unheeded = unheeded_.find(question);
  return unheeded == unheeded_.end() || unheeded->second < unheededIsRefused;
}

bool ClockPoll::isUnderWay(Question question) const {
  const auto asks = [&](const GetRequest& request) { return Question(request.id, request.port) == question; };
  return std::any_of(queue_.begin(), queue_.end(), asks) || std::any_of(inFlight_.begin(), inFlight_.end(), asks);
}

// An answer may be lost, where the client's queue was full; a message that is never answered is another matter.
void ClockPoll::passOver(const GetRequest& request) {
  if (++unheeded_[{request.id, request.port}] != unheededIsRefused) return;
  if (complainedOf_.insert(request.id).second) spdlog::info("ptp4l does not answer {}", name(request.id));
  store_.forgetReply(request.id, request.port);
}

// A wrong value is a port that has vanished since the default data set was read. Without a default data set
// there is no clock to speak of, so that one is asked for in any case.
void ClockPoll::refuse(const Response& response, std::uint16_t port) {
  if (response.id == ManagementId::defaultDataSet) return;
  if (port != allPorts && response.error == ManagementError::wrongValue) return store_.forgetPort(port);
  unheeded_[{response.id, port}] = unheededIsRefused;
  if (complainedOf_.insert(response.id).second) {
    spdlog::info("ptp4l has no {} (error {:#06x})", name(response.id), static_cast<unsigned>(*response.error));
  }
  store_.forgetReply(response.id, port);
}

}  // namespace host::ptp4l
