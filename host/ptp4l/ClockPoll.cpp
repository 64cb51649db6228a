#include "ClockPoll.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace host::ptp4l {

namespace {

constexpr std::uint16_t subscriptionSeconds = 2;
constexpr unsigned timeStatusPerSecond = 3;
constexpr unsigned passedOverIsRefused = 3;

// In units of 2^-16 ns, as the current data set has it; what lies beyond them is the greatest there is.
Ptp::TimeInterval interval(std::int64_t nanoseconds) {
  constexpr std::int64_t limit = std::numeric_limits<Ptp::TimeInterval>::max() >> 16;
  return std::clamp(nanoseconds, -limit, limit) * (1 << 16);
}

template <class Value>
bool replace(std::optional<Value>& held, std::optional<Value> given) {
  return std::exchange(held, std::move(given)) != held;
}

}  // namespace

void ClockPoll::begin(const std::vector<Domain>& domains) {
  queue_.clear();
  heldBack_.clear();
  inFlight_.clear();
  answered_ = false;
  for (const Domain domain : domains) queue_.push_back(request(ManagementId::defaultDataSet, domain, allPorts));
}

void ClockPoll::forget() {
  replies_ = {};
  forgetRefusals();
  syncIsFast_ = false;
}

void ClockPoll::forgetRefusals() {
  refused_.clear();
  passedOver_.clear();
}

void ClockPoll::askForClock() {
  using enum ManagementId;
  for (const auto id : {timePropertiesDataSet, parentDataSet, currentDataSet}) {
    const auto same = [id](const GetRequest& waiting) { return waiting.id == id; };
    if (refused_.contains(id) || std::any_of(queue_.begin(), queue_.end(), same)) continue;
    queue_.push_front(request(id, domain_, allPorts));
  }
}

