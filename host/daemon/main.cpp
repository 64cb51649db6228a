#include <fmt/format.h>
#include <fmt/ranges.h>
#include <signal.h>
#include <spdlog/spdlog.h>
#include <strings.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "AgentXLink.h"
#include "BuildInfo.h"
#include "EventLoop.h"
#include "FaultMessage.h"
#include "Log.h"
#include "Options.h"
#include "PidFile.h"
#include "RepeatableLog.h"
#include "ServedClock.h"
#include "ServiceManager.h"
#include "SnmpEngine.h"
#include "Zarn/LineOutput.h"
#include "Zarn/Trace.h"
#include "check/Check.h"

namespace {

using namespace host;

constexpr int runtimeFailure = 1;
constexpr int badInput = 2;

// Turns signals into a readable descriptor, so that none is lost between two turns.
class Signals {
 public:
  Signals(EventLoop& loop, std::function<void()> reload) : reload_(std::move(reload)), loop_(loop) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    readable_ = loop.readable(descriptor_, [this] { take(); });
  }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;
  ~Signals() {
    readable_.reset();
    close(descriptor_);
  }

 private:
  void take() {
    signalfd_siginfo signal;
    while (read(descriptor_, &signal, sizeof(signal)) == sizeof(signal)) {
      if (signal.ssi_signo != SIGHUP) return loop_.stop();
      reload_();
    }
  }

  const std::function<void()> reload_;
  EventLoop& loop_;
  int descriptor_;
  EventLoop::Handle readable_;
};

// The first that a manager reaches: nothing answers over a Unix socket, whose clients have no address. A port alone
// listens on every address; a manager on this machine reaches it by loopback.
std::string managerAddress(const std::vector<std::string>& addresses) {
  const auto reachable = [](const std::string& each) {
    return strncasecmp(each.c_str(), "unix:", 5) != 0 && !each.starts_with('/');
  };
  const auto found = std::find_if(addresses.begin(), addresses.end(), reachable);
  const std::string& address = found == addresses.end() ? addresses.front() : *found;
  const std::string rest = address.starts_with("udp:") ? address.substr(4) : address;
  return rest.find_first_not_of("0123456789") == std::string::npos ? "127.0.0.1:" + rest : rest;
}

void announce(const SnmpEngine& engine, const Options& options, const std::string& source) {
  std::string text = fmt::format("ptpsnmpd {} is ready: serving {} ", version, source);
  if (engine.isSubAgent()) {
    text += fmt::format("through the SNMP agent at {}\n", options.engine.agentXSocket);
  } else {
    text += fmt::format("on {}\nTry: snmpbulkwalk {} -On {} 1.3.6.1.2.1.241\n", fmt::join(engine.addresses(), ","),
                        engine.builtInAccess() ? "-v2c -c public" : "ACCESS", managerAddress(engine.addresses()));
    if (!engine.builtInAccess())
      text += "ACCESS is -v2c -c COMMUNITY, or -v3 -u USER with its level and passphrases.\n";
  }
  // Nobody need be there to read it.
  Zarn::LineOutput(STDOUT_FILENO).write(text);
}

// The traces asked for on the command line add to those of the configuration.
void follow(ServedClock& clock, const SnmpEngine& engine, const Options& options, const std::string& otherwise) {
  Zarn::TraceSettings::select(options.trace);
  const Directives& configured = engine.directives();
  for (const std::string& refused : {configured.sourceRefused, configured.pollRefused}) {
    if (!refused.empty()) throw ConfigurationRefused("configuration: " + refused);
  }
  clock.follow(options.sourceOptions(configured, otherwise));
}

// What can no longer be served leaves what is served as it is, and so does a configuration that names no source any
// more: nobody shall take the demo for the clock. Runs in a callback, which must not throw.
void reload(ServedClock& clock, SnmpEngine& engine, const Options& options, const ServiceManager& manager) {
  manager.reloading();
  const log::Uncounted operatorsDoing;
  try {
    engine.rereadConfiguration();
    follow(clock, engine, options, clock.options().source);
    spdlog::info("configuration read anew; serving {}", clock.options().source);
  } catch (const std::exception& error) {
    spdlog::error("{}; the source stays as it was", error.what());
  }
  manager.ready();
}

int serve(const Options& options) {
  EventLoop loop;
  const PidFile pidFile(options.pidFile);
  const ServiceManager manager(loop);
  // Each outlives those that use it. Tables are registered before anybody can ask for them.
  SnmpEngine engine(options.engine);
  MonotonicCounters counters;
  ServedClock clock(loop, counters, options.module);
  const Signals signals(loop, [&] { reload(clock, engine, options, manager); });
  try {
    follow(clock, engine, options, "demo");
  } catch (const std::exception& error) {
    spdlog::error("{}", error.what());
    return badInput;
  }
  engine.listen();
  std::optional<AgentXLink> link;
  if (engine.isSubAgent()) link.emplace(loop, options.engine.agentXSocket);
  announce(engine, options, clock.options().source);
  manager.ready();
  const log::Counting counting(loop);
  loop.run();
  manager.stopping();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);  // a log whose reader has gone is no reason to end
  faultMessageIs();
  const ParsedOptions parsed = parseOptions(argc, argv);
  if (!parsed.options) return parsed.exitCode;
  logToStandardError(parsed.options->logLevel);
  try {
    return parsed.options->check ? check(*parsed.options) : serve(*parsed.options);
  } catch (const ConfigurationRefused& error) {
    spdlog::error("{}", error.what());
    return badInput;
  } catch (const std::exception& error) {
    spdlog::error("{}", error.what());
    return runtimeFailure;
  }
}
