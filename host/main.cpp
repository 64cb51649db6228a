#include <fmt/format.h>
#include <fmt/ranges.h>
#include <signal.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

#include "BuildInfo.h"
#include "EventLoop.h"
#include "MibModule.h"
#include "Options.h"
#include "SnmpEngine.h"
#include "Sources.h"
#include "StatusWriter.h"

namespace {

using namespace host;

constexpr int runtimeFailure = 1;
constexpr int badInput = 2;

// Turns the signals that ask for the end into a readable descriptor, so that none is lost between two turns.
class StopSignals {
 public:
  explicit StopSignals(EventLoop& loop) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    readable_ = loop.readable(descriptor_, [&loop] { loop.stop(); });
  }
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  ~StopSignals() {
    readable_.reset();
    close(descriptor_);
  }

 private:
  int descriptor_;
  EventLoop::Handle readable_;
};

void logToStandardError() {
  auto logger = spdlog::stderr_logger_st("ptpsnmpd");
  logger->set_pattern("ptpsnmpd: %l: %v");
  spdlog::set_default_logger(logger);
}

// A port alone listens on every address; a manager on this machine reaches it by loopback.
std::string managerAddress(const std::string& listen) {
  const bool portOnly = listen.find_first_not_of("0123456789") == std::string::npos;
  return portOnly ? "127.0.0.1:" + listen : listen;
}

void announce(const SnmpEngine& engine, const std::string& source) {
  const std::string& address = engine.addresses().front();
  const std::string text = fmt::format(
      "ptpsnmpd {} is ready: serving {} on {}\n"
      "Try: snmpbulkwalk -v2c -c {} -On {} 1.3.6.1.2.1.241\n",
      version, source, fmt::join(engine.addresses(), ","), engine.builtInAccess() ? "public" : "COMMUNITY",
      managerAddress(address.starts_with("udp:") ? address.substr(4) : address));
  // Nobody need be there to read it.
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

int serve(const Options& options) {
  EventLoop loop;
  const StopSignals stopSignals(loop);
  // In this order, so that each outlives those that use it: sources feed the writer, the module follows the status
  // and answers requests, the engine hands them to it.
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  const auto ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
  StatusWriter writer(status, ifMib);
  SnmpEngine engine(options.engine);
  const MibModule module(options.module, status, ifMib);

  std::unique_ptr<Source> source;
  try {
    source = makeSource(loop, options);
    source->start([&writer](const StatusSnapshot& snapshot) { writer.apply(snapshot); });
  } catch (const std::exception& error) {
    spdlog::error("{}", error.what());
    return badInput;
  }
  engine.listen();
  announce(engine, options.source);
  loop.run();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);  // a log whose reader has gone is no reason to end
  logToStandardError();
  const ParsedOptions parsed = parseOptions(argc, argv);
  if (!parsed.options) return parsed.exitCode;
  try {
    return serve(*parsed.options);
  } catch (const std::exception& error) {
    spdlog::error("{}", error.what());
    return runtimeFailure;
  }
}
