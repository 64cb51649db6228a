#include "CheckSource.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>

#include "SocketProbe.h"
#include "StatusSnapshot.h"
#include "StatusWriter.h"

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto checkPoll = 50ms;
constexpr auto searchTime = 6s;  // some more than a search of every domain takes at that period

std::string permissionMend(const std::string& path, bool ownProcess) {
  const std::string now = fmt::format("setfacl -m u:{}:rw {} (until ptp4l starts again)", geteuid(), path);
  if (!ownProcess) return now + "; for good, have ptp4l's unit give its socket to snmpd's group: see README.md";
  return now +
         ", or run as root or with CAP_DAC_OVERRIDE, as the packaged service does; linuxptp 4 has a socket for all to "
         "read: --source ptp4l:/var/run/ptp4lro";
}

// Whether ptp4l's socket can be asked at all.
bool checkSocket(CheckReport& report, const std::string& path, const std::string& whose) {
  const std::string thing = whose + "ptp4l";
  const int error = connectionError(path, SOCK_DGRAM);
  switch (error) {
    case 0: return true;
    case ENOENT:
      report.add(Verdict::fails, thing, path + ": there is no such socket",
                 "start ptp4l (systemctl start ptp4l@INTERFACE), or name its uds_address: ptp4l:SOCKET");
      break;
    case ECONNREFUSED:
      report.add(Verdict::fails, thing, path + ": nobody listens; it is " + deadEnd(path),
                 "start ptp4l (systemctl start ptp4l@INTERFACE), or name its uds_address: ptp4l:SOCKET");
      break;
    case EACCES:
    case EPERM:
      report.add(Verdict::fails, thing, path + ": not permitted to this user", permissionMend(path, whose.empty()));
      break;
    default: report.add(Verdict::fails, thing, path + ": " + std::strerror(error), "name a ptp4l's uds_address");
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

void checkPtp4l(CheckReport& report, EventLoop& loop, const SourceOptions& options, const std::string& whose) {
  const std::string path =
      options.source == "ptp4l" ? defaultPtp4lSocket : options.source.substr(options.source.find(':') + 1);
  if (!checkSocket(report, path, whose)) return;
  const auto clock = askService(loop, options);
  if (!clock) {
    report.add(Verdict::fails, whose + "ptp4l", path + ": connected, but no answer",
               "ptp4l as transparent clock never answers here; otherwise see that it may reach /run/ptpsnmpd-* or "
               "/run/ptpsnmpd (no PrivateTmp, no chroot), and that it is not stopped");
    return;
  }
  report.add(Verdict::works, whose + "ptp4l",
             fmt::format("{}: clock {} in domain {}, {} port{}", path, clock->defaultDS->clockIdentity.stringValue(),
                         clock->defaultDS->domainNumber, clock->ports.size(), clock->ports.size() == 1 ? "" : "s"));
  const auto withCounters = std::count_if(clock->ports.begin(), clock->ports.end(),
                                          [](const auto& port) { return port.second.counters.has_value(); });
  if (withCounters < std::ssize(clock->ports)) {
    report.add(Verdict::partly, whose + "counters", "this ptp4l does not count packets (PORT_STATS_NP); they read 0",
               "linuxptp 3.0 or later");
  }
}

}  // namespace

void checkSource(CheckReport& report, EventLoop& loop, const SourceOptions& options, const std::string& whose) {
  const std::string complaint = complaintAboutSource(options.source);
  if (!complaint.empty()) {
    return report.add(Verdict::fails, whose + "source", complaint,
                      whose.empty() ? "ptpSource, or --source" : "correct ptpSource");
  }
  const bool isPtp4l = options.source.starts_with("ptp4l");
  try {
    if (isPtp4l) return checkPtp4l(report, loop, options, whose);
    MonotonicCounters counters;
    const auto source = makeSource(loop, options, counters);
    source->start([](const StatusSnapshot& snapshot) { StatusWriter::check(snapshot); });
    report.add(Verdict::works, whose + "source", options.source);
  } catch (const std::exception& error) {
    report.add(Verdict::fails, whose + (isPtp4l ? "ptp4l" : "source"), error.what(),
               isPtp4l ? "permit this user to make a folder in /run or /tmp, or name one by RUNTIME_DIRECTORY"
                       : "correct the file; see docs/status-document.md");
  }
}

}  // namespace host
