#include "Check.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include "ServedClock.h"
#include "SnmpdAccess.h"
#include "StatusSnapshot.h"
#include "UnixAddress.h"

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto checkPoll = 50ms;
constexpr auto searchTime = 6s;  // some more than a search of every domain takes at that period

enum class Verdict { works, partly, fails };

class Report {
 public:
  void add(Verdict verdict, const std::string& thing, const std::string& text, const std::string& mend = "") {
    const char* const word = verdict == Verdict::works ? "ok" : verdict == Verdict::fails ? "FAILS" : "note";
    fmt::print("{:<6} {:<14} {}\n", word, thing, text);
    if (!mend.empty()) fmt::print("{:<21} mend: {}\n", "", mend);
    failed_ = failed_ || verdict == Verdict::fails;
  }
  bool failed() const { return failed_; }

 private:
  bool failed_ = false;
};

// What the daemon would log, kept to be shown with the thing it belongs to.
class CapturedLog {
 public:
  CapturedLog() : sink_(std::make_shared<spdlog::sinks::ringbuffer_sink_st>(64)) {
    auto logger = std::make_shared<spdlog::logger>("check", sink_);
    sink_->set_pattern("%v");
    logger->set_level(spdlog::level::warn);
    spdlog::set_default_logger(logger);
  }

  std::vector<std::string> lines() const {
    std::vector<std::string> lines = sink_->last_formatted();
    for (std::string& line : lines) line.erase(line.find_last_not_of('\n') + 1);
    return lines;
  }

 private:
  std::shared_ptr<spdlog::sinks::ringbuffer_sink_st> sink_;
};

// 0 where a connection is taken, or the error of the try.
int connectionError(const std::string& path, int type) {
  if (!fitsUnixAddress(path)) return ENAMETOOLONG;
  const sockaddr_un address = unixAddress(path);
  const int fd = socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  const bool taken = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  const int error = taken ? 0 : errno;
  close(fd);
  return error;
}

void checkConfiguration(Report& report, const CapturedLog& log, const Options& options) {
  const std::vector<std::string> complaints = log.lines();
  for (const std::string& complaint : complaints) {
    report.add(Verdict::fails, "configuration", complaint, "correct that line; see ptpsnmpd.conf(5)");
  }
  if (complaints.empty()) {
    report.add(Verdict::works, "configuration",
               options.engine.configFile.empty() ? "of net-snmp's search path" : options.engine.configFile);
  }
}

// Whether ptp4l's socket can be asked at all.
bool checkSocket(Report& report, const std::string& path) {
  const int error = connectionError(path, SOCK_DGRAM);
  switch (error) {
    case 0: return true;
    case ENOENT:
      report.add(Verdict::fails, "ptp4l", path + ": there is no such socket",
                 "start ptp4l (systemctl start ptp4l@INTERFACE), or name its uds_address: --source ptp4l:SOCKET");
      break;
    case ECONNREFUSED:
      report.add(Verdict::fails, "ptp4l", path + ": nobody listens; a ptp4l that has ended left it",
                 "start ptp4l (systemctl start ptp4l@INTERFACE)");
      break;
    case EACCES:
    case EPERM:
      report.add(
          Verdict::fails, "ptp4l", path + ": not permitted to this user",
          fmt::format(
              "setfacl -m u:{}:rw {} (until ptp4l starts again), or run as root or with CAP_DAC_OVERRIDE, as the "
              "packaged service does; linuxptp 4 has a socket for all to read: --source ptp4l:/var/run/ptp4lro",
              geteuid(), path));
      break;
    default: report.add(Verdict::fails, "ptp4l", path + ": " + std::strerror(error), "name a ptp4l's uds_address");
  }
  return false;
}

std::optional<StatusSnapshot> askService(EventLoop& loop, const SourceOptions& options) {
  std::optional<StatusSnapshot> answer;
  MonotonicCounters counters;
  const auto source = makeSource(loop, {options.source, checkPoll}, counters);
  source->start([&](const StatusSnapshot& snapshot) {
    if (!snapshot.defaultDS) return;
    answer = snapshot;
    loop.stop();
  });
  const auto limit = loop.after(searchTime, [&loop] { loop.stop(); });
  loop.run();
  return answer;
}

void checkPtp4l(Report& report, EventLoop& loop, const SourceOptions& options, const std::string& path) {
  if (!checkSocket(report, path)) return;
  const auto clock = askService(loop, options);
  if (!clock) {
    report.add(Verdict::fails, "ptp4l", path + ": connected, but no answer",
               "ptp4l as transparent clock never answers here; otherwise see that it may reach /run/ptpsnmpd-* or "
               "/run/ptpsnmpd (no PrivateTmp, no chroot), and that it is not stopped");
    return;
  }
  report.add(Verdict::works, "ptp4l",
             fmt::format("{}: clock {} in domain {}, {} ports", path, clock->defaultDS->clockIdentity.stringValue(),
                         clock->defaultDS->domainNumber, clock->ports.size()));
  const auto withCounters = std::count_if(clock->ports.begin(), clock->ports.end(),
                                          [](const auto& port) { return port.second.counters.has_value(); });
  if (withCounters < std::ssize(clock->ports)) {
    report.add(Verdict::partly, "counters", "this ptp4l does not count packets (PORT_STATS_NP); they read 0",
               "linuxptp 3.0 or later");
  }
}

