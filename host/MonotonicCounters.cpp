#include "MonotonicCounters.h"

#include <utility>

namespace host {

void MonotonicCounters::Counter::newRun() { earlierRuns_ += std::exchange(thisRun_, 0); }

std::uint64_t MonotonicCounters::Counter::shown(std::uint64_t count) {
  if (count < thisRun_) newRun();
  thisRun_ = count;
  return shown();
}

void MonotonicCounters::Record::newRun() {
  sent.newRun();
  received.newRun();
}

void MonotonicCounters::Record::apply(Ptp::PacketCounters& counters) {
  counters.packetsSent = sent.shown(counters.packetsSent);
  counters.packetsReceived = received.shown(counters.packetsReceived);
}

void MonotonicCounters::newRun() {
  clock_.newRun();
  for (auto& [number, record] : ports_) record.newRun();
}

void MonotonicCounters::apply(StatusSnapshot& snapshot) {
  if (snapshot.mibData) clock_.apply(snapshot.mibData->counters);
  for (auto& [key, port] : snapshot.ports) {
    if (port.counters) ports_[port.values.portIdentity.portNumber.value()].apply(*port.counters);
  }
}

Ptp::PacketCounters MonotonicCounters::sumOfPorts() const {
  Ptp::PacketCounters sum;
  for (const auto& [number, record] : ports_) {
    sum.packetsSent += record.sent.shown();
    sum.packetsReceived += record.received.shown();
  }
  return sum;
}

}  // namespace host
