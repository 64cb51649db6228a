// What a stock snmpd loads with
//
//     dlmod ptpsnmp /usr/lib/.../snmp/dlmod/ptpsnmp.so
//     ptpSource ptp4l
//
// Everything runs on snmpd's own thread, as its external descriptors.

#include "NetSnmp.h"

#include <dlfcn.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <exception>
#include <filesystem>
#include <memory>
#include <string>

#include "Directives.h"
#include "EventLoop.h"
#include "ServedClock.h"
#include "Zarn/Trace.h"

extern "C" {
__attribute__((visibility("default"))) void init_ptpsnmp(void);
__attribute__((visibility("default"))) void deinit_ptpsnmp(void);
}

namespace host {
namespace {

int priorityOf(spdlog::level::level_enum level) {
  if (level >= spdlog::level::err) return LOG_ERR;
  if (level == spdlog::level::warn) return LOG_WARNING;
  return level == spdlog::level::info ? LOG_INFO : LOG_DEBUG;
}

// snmpd says where log lines go.
class SnmpdLogSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    snmp_log(priorityOf(message.level), "ptpsnmp: %.*s\n", static_cast<int>(message.payload.size()),
             message.payload.data());
  }
  void flush_() override {}
};

std::string ownFolder() {
  Dl_info own{};
  if (dladdr(reinterpret_cast<const void*>(&init_ptpsnmp), &own) == 0 || own.dli_fname == nullptr) return "";
  std::error_code ignored;
  return std::filesystem::canonical(own.dli_fname, ignored).parent_path();
}

// A log that is snmpd's while it exists.
class SnmpdLog {
 public:
  SnmpdLog() : before_(spdlog::default_logger()) {
    spdlog::set_default_logger(std::make_shared<spdlog::logger>("ptpsnmp", std::make_shared<SnmpdLogSink>()));
    Zarn::TraceSettings::sinkIs([](std::string_view line) { spdlog::info("{}", line); });
  }
  SnmpdLog(const SnmpdLog&) = delete;
  SnmpdLog& operator=(const SnmpdLog&) = delete;
  ~SnmpdLog() {
    Zarn::TraceSettings::reset();
    Zarn::TraceSettings::sinkIs({});
    spdlog::set_default_logger(before_);
  }

 private:
  const std::shared_ptr<spdlog::logger> before_;
};

class Loader {
 public:
  explicit Loader(MonotonicCounters& counters) : clock_(loop_, counters, moduleFileNear(ownFolder())) {
    // The directives come after the line that loads, and snmpd may yet become a daemon and another user: the source is
    // opened by the first turn of its loop.
    start_ = loop_.after(std::chrono::milliseconds(1), [this] { follow(); });
  }

 private:
  // Runs in a callback, which must not throw.
  void follow() {
    const Directives& directives = directives_.value();
    if (!directives.sourceRefused.empty()) {
      return spdlog::error("{}; the tables stay empty", directives.sourceRefused);
    }
    const SourceOptions options = directives.sourceOr({.source = "ptp4l"});
    try {
      clock_.follow(options);
      spdlog::info("serving {}", options.source);
    } catch (const std::exception& error) {
      spdlog::error("{}; the tables stay empty", error.what());
    }
  }

  const SnmpdLog log_;
  EventLoop loop_;
  const DirectiveReader directives_;
  ServedClock clock_;
  EventLoop::Handle start_;
};

std::unique_ptr<Loader> loader;
// Outlives it: snmpd unloads and loads the module at each SIGHUP, its uptime goes on, and so must its counters.
MonotonicCounters counters;

}  // namespace
}  // namespace host

// snmpd runs it on each reading of its configuration that names the module. No exception may reach it.
void init_ptpsnmp(void) {
  try {
    if (!host::loader) host::loader = std::make_unique<host::Loader>(host::counters);
  } catch (const std::exception& error) {
    snmp_log(LOG_ERR, "ptpsnmp: %s\n", error.what());
  }
}

void deinit_ptpsnmp(void) { host::loader.reset(); }