// A port's interface and its protocol stay as long as the service runs, so that one port a round is enough to
// notice where they did not.
void ClockPoll::askForPorts() {
  const unsigned ports = std::min<unsigned>(replies_.defaultDS->numberPorts.value(), allPorts - 1);
  describeNext_ = describeNext_ < ports ? describeNext_ + 1 : 1;
  for (unsigned i = 1; i <= ports; ++i) {
    const auto port = static_cast<std::uint16_t>(i);
    const PortReplies& known = replies_.ports[port];
    const bool due = port == describeNext_;
    const auto ask = [&](ManagementId id) {
      if (!refused_.contains(id)) heldBack_.push_back(request(id, domain_, port));
    };
    if (due || !known.interface) ask(ManagementId::portPropertiesNp);
    if (due || !known.description) ask(ManagementId::clockDescription);
    ask(ManagementId::portStatsNp);
    // Last, since every service has it: its answer tells that the others were passed over.
    ask(ManagementId::portDataSet);
  }
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

std::optional<Subscription> ClockPoll::subscription() {
  if (std::exchange(timeStatusEvents_, 0) > timeStatusPerSecond) syncIsFast_ = true;
  if (!replies_.defaultDS || refused_.contains(ManagementId::subscribeEventsNp)) return {};
  std::uint8_t events = Events::portState | Events::parentDataSet;
  if (!syncIsFast_) events |= Events::timeSync;
  return Subscription{.events = events,
                      .seconds = subscriptionSeconds,
                      .domain = domain_,
                      .sequenceId = sequenceId_++,
                      .senderNumber = senderNumber_};
}

ClockPoll::Heard ClockPoll::accept(const Response& response) {
  if (response.targetNumber != senderNumber_) return {};
  const auto asked = std::find_if(inFlight_.begin(), inFlight_.end(),
                                  [&](const GetRequest& request) { return isAnswer(response, request); });
  if (asked != inFlight_.end()) {
    const std::uint16_t port = asked->port;
    if (answered_) std::for_each(inFlight_.begin(), asked, [this](const GetRequest& request) { passOver(request); });
    inFlight_.erase(answered_ ? inFlight_.begin() : asked, asked + 1);
    passedOver_.erase(response.id);
    if (response.error) {
      refuse(response, port);
      return {.answer = true};
    }
    return {.answer = true, .topology = store(response) == Change::topology};
  }
  if (response.id == ManagementId::subscribeEventsNp && response.error) refuse(response, allPorts);
  if (!isEvent(response)) return {};
  if (response.id == ManagementId::timeStatusNp) ++timeStatusEvents_;
  const Change change = store(response);
  return {.event = change != Change::none, .topology = change == Change::topology};
}

bool ClockPoll::isAnswer(const Response& response, const GetRequest& request) const {
  return response.sequenceId == request.sequenceId && response.id == request.id && response.domain == request.domain &&
         (response.error || request.port == allPorts || response.source.portNumber.value() == request.port);
}

// An answer may be lost, where the client's queue was full; a message that is never answered is another matter.
void ClockPoll::passOver(const GetRequest& request) {
  if (++passedOver_[request.id] < passedOverIsRefused || !refused_.insert(request.id).second) return;
  spdlog::info("ptp4l does not answer {}", name(request.id));
  doWithout(request.id);
}

// Its sequence id is of the service's choice. A late answer to a question of an earlier round looks the same, and is
// as true.
bool ClockPoll::isEvent(const Response& response) const {
  if (!replies_.defaultDS || response.error || response.domain != domain_) return false;
  switch (response.id) {
    case ManagementId::timeStatusNp:
    case ManagementId::parentDataSet: return true;
    case ManagementId::portDataSet: return replies_.ports.contains(response.source.portNumber.value());
    default: return false;
  }
}

GetRequest ClockPoll::request(ManagementId id, Domain domain, std::uint16_t port) {
  return {.id = id, .domain = domain, .port = port, .sequenceId = sequenceId_++, .senderNumber = senderNumber_};
}

ClockPoll::Change ClockPoll::store(const Response& response) {
  const auto changed = [](bool change) { return change ? Change::values : Change::none; };
  const auto port = [&]() -> PortReplies& { return replies_.ports[response.source.portNumber.value()]; };
  switch (response.id) {
    case ManagementId::defaultDataSet: return storeDefaultDataSet(response);
    case ManagementId::currentDataSet: return changed(replace(replies_.currentDS, decodeCurrentDataSet(response.data)));
    case ManagementId::parentDataSet: return storeParentDataSet(response);
    case ManagementId::timePropertiesDataSet:
      return changed(replace(replies_.timePropertiesDS, decodeTimePropertiesDataSet(response.data)));
    case ManagementId::timeStatusNp: return storeTimeStatus(response);
    case ManagementId::portDataSet: return storePortDataSet(response);
    case ManagementId::portPropertiesNp: return changed(replace(port().interface, decodePortProperties(response.data)));
    case ManagementId::portStatsNp: return changed(replace(port().counters, decodePortStats(response.data)));
    case ManagementId::clockDescription:
      return changed(replace(port().description, decodeClockDescription(response.data)));
    case ManagementId::subscribeEventsNp: break;
  }
  return Change::none;
}

// Another clock's identity, or fewer ports, mean that what is known of the rest is known of something else.
ClockPoll::Change ClockPoll::storeDefaultDataSet(const Response& response) {
  const auto given = decodeDefaultDataSet(response.data);
  if (!given) return Change::none;
  auto& held = replies_.defaultDS;
  if (held && held->clockIdentity != given->clockIdentity) forget();
  held = given;
  replies_.ports.erase(replies_.ports.upper_bound(given->numberPorts.value()), replies_.ports.end());
  answered_ = true;
  domain_ = response.domain;
  queue_.clear();
  inFlight_.clear();
  askForClock();
  askForPorts();
  return Change::values;
}

ClockPoll::Change ClockPoll::storeParentDataSet(const Response& response) {
  auto& held = replies_.parentDS;
  const auto given = decodeParentDataSet(response.data);
  if (held == given) return Change::none;
  const bool otherParent = held && given &&
                           (held->parentPortIdentity != given->parentPortIdentity ||
                            held->grandmasterIdentity != given->grandmasterIdentity);
  held = given;
  return otherParent ? Change::topology : Change::values;
}

ClockPoll::Change ClockPoll::storePortDataSet(const Response& response) {
  auto& held = replies_.ports[response.source.portNumber.value()].dataSet;
  const auto given = decodePortDataSet(response.data);
  if (held == given) return Change::none;
  const bool otherState = held && given && held->portState != given->portState;
  held = given;
  return otherState ? Change::topology : Change::values;
}

// Only what the other data sets show too is of use.
ClockPoll::Change ClockPoll::storeTimeStatus(const Response& response) {
  const auto given = decodeTimeStatus(response.data);
  if (!given) return Change::none;
  if (replies_.parentDS && replies_.parentDS->grandmasterIdentity != given->gmIdentity) return Change::topology;
  if (!replies_.currentDS) return Change::none;
  const Ptp::TimeInterval offset = interval(given->masterOffset);
  return std::exchange(replies_.currentDS->offsetFromMaster, offset) != offset ? Change::values : Change::none;
}

// A wrong value is a port that has vanished since the default data set was read. Without a default data set
// there is no clock to speak of, so that one is asked for in any case.
void ClockPoll::refuse(const Response& response, std::uint16_t port) {
  if (response.id == ManagementId::defaultDataSet) return;
  if (port != allPorts && response.error == ManagementError::wrongValue) {
    replies_.ports.erase(port);
    return;
  }
  if (!refused_.insert(response.id).second) return;
  spdlog::info("ptp4l has no {} (error {:#06x})", name(response.id), static_cast<unsigned>(*response.error));
  doWithout(response.id);
}

void ClockPoll::doWithout(ManagementId id) {
  const auto asks = [id](const GetRequest& request) { return request.id == id; };
  std::erase_if(queue_, asks);
  std::erase_if(heldBack_, asks);
  switch (id) {
    case ManagementId::currentDataSet: replies_.currentDS.reset(); break;
    case ManagementId::parentDataSet: replies_.parentDS.reset(); break;
    case ManagementId::timePropertiesDataSet: replies_.timePropertiesDS.reset(); break;
    default: break;
  }
  for (auto& [number, port] : replies_.ports) {
    switch (id) {
      case ManagementId::portDataSet: port.dataSet.reset(); break;
      case ManagementId::portPropertiesNp: port.interface.reset(); break;
      case ManagementId::portStatsNp: port.counters.reset(); break;
      case ManagementId::clockDescription: port.description.reset(); break;
      default: break;
    }
  }
}

}  // namespace host::ptp4l
