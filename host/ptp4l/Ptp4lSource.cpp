#include "Ptp4lSource.h"

#include <spdlog/spdlog.h>
#include <unistd.h>

#include <utility>

namespace host::ptp4l {

namespace {

constexpr int unansweredPollsOfTheGone = 3;
constexpr int datagramsPerTurn = 32;  // whoever floods the socket shares the thread with everybody else
constexpr std::size_t warningsKept = 100;

}  // namespace

Ptp4lSource::Ptp4lSource(EventLoop& loop, std::string socketPath, std::chrono::milliseconds poll)
    : loop_(loop),
      socketPath_(std::move(socketPath)),
      period_(poll),
      clock_(static_cast<std::uint16_t>(getpid())),
      interfaces_(loop) {}

void Ptp4lSource::start(SnapshotSink sink) {
  sink_ = std::move(sink);
  socket_.emplace(socketPath_);
  readable_ = loop_.readable(socket_->fd(), [this] { receiveResponses(); });
  timer_ = loop_.every(period_, [this] { poll(); });
  poll();
}

void Ptp4lSource::poll() {
  if (polling_) pollUnanswered(sendError_ ? sendError_.message() : "no answer");
  polling_ = true;
  sendError_.clear();
  const bool search = service_ != Service::answering;
  clock_.begin(search ? domains_.round() : std::vector{domains_.known()});
  sendRequests();
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
    const auto response = parseResponse(*datagram);
    if (!response || !polling_) continue;
    clock_.accept(*response);
    sendRequests();
    if (polling_ && clock_.complete()) pollAnswered();
  }
}

void Ptp4lSource::pollAnswered() {
  polling_ = false;
  unansweredPolls_ = 0;
  domains_.found(clock_.domain());
  if (std::exchange(service_, Service::answering) != Service::answering) {
    spdlog::info("ptp4l at {} answers: clock {} in domain {}", socketPath_,
                 clock_.replies().defaultDS->clockIdentity.stringValue(), clock_.domain().domainNumber);
  }
  StatusSnapshot status =
      statusOf(clock_.replies(), [this](const std::string& name) { return interfaces_.ifIndex(name); });
  counters_.apply(status);
  deliver(status);
}

// At the start, one unanswered poll is enough to tell the operator: nothing is shown that could be withdrawn
// too soon.
void Ptp4lSource::pollUnanswered(const std::string& reason) {
  polling_ = false;
  clock_.forgetRefusals();
  ++unansweredPolls_;
  if (service_ == Service::gone) return;
  if (service_ == Service::answering && unansweredPolls_ < unansweredPollsOfTheGone) return;
  spdlog::warn("ptp4l at {} does not answer ({}); asking again every {} ms", socketPath_, reason, period_.count());
  service_ = Service::gone;
  counters_.newRun();
  deliver(StatusSnapshot{});
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
