#include "ClockPoll.h"

#include <spdlog/spdlog.h>

namespace host::ptp4l {

void ClockPoll::begin(const std::vector<Domain>& domains) {
  queue_.clear();
  inFlight_.clear();
  answered_ = false;
  replies_ = {};
  for (const Domain domain : domains) ask(ManagementId::defaultDataSet, domain, allPorts);
}

// Of the questions for the clock in several domains, only one is ever answered.
std::optional<GetRequest> ClockPoll::next() const {
  if (queue_.empty() || (answered_ && inFlight_.size() >= window)) return {};
  return queue_.front();
}

void ClockPoll::sent() {
  inFlight_.emplace(queue_.front().sequenceId, queue_.front());
  queue_.pop_front();
}

void ClockPoll::accept(const Response& response) {
  const auto found = inFlight_.find(response.sequenceId);
  if (found == inFlight_.end() || response.targetNumber != senderNumber_) return;
  const GetRequest request = found->second;
  if (response.id != request.id || response.domain != request.domain) return;
  if (response.error) {
    inFlight_.erase(found);
    refuse(response, request.port);
  } else if (request.port == allPorts || response.source.portNumber.value() == request.port) {
    inFlight_.erase(found);
    store(response, request.port);
  }
}

void ClockPoll::ask(ManagementId id, Domain domain, std::uint16_t port) {
  if (refused_.contains(id)) return;
  queue_.push_back(
      {.id = id, .domain = domain, .port = port, .sequenceId = sequenceId_++, .senderNumber = senderNumber_});
}

void ClockPoll::askForTheRest() {
  using enum ManagementId;
  for (const auto id : {currentDataSet, parentDataSet, timePropertiesDataSet}) ask(id, domain_, allPorts);
  const unsigned ports = replies_.defaultDS->numberPorts.value();
  for (unsigned port = 1; port <= ports && port < allPorts; ++port) {
    for (const auto id : {portDataSet, portPropertiesNp, portStatsNp, clockDescription}) {
      ask(id, domain_, static_cast<std::uint16_t>(port));
    }
  }
}

void ClockPoll::store(const Response& response, std::uint16_t port) {
  switch (response.id) {
    case ManagementId::defaultDataSet: storeDefaultDataSet(response); break;
    case ManagementId::currentDataSet: replies_.currentDS = decodeCurrentDataSet(response.data); break;
    case ManagementId::parentDataSet: replies_.parentDS = decodeParentDataSet(response.data); break;
    case ManagementId::timePropertiesDataSet:
      replies_.timePropertiesDS = decodeTimePropertiesDataSet(response.data);
      break;
    case ManagementId::portDataSet: replies_.ports[port].dataSet = decodePortDataSet(response.data); break;
    case ManagementId::portPropertiesNp: replies_.ports[port].interface = decodePortProperties(response.data); break;
    case ManagementId::portStatsNp: replies_.ports[port].counters = decodePortStats(response.data); break;
    case ManagementId::clockDescription:
      replies_.ports[port].description = decodeClockDescription(response.data);
      break;
    case ManagementId::timeStatusNp: break;
  }
}

void ClockPoll::storeDefaultDataSet(const Response& response) {
  replies_.defaultDS = decodeDefaultDataSet(response.data);
  if (!replies_.defaultDS) return;
  answered_ = true;
  domain_ = response.domain;
  queue_.clear();
  inFlight_.clear();
  askForTheRest();
}

// A wrong value is a port that has vanished since the default data set was read. Without a default data set
// there is no clock to speak of, so that one is asked for in any case.
void ClockPoll::refuse(const Response& response, std::uint16_t port) {
  if (response.id == ManagementId::defaultDataSet) return;
  if (port != allPorts && response.error == ManagementError::wrongValue) return;
  if (!refused_.insert(response.id).second) return;
  spdlog::info("ptp4l has no {} (error {:#06x})", name(response.id), static_cast<unsigned>(*response.error));
  std::erase_if(queue_, [&](const GetRequest& request) { return request.id == response.id; });
}

}  // namespace host::ptp4l