void checkSource(Report& report, EventLoop& loop, const SourceOptions& options) {
  const std::string complaint = complaintAboutSource(options.source);
  if (!complaint.empty()) return report.add(Verdict::fails, "source", complaint, "ptpSource, or --source");
  if (options.source.starts_with("ptp4l")) {
    return checkPtp4l(
        report, loop, options,
        options.source == "ptp4l" ? defaultPtp4lSocket : options.source.substr(options.source.find(':') + 1));
  }
  try {
    MonotonicCounters counters;
    const auto source = makeSource(loop, options, counters);
    source->start([](const StatusSnapshot& snapshot) { StatusWriter::check(snapshot); });
    report.add(Verdict::works, "source", options.source);
  } catch (const std::exception& error) {
    report.add(Verdict::fails, "source", error.what(), "correct the file; see docs/status-document.md");
  }
}

void checkModule(Report& report, EventLoop& loop, const std::string& file) {
  try {
    MonotonicCounters counters;
    const ServedClock clock(loop, counters, file);
    report.add(Verdict::works, "module", file);
  } catch (const std::exception& error) {
    report.add(Verdict::fails, "module", error.what(), "install the package again, or name the file with --module");
  }
}

void checkAddresses(Report& report, SnmpEngine& engine) {
  try {
    engine.listen();
    report.add(Verdict::works, "addresses", fmt::format("{} can be opened", fmt::join(engine.addresses(), ",")));
  } catch (const std::exception& error) {
    const std::string& address = engine.addresses().front();
    const std::string port = address.substr(address.rfind(':') + 1);
    report.add(Verdict::fails, "addresses", error.what(),
               fmt::format("see who has it: ss -lunp 'sport = :{}' (perhaps ptpsnmpd itself runs: systemctl status "
                           "ptpsnmpd), or choose another: --listen, agentAddress",
                           port));
  }
  if (engine.builtInAccess()) {
    report.add(Verdict::partly, "access", "community public, from this machine only",
               "for others write rouser or rocommunity into ptpsnmpd.conf");
  } else {
    report.add(Verdict::works, "access", "as configured");
  }
}

void checkMaster(Report& report, const std::string& path) {
  const int error = connectionError(path, SOCK_STREAM);
  if (error == 0) return report.add(Verdict::works, "AgentX", path + ": a master agent takes sub-agents");
  std::string mend = "write \"master agentx\" into /etc/snmp/snmpd.conf and: systemctl restart snmpd";
  if (error == EACCES || error == EPERM) {
    mend = "write \"agentXPerms 0660 0550 root ptpsnmpd\" into /etc/snmp/snmpd.conf and: systemctl restart snmpd";
  }
  report.add(Verdict::fails, "AgentX", path + ": " + std::strerror(error), mend);
}

std::string snmpdFolder() {
  const char* const path = std::getenv("SNMPCONFPATH");
  return path == nullptr ? "/etc/snmp" : std::string(path).substr(0, std::string(path).find(':'));
}

void checkSnmpdAccess(Report& report, const SnmpdAccess& access) {
  if (access.files.empty()) {
    return report.add(Verdict::partly, "snmpd's access", "no readable snmpd.conf in " + snmpdFolder(),
                      "run as a user who may read it");
  }
  if (access.grants.empty()) {
    report.add(Verdict::fails, "snmpd's access", "snmpd lets nobody read",
               "see rouser and rocommunity in snmpd.conf(5)");
  }
  std::set<std::string> mended;
  for (const SnmpdAccess::Grant& grant : access.grants) {
    const std::string place = fmt::format("{}:{}: {}", grant.file, grant.line, grant.text);
    if (grant.showsPtp) {
      report.add(Verdict::works, "snmpd's access", place);
    } else if (grant.view.empty()) {
      report.add(Verdict::fails, "snmpd's access", place + ": hides the PTP tables", "widen or remove its OID");
    } else {
      report.add(Verdict::fails, "snmpd's access", place + ": its view hides the PTP tables",
                 mended.insert(grant.view).second
                     ? fmt::format("echo 'view {} included .1.3.6.1.2.1.241' >> {}/snmpd.conf.d/ptpsnmp.conf && "
                                   "systemctl restart snmpd",
                                   grant.view, snmpdFolder())
                     : "");
    }
  }
}

}  // namespace

int check(const Options& options) {
  const CapturedLog log;
  Report report;
  EventLoop loop;
  SnmpEngine engine(options.engine);
  checkConfiguration(report, log, options);
  checkModule(report, loop, options.module);
  checkSource(report, loop, options.sourceOptions(engine.directives()));
  if (engine.isSubAgent()) {
    checkMaster(report, options.engine.agentXSocket);
  } else {
    checkAddresses(report, engine);
  }
  const SnmpdAccess access = readSnmpdAccess(snmpdFolder());
  if (engine.isSubAgent() || access.loadsModule) checkSnmpdAccess(report, access);
  return report.failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace host
