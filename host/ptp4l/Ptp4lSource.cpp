#include "Ptp4lSource.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <random>
#include <utility>

#include "NetworkNamespace.h"

namespace host::ptp4l {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int unansweredPollsOfTheGone = 3;
constexpr int datagramsPerTurn = 32;  // a service that floods the socket shares the thread with everybody else
constexpr std::size_t warningsKept = 100;
constexpr milliseconds renewalPeriod(1000);
constexpr milliseconds shortestPollPeriod(100);
constexpr int longestPollPeriods = 3;
constexpr milliseconds timePerPort(10);

// A clock of a few ports is asked in one go, one of many in steps.
constexpr std::size_t stepRequests = 16;
constexpr milliseconds stepPeriod(15);
constexpr milliseconds longestSpread(1000);

// Two clients of one identity would take each other's subscription, so that it must not be anybody's number.
Ptp::PortIdentity ownIdentity() {
  std::random_device random;
  const std::uint64_t clock = std::uint64_t{random()} << 32 | random();
  return {Ptp::ClockIdentity{Pelor::NetU64(clock)}, Pelor::NetU16(1)};
}

}  // namespace

Ptp4lSource::Ptp4lSource(EventLoop& loop, MonotonicCounters& counters, std::string socketPath, milliseconds poll,
                         bool events)
    : loop_(loop),
      socketPath_(std::move(socketPath)),
      period_(poll),
      events_(events),
      clock_(ownIdentity()),
      counters_(counters),
      interfaces_(loop, [this] { deliverWhole(); }) {}

void Ptp4lSource::start(SnapshotSink sink) {
  sink_ = std::move(sink);
  socket_.emplace(socketPath_);
  readable_ = loop_.readable(socket_->fd(), [this] { receiveResponses(); });
  if (events_) renewal_ = loop_.every(renewalPeriod, [this] { subscribe(); });
  poll();
}

// The next one is due a period from now, whatever made this one start.
void Ptp4lSource::poll() {
  pollTimer_ = loop_.after(period_, [this] { periodEnded(); });
  pollBegan_ = steady_clock::now();
  if (socket_->followService()) {
    clock_.forget();
    otherClockAnswers();
  }
  polling_ = true;
  hearing_ = false;
  sendError_.clear();
  pacing_.reset();
  clock_.begin(searching_ ? domains_.round() : std::vector{domains_.known()});
  sendRequests();
}

// Not as often as a service that contradicts itself can report it.
void Ptp4lSource::pollSoon() {
  const auto due = pollBegan_ + std::min(period_, shortestPollPeriod);
  const auto left = std::chrono::ceil<milliseconds>(due - steady_clock::now());
  if (left <= milliseconds(0)) return poll();
  pollTimer_ = loop_.after(left, [this] { poll(); });
}

void Ptp4lSource::periodEnded() {
  if (polling_ && std::exchange(hearing_, false) && steady_clock::now() < pollBegan_ + longestPoll()) {
    pollTimer_ = loop_.after(period_, [this] { periodEnded(); });
    sendRequests();
    return;
  }
  if (polling_) pollUnanswered(sendError_ ? sendError_.message() : "no answer");
  if (!socket_->answerable()) reopenSocket();
  poll();
}

// A clock of very many ports, or a busy one, may take longer than a period. One that answers a question now and then is
// as good as silent.
milliseconds Ptp4lSource::longestPoll() const {
  return longestPollPeriods * period_ + timePerPort * clock_.replies().ports.size();
}

// A directory for temporary files may be swept while the service still has its own in another one.
void Ptp4lSource::reopenSocket() {
  readable_.reset();
  try {
    socket_->reopen();
  } catch (const std::system_error& error) {
    warnOnce(error.what());
  }
  readable_ = loop_.readable(socket_->fd(), [this] { receiveResponses(); });
}

// A full queue may have room again when the next response has arrived; any other error ends the poll.
void Ptp4lSource::sendRequests() {
  while (const auto request = clock_.next()) {
    sendError_ = socket_->send(*request);
    if (sendError_ == std::errc::resource_unavailable_try_again) return;
    if (sendError_) return pollUnanswered(sendError_.message());
    clock_.sent();
  }
}

void Ptp4lSource::receiveResponses() {
  for (int i = 0; i < datagramsPerTurn; ++i) {
    const auto datagram = socket_->receive();
    if (!datagram) break;
    if (const auto response = parseResponse(*datagram)) take(*response);
  }
  if (changed_) deliverWhole();
}

