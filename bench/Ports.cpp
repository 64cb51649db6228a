// What a port takes of the module, without a host around it:
//
//   ports memory                 bytes of heap per port, all told: data sets, counters, rows, maps and interface index
//   ports events N EVENTS SEED   a clock with N ports, of which EVENTS go and come back, for an instruction counter
#include <fmt/format.h>
#include <malloc.h>

#include <cstdlib>
#include <string_view>

#include "PtpSnmpAgent/Root.h"
#include "Zarn/HashMap2018.h"

namespace {

std::uint64_t seed = 0;

}  // namespace

// In place of the platform's own, which draws it at random: how long the hash maps search depends on it, and two
// counts of one build must agree to the instruction.
std::uint64_t Zarn::hashSeed() noexcept { return seed; }

namespace {

Ptp::PortDSKey portKey(std::uint16_t port) {
  static const Ptp::ClockIdentity clock("001122.fffe.334455");
  return Ptp::PortDSKey(Ptp::PortIdentity(clock, Pelor::NetU16(port)));
}

/// A boundary clock with its agent, and ports 1 to n of which everything is known.
class Clock {
 public:
  Clock() {
    status_->ptpMibDataIs(Kestor::make<Ptp::PtpMibData>());
    Ptp::DefaultDSValues values;
    values.clockMode = Ptp::PtpMode::boundary;
    status_->defaultDSIs(Kestor::make<Ptp::DefaultDS>(values));
    root_->agentIs(status_, mib_, ifMib_);
  }

  void add(std::uint16_t port) {
    const Ptp::PortDSKey key = portKey(port);
    ifMib_->ifIndexByIntfIdIs({port}, 100U + port);
    status_->ptpMibData()->ptpMibPortData.insertOrAssign(key, Kestor::make<Ptp::PtpMibPortData>(Ptp::PacketCounters{}));
    Ptp::PortDSValues values;
    values.portIdentity = {Ptp::ClockIdentity("001122.fffe.334455"), Pelor::NetU16(port)};
    values.name = fmt::format("Ethernet{}", port);
    values.intfId = {port};
    status_->portDSIs(key, Kestor::make<Ptp::PortDS>(values));
  }

  void goAndComeBack(std::uint16_t port) {
    const Ptp::PortDSKey key = portKey(port);
    const auto portDS = status_->portDS(key);
    status_->portDSDel(key);
    status_->portDSIs(key, portDS);
  }

 private:
  Kestor::Ptr<Ptp::Status> status_ = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<PtpSnmp::PtpMib> mib_ = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<IntfSnmp::IfMib> ifMib_ = Kestor::make<IntfSnmp::IfMib>("ifMib");
  Kestor::Ptr<PtpSnmp::Agent::Root> root_ = PtpSnmp::Agent::rootFactory("root");
};

std::size_t heap() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void memory() {
  const Clock empty;
  const std::size_t before = heap();
  Clock clock;
  unsigned added = 0;
  const char* separator = "{";
  for (const unsigned ports : {1000U, 10000U, 65535U}) {
    while (added < ports) clock.add(static_cast<std::uint16_t>(++added));
    fmt::print("{}\"{}\": {:.1f}", separator, ports, static_cast<double>(heap() - before) / ports);
    separator = ", ";
  }
  fmt::print("}}\n");
}

void events(unsigned ports, unsigned events) {
  Clock clock;
  for (unsigned port = 1; port <= ports; ++port) clock.add(static_cast<std::uint16_t>(port));
  for (unsigned event = 0; event < events; ++event) {
    clock.goAndComeBack(static_cast<std::uint16_t>(event * 7919U % ports + 1));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view what = argc > 1 ? argv[1] : "";
  if (what == "memory" && argc == 2) {
    memory();
  } else if (what == "events" && argc == 5) {
    seed = std::strtoull(argv[4], nullptr, 0);
    events(static_cast<unsigned>(std::atoi(argv[2])), static_cast<unsigned>(std::atoi(argv[3])));
  } else {
    fmt::print(stderr, "usage: ports memory | ports events N EVENTS SEED\n");
    return 2;
  }
}
