#include "Ptp4lSource.h"

#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "NetworkNamespace.h"

namespace host::ptp4l {

namespace {

using std::chrono::milliseconds;

constexpr int unansweredPollsOfTheGone = 3;
constexpr int datagramsPerTurn = 32;  // a service that floods the socket shares the thread with everybody else
constexpr std::size_t warningsKept = 100;
constexpr milliseconds renewalPeriod(1000);

// A clock of a few ports is asked in one go, one of many in steps.
constexpr std::size_t stepRequests = 16;
constexpr milliseconds stepPeriod(15);

}  // namespace

Ptp4lSource::Ptp4lSource(EventLoop& loop, std::string socketPath, milliseconds poll, bool events)
    : loop_(loop),
      socketPath_(std::move(socketPath)),
      period_(poll),
      events_(events),
      clock_(static_cast<std::uint16_t>(getpid())),
      interfaces_(loop) {}

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
  if (socket_->serviceReplaced()) {
    searching_ = true;
    clock_.forget();
    counters_.newRun();
  }
  polling_ = true;
  hearing_ = false;
  sendError_.clear();
  pacing_.reset();
  clock_.begin(searching_ ? domains_.round() : std::vector{domains_.known()});
  sendRequests();
}

// A clock of very many ports, or a busy one, may take longer.
void Ptp4lSource::periodEnded() {
  if (polling_ && std::exchange(hearing_, false)) {
    pollTimer_ = loop_.after(period_, [this] { periodEnded(); });
    sendRequests();
    return;
  }
  if (polling_) pollUnanswered(sendError_ ? sendError_.message() : "no answer");
  poll();
}

// A full queue may have room again when the next response has arrived; any other error ends the poll.
void Ptp4lSource::sendRequests() {
  while (const auto request = clock_.next()) {
    sendError_ = socket_->send(encode(*request));
    if (sendError_ == std::errc::resource_unavailable_try_again) return;
    if (sendError_) return pollUnanswered(sendError_.message());
    clock_.sent();
  }
}

void Ptp4lSource::receiveResponses() {
  for (int i = 0; i < datagramsPerTurn; ++i) {
    const auto datagram = socket_->receive();
    if (!datagram) return;
    if (const auto response = parseResponse(datagram->bytes)) take(*response, datagram->sender);
  }
}

void Ptp4lSource::take(const Response& response, pid_t sender) {
  const bool answeredBefore = clock_.answered();
  const ClockPoll::Heard heard = clock_.accept(response);
  if (heard.answer) {
    hearing_ = true;
    followNetworkNamespaceOf(sender);
  }
  if (polling_ && clock_.answered() && !answeredBefore) askForPorts();
  if (heard.topology) {
    if (!polling_) {
      poll();
    } else if (clock_.answered()) {
      clock_.askForClock();
    }
  }
  if (heard.event && service_ == Service::answering) deliver();
  if (!polling_) return;
  sendRequests();
  if (polling_ && clock_.complete()) pollAnswered();
}

// Spread over three quarters of the period, so that many ports do not make a burst. A clock that is not shown yet
// is wanted at once.
void Ptp4lSource::askForPorts() {
  const milliseconds spread = period_ * 3 / 4;
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

// Whether it arrived is seen by what is reported; polls go on in any case.
void Ptp4lSource::subscribe() {
  if (service_ != Service::answering) return;
  if (const auto subscription = clock_.subscription()) socket_->send(encode(*subscription));
}

void Ptp4lSource::pollAnswered() {
  polling_ = false;
  unansweredPolls_ = 0;
  domains_.found(clock_.domain());
  service_ = Service::answering;
  if (std::exchange(searching_, false)) {
    spdlog::info("ptp4l at {} answers: clock {} in domain {}", socketPath_,
                 clock_.replies().defaultDS->clockIdentity.stringValue(), clock_.domain().domainNumber);
    if (events_) subscribe();
  }
  deliver();
}

// At the start, one unanswered poll is enough to tell the operator: nothing is shown that could be withdrawn
// too soon.
void Ptp4lSource::pollUnanswered(const std::string& reason) {
  polling_ = false;
  pacing_.reset();
  clock_.forgetRefusals();
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
void Ptp4lSource::followNetworkNamespaceOf(pid_t sender) {
  if (std::exchange(servicePid_, sender) == sender) return;
  sameInterfaces_ = sharesNetworkNamespace(sender).value_or(true);
}

void Ptp4lSource::deliver() {
  StatusSnapshot status = statusOf(clock_.replies(), [this](const std::string& name) {
    return sameInterfaces_ ? interfaces_.ifIndex(name) : std::nullopt;
  });
  counters_.apply(status);
  deliver(status);
}

// Whatever the sink throws: this runs in callbacks, which must not.
void Ptp4lSource::deliver(const StatusSnapshot& snapshot) {
  if (delivered_ == snapshot) return;
  try {
    sink_(snapshot);
    delivered_ = snapshot;
  } catch (const std::exception& error) {
    warnOnce(error.what());
  }
}

// A message that comes with each poll is worth one line; so many different ones that they fill the set are
// rare enough to be said again.
void Ptp4lSource::warnOnce(const std::string& message) {
  if (warnings_.size() >= warningsKept) warnings_.clear();
  if (warnings_.insert(message).second) spdlog::warn("ptp4l at {}: {}", socketPath_, message);
}

}  // namespace host::ptp4l