void Ptp4lSource::take(const Response& response) {
  const bool answeredBefore = clock_.answered();
  const ClockPoll::Heard heard = clock_.accept(response);
  if (heard.stranger) {
    if (polling_) pollUnanswered("another clock answers");
    return pollSoon();
  }
  if (heard.answer && answeredBefore) hearing_ = true;
  if (heard.otherClock) otherClockAnswers();
  if (polling_ && clock_.answered() && !answeredBefore) askForPorts();
  if (heard.topology) askForClock();
  // Where the ports are asked in steps, the clock's own data do not wait for them.
  if (heard.event || (heard.clock && pacing_)) changed_ = true;
  if (!polling_) return;
  sendRequests();
  if (polling_ && clock_.complete()) pollAnswered();
}

// Spread over most of the period, so that many ports do not make a burst. A clock that is not shown yet is wanted at
// once.
void Ptp4lSource::askForPorts() {
  const milliseconds spread = std::min<milliseconds>(period_ * 3 / 4, longestSpread);
  const auto mostSteps = static_cast<std::size_t>(std::max<milliseconds::rep>(spread / stepPeriod, 1));
  const std::size_t requests = clock_.heldBack();
  const std::size_t step = std::max(stepRequests, requests / mostSteps + 1);
  if (requests <= step || searching_) return clock_.release(requests);
  clock_.release(step);
  const auto steps = static_cast<milliseconds::rep>((requests + step - 1) / step);
  pacing_ = loop_.every(spread / steps, [this, step] {
    clock_.release(step);
    if (clock_.heldBack() == 0) pacing_.reset();
    sendRequests();
  });
}

void Ptp4lSource::askForClock() {
  if (!polling_) {
    pollSoon();
  } else if (clock_.answered()) {
    clock_.askForClock();
  }
}

// Whether it arrived is seen by what is reported; polls go on in any case.
void Ptp4lSource::subscribe() {
  if (service_ != Service::answering) return;
  if (const auto subscription = clock_.subscription()) socket_->send(*subscription);
}

// It counts from 0, and nothing of it is shown before all is known.
void Ptp4lSource::otherClockAnswers() {
  counters_.newRun();
  searching_ = true;
}

void Ptp4lSource::pollAnswered() {
  polling_ = false;
  unansweredPolls_ = 0;
  domains_.found(clock_.domain());
  service_ = Service::answering;
  changed_ = true;
  if (!std::exchange(searching_, false)) return;
  sameInterfaces_ = isPeerOfThisNetworkNamespace(socket_->fd());
  spdlog::info("ptp4l at {} answers: clock {} in domain {}", socketPath_,
               clock_.replies().defaultDS->clockIdentity.stringValue(), clock_.domain().domainNumber);
  if (events_) subscribe();
}

// At the start, one unanswered poll is enough to tell the operator: nothing is shown that could be withdrawn
// too soon.
void Ptp4lSource::pollUnanswered(const std::string& reason) {
  polling_ = false;
  pacing_.reset();
  domains_.giveBack(clock_.unasked());
  ++unansweredPolls_;
  if (service_ == Service::gone) return;
  if (service_ == Service::answering && unansweredPolls_ < unansweredPollsOfTheGone) return;
  spdlog::warn("ptp4l at {} does not answer ({}); asking again every {} ms", socketPath_, reason, period_.count());
  service_ = Service::gone;
  searching_ = true;
  clock_.forget();
  deliver(StatusSnapshot{});
}

// An interface of the same name in another namespace has another index, or belongs to somebody else.
void Ptp4lSource::deliverWhole() {
  changed_ = false;
  if (service_ != Service::answering || searching_) return;
  StatusSnapshot status = statusOf(clock_.replies(), [this](const std::string& name) {
    return sameInterfaces_ ? interfaces_.ifIndex(name) : std::nullopt;
  });
  counters_.apply(status);
  status.mibData->counters = counters_.sumOfPorts();
  deliver(status);
}

// Whatever the sink throws: this runs in callbacks, which must not. What was shown before is not true any more, so that
// nothing takes the place of a status that was refused.
void Ptp4lSource::deliver(const StatusSnapshot& snapshot) {
  if (delivered_ == snapshot) return;
  try {
    sink_(snapshot);
    delivered_ = snapshot;
  } catch (const std::exception& error) {
    warnOnce(error.what());
    if (snapshot.defaultDS) deliver(StatusSnapshot{});
  }
}

// A message that comes with each poll is worth one line; so many different ones that they fill the set are
// rare enough to be said again.
void Ptp4lSource::warnOnce(const std::string& message) {
  if (warnings_.size() >= warningsKept) warnings_.clear();
  if (warnings_.insert(message).second) spdlog::warn("ptp4l at {}: {}", socketPath_, message);
}

}  // namespace host::ptp4l
