#include "Check.h"

#include <fmt/format.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "CheckAddresses.h"
#include "CheckReport.h"
#include "CheckSnmpd.h"
#include "CheckSource.h"
#include "PidFile.h"
#include "ServedClock.h"

namespace host {
namespace {

// What the daemon would log, kept to be shown with the thing it belongs to.
class CapturedLog {
 public:
  CapturedLog() : sink_(std::make_shared<spdlog::sinks::ringbuffer_sink_st>(64)) {
    auto logger = std::make_shared<spdlog::logger>("check", sink_);
    sink_->set_pattern("%v");
    logger->set_level(spdlog::level::warn);
    spdlog::set_default_logger(logger);
  }

  /// Each once: the library reads a configuration twice.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (std::string line : sink_->last_formatted()) {
      line.erase(line.find_last_not_of('\n') + 1);
      if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(std::move(line));
    }
    return lines;
  }

 private:
  std::shared_ptr<spdlog::sinks::ringbuffer_sink_st> sink_;
};

// The library's sum of what it has said line by line.
bool isCount(const std::string& complaint) { return complaint.ends_with("error(s) in config file(s)"); }

void checkConfiguration(CheckReport& report, const CapturedLog& log, const Options& options) {
  std::vector<std::string> complaints = log.lines();
  std::erase_if(complaints, isCount);
  for (const std::string& complaint : complaints) {
    report.add(Verdict::fails, "configuration", complaint, "correct that line; see ptpsnmpd.conf(5)");
  }
  if (complaints.empty()) {
    report.add(Verdict::works, "configuration",
               options.engine.configFile.empty() ? "of net-snmp's search path" : options.engine.configFile);
  }
}

void checkModule(CheckReport& report, EventLoop& loop, const std::string& file) {
  try {
    MonotonicCounters counters;
    const ServedClock clock(loop, counters, file);
    report.add(Verdict::works, "module", file);
  } catch (const std::exception& error) {
    report.add(Verdict::fails, "module", error.what(), "install the package again, or name the file with --module");
  }
}

void checkPidFile(CheckReport& report, const std::string& file) {
  const std::string mend = "choose a file that this user may make or write to: --pid-file";
  const int descriptor = openPidFile(file, 0);
  if (descriptor >= 0) {
    const bool held = flock(descriptor, LOCK_SH | LOCK_NB) != 0;
    const std::string refused = refusedAsPidFile(descriptor);
    close(descriptor);
    if (!refused.empty()) return report.add(Verdict::fails, "pid file", file + ": " + refused, mend);
    return held ? report.add(Verdict::partly, "pid file", file + ": a ptpsnmpd that runs holds it", "stop it first")
                : report.add(Verdict::works, "pid file", file);
  }
  const int error = errno;
  if (error != ENOENT) return report.add(Verdict::fails, "pid file", file + ": " + std::strerror(error), mend);
  const auto folder = std::filesystem::absolute(file).parent_path();
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    return report.add(Verdict::fails, "pid file", fmt::format("{}: {}", folder.native(), std::strerror(errno)), mend);
  }
  report.add(Verdict::works, "pid file", file);
}

void checkAccess(CheckReport& report, const SnmpEngine& engine) {
  if (engine.builtInAccess()) {
    report.add(Verdict::partly, "access", "community public, from this machine only",
               "for others write rouser or rocommunity into ptpsnmpd.conf");
  } else {
    report.add(Verdict::works, "access", "as configured");
  }
}

void checkAll(CheckReport& report, const CapturedLog& log, const Options& options) {
  EventLoop loop;
  const SnmpEngine engine(options.engine);
  checkConfiguration(report, log, options);
  checkModule(report, loop, options.module);
  checkSource(report, loop, options.sourceOptions(engine.directives()));
  if (!options.pidFile.empty()) checkPidFile(report, options.pidFile);
  if (engine.isSubAgent()) return checkBesideSnmpd(report, options.engine.agentXSocket);
  checkAddresses(report, engine.addresses());
  checkAccess(report, engine);
  checkInsideSnmpd(report);
}

}  // namespace

int check(const Options& options) {
  unsetenv("STATE_DIRECTORY");  // this is no start of the engine, to be counted there
  const CapturedLog log;
  CheckReport report;
  try {
    checkAll(report, log, options);
  } catch (const ConfigurationRefused& error) {
    report.add(Verdict::fails, "configuration", error.what(), "permit this user to read it; the rest was not checked");
  } catch (const std::exception& error) {
    report.add(Verdict::fails, "check", error.what());
  }
  return report.failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace host
