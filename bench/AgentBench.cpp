// What the agent's two kinds of work cost at 1, 1,000 and 65,535 ports, beside what a std::map needs to insert and
// erase the same keys, measured in the same run:
//
//   a rebuild      every row goes and comes back, after a change of the domain; at most 3 times the map's cost
//   a port event   one port goes and comes back; grows with the logarithm of the number of ports at most
//
// Prints the ratios at its end. Build with -DPTPSNMP_BUILD_BENCHMARKS=ON.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "PtpSnmpAgent/Root.h"

namespace {

using PtpSnmp::ClockType;
using PtpSnmp::PortTableKey;

Ptp::PortIdentity identity(std::int64_t port) {
  static const Ptp::ClockIdentity clock("001122.fffe.334455");
  return {clock, Pelor::NetU16(static_cast<std::uint16_t>(port))};
}

/// A boundary clock with ports 1 to n, and its agent.
struct Device {
  explicit Device(std::int64_t ports) {
    const auto mibData = Kestor::make<Ptp::PtpMibData>();
    status->ptpMibDataIs(mibData);
    for (std::int64_t port = 1; port <= ports; ++port) {
      const Ptp::PortDSKey key(identity(port));
      mibData->ptpMibPortData.insertOrAssign(key, Kestor::make<Ptp::PtpMibPortData>(Ptp::PacketCounters{}));
      Ptp::PortDSValues values;
      values.portIdentity = identity(port);
      status->portDSIs(key, Kestor::make<Ptp::PortDS>(values));
    }
    Ptp::DefaultDSValues values;
    values.clockMode = Ptp::PtpMode::boundary;
    status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(values));
    root->agentIs(status, mib, Kestor::make<IntfSnmp::IfMib>("ifMib"));
  }

  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<PtpSnmp::Agent::Root> root = PtpSnmp::Agent::rootFactory("root");
};

using Map = std::map<PortTableKey, Kestor::Ptr<const Ptp::Status>>;

PortTableKey rowKey(std::uint32_t port) { return {0, ClockType::boundaryClock, 1, port}; }

/// The row keys in the order in which the status hands out its ports: the order in which the agent adds rows.
std::vector<PortTableKey> keysAsTheStatusHasThem(const Device& device) {
  std::vector<PortTableKey> keys;
  for (const auto& [key, port] : device.status->portDS()) keys.push_back(rowKey(port->portIdentity.portNumber.value()));
  return keys;
}

void rebuild(benchmark::State& state) {
  Device device(state.range(0));
  std::uint8_t domain = 0;
  for (auto _ : state) device.status->defaultDS()->domainNumberIs(++domain);
}

// The map's entries are erased one after another in key order and inserted in the status's order, as the rows are.
void mapRebuild(benchmark::State& state) {
  const Device device(state.range(0));
  const auto keys = keysAsTheStatusHasThem(device);
  Map map;
  for (auto _ : state) {
    while (!map.empty()) map.erase(map.begin()->first);
    for (const PortTableKey& key : keys) map.emplace(key, device.status);
    benchmark::DoNotOptimize(map);
  }
}

// Each turn takes another port, so that the tables are not always found in the cache.
std::uint16_t nextPort(std::uint16_t port, std::int64_t ports) {
  return static_cast<std::uint16_t>((port + 7919) % ports);
}

void portEvent(benchmark::State& state) {
  Device device(state.range(0));
  std::uint16_t port = 0;
  for (auto _ : state) {
    const Ptp::PortDSKey key(identity(port + 1));
    const auto portDS = device.status->portDS(key);
    device.status->portDSDel(key);
    device.status->portDSIs(key, portDS);
    port = nextPort(port, state.range(0));
  }
}

void mapPortEvent(benchmark::State& state) {
  const Device device(state.range(0));
  Map map;
  for (const PortTableKey& key : keysAsTheStatusHasThem(device)) map.emplace(key, device.status);
  std::uint16_t port = 0;
  for (auto _ : state) {
    const PortTableKey key = rowKey(port + 1U);
    map.erase(key);
    map.emplace(key, device.status);
    port = nextPort(port, state.range(0));
  }
}

BENCHMARK(rebuild)->Arg(1)->Arg(1000)->Arg(65535)->Unit(benchmark::kMicrosecond);
BENCHMARK(mapRebuild)->Arg(1)->Arg(1000)->Arg(65535)->Unit(benchmark::kMicrosecond);
BENCHMARK(portEvent)->Arg(1)->Arg(1000)->Arg(65535)->Unit(benchmark::kNanosecond);
BENCHMARK(mapPortEvent)->Arg(1)->Arg(1000)->Arg(65535)->Unit(benchmark::kNanosecond);

/// Keeps each result, to set the agent's beside the map's.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (!run.error_occurred && run.run_type == Run::RT_Iteration)
        times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void printRatios() const {
    for (const auto& [agent, map] : {std::pair("rebuild", "mapRebuild"), std::pair("portEvent", "mapPortEvent")}) {
      for (const char* ports : {"/1", "/1000", "/65535"}) {
        const auto ours = times_.find(std::string(agent) + ports), theirs = times_.find(std::string(map) + ports);
        if (ours == times_.end() || theirs == times_.end()) continue;
        std::printf("%s%s: %.2f times the map's cost\n", agent, ports, ours->second / theirs->second);
      }
    }
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios();
  benchmark::Shutdown();
}
