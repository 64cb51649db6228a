#pragma once

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "FakePtpService.h"
#include "TemporaryDirectory.h"
#include "ptp4l/Ptp4lSource.h"

namespace host::ptp4l::test {

using namespace std::chrono_literals;

inline constexpr auto period = 20ms;
inline constexpr auto patience = 10s;

/// What is logged while it lives.
class Log {
 public:
  Log() {
    auto logger = std::make_shared<spdlog::logger>("", std::make_shared<spdlog::sinks::ostream_sink_mt>(text_));
    logger->set_pattern("%l: %v");
    spdlog::set_default_logger(logger);
  }
  ~Log() { spdlog::set_default_logger(before_); }

  std::size_t count(const std::string& words) const {
    std::size_t lines = 0;
    std::istringstream text(text_.str());
    for (std::string line; std::getline(text, line);) lines += line.find(words) != std::string::npos;
    return lines;
  }

 private:
  std::ostringstream text_;
  std::shared_ptr<spdlog::logger> before_ = spdlog::default_logger();
};

/// A source beside a fake service.
class Ptp4lSourceTest : public testing::Test {
 protected:
  Ptp4lSourceTest() { setenv("RUNTIME_DIRECTORY", directory.c_str(), 1); }
  ~Ptp4lSourceTest() override { unsetenv("RUNTIME_DIRECTORY"); }

  void startService() { service.emplace(loop, socketPath); }
  void startSource(std::chrono::milliseconds poll = period) {
    source.emplace(loop, counters, socketPath, poll, events);
    source->start([this](const StatusSnapshot& snapshot) {
      ++offered;
      if (sinkRefuses && snapshot.defaultDS) throw StatusRefused("port 1: refused by the test");
      snapshots.push_back(snapshot);
    });
  }

  template <class Condition>
  bool reached(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const auto check = loop.every(1ms, [&] {
      if (condition() || std::chrono::steady_clock::now() > deadline) loop.stop();
    });
    loop.run();
    return condition();
  }
  bool answeredPolls(int count) {
    const int before = service->asked[0x2000];
    return reached([&] { return service->asked[0x2000] >= before + count; });
  }
  bool shown() const { return !snapshots.empty() && snapshots.back().defaultDS; }
  const PortSnapshot& port(std::uint16_t number) const {
    for (const auto& [key, port] : snapshots.back().ports) {
      if (port.values.portIdentity.portNumber.value() == number) return port;
    }
    throw std::out_of_range("port " + std::to_string(number));
  }
  bool emptied() const { return !snapshots.empty() && snapshots.back() == StatusSnapshot{}; }

  Log log;
  EventLoop loop;
  const ::test::TemporaryDirectory scratch;
  const std::string& directory = scratch.path();
  const std::string socketPath = directory + "/ptp4l";
  std::optional<FakePtpService> service;
  std::vector<StatusSnapshot> snapshots;
  int offered = 0;
  bool sinkRefuses = false;  ///< but for an empty one
  bool events = true;
  MonotonicCounters counters;
  std::optional<Ptp4lSource> source;
};

}  // namespace host::ptp4l::test
