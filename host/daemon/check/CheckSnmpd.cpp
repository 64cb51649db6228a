#include "CheckSnmpd.h"

#include "NetSnmp.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <sstream>

#include "CheckSource.h"
#include "Directives.h"
#include "MibModule.h"
#include "Processes.h"
#include "SnmpdAccess.h"
#include "SnmpdConfiguration.h"
#include "SocketProbe.h"

namespace host {
namespace {

using Line = SnmpdConfiguration::Line;
using Shows = SnmpdAccess::Shows;

const std::string snmpds = "snmpd's ";
constexpr char loaderName[] = "ptpsnmp";

// The first one that makes snmpd load the module; nullptr where none does.
const Line* loadingLine(const SnmpdConfiguration& configuration) {
  for (const Line& line : configuration.lines) {
    if (line.is("dlmod") && !line.words.empty() && line.words[0] == loaderName) return &line;
  }
  return nullptr;
}

// A file that snmpd's includes take, so that the package's own stays the only one that is changed.
std::string fileForMends(const SnmpdConfiguration& configuration) {
  const std::string folder = configuration.folder + "/snmpd.conf.d";
  const auto& folders = configuration.folders;
  const bool included = std::find(folders.begin(), folders.end(), folder) != folders.end();
  return included ? folder + "/ptpsnmp.conf" : configuration.folder + "/snmpd.conf";
}

std::string viewMend(const SnmpdAccess::Grant& grant, const SnmpdConfiguration& configuration) {
  const std::string removal =
      grant.hiding.empty() ? "" : fmt::format("remove {}; then ", fmt::join(grant.hiding, " and "));
  return fmt::format("{}echo 'view {} included .1.3.6.1.2.1.241' >> {} && systemctl restart snmpd", removal, grant.view,
                     fileForMends(configuration));
}

void checkAccess(CheckReport& report, const SnmpdConfiguration& configuration) {
  const std::string thing = snmpds + "access";
  const SnmpdAccess access = snmpdAccess(configuration);
  if (access.grants.empty()) {
    report.add(Verdict::fails, thing, "snmpd lets nobody read", "see rouser and rocommunity in snmpd.conf(5)");
  }
  // Who is to see the tables is the operator's choice, as long as somebody is.
  const bool perhapsShown = std::any_of(access.grants.begin(), access.grants.end(),
                                        [](const auto& grant) { return grant.shows != Shows::nothing; });
  const Verdict hidden = perhapsShown ? Verdict::partly : Verdict::fails;
  std::set<std::string> mended;
  for (const SnmpdAccess::Grant& grant : access.grants) {
    if (grant.shows == Shows::some && !grant.hiding.empty()) {
      report.add(
          Verdict::partly, thing,
          fmt::format("{}: some of the PTP tables are hidden by {}", grant.place, fmt::join(grant.hiding, ", ")));
    } else if (grant.shows == Shows::some) {
      report.add(Verdict::works, thing, grant.place);
    } else if (grant.shows == Shows::untold) {
      report.add(Verdict::partly, thing,
                 grant.place + ": whether it shows the PTP tables cannot be told from its text");
    } else if (grant.view.empty()) {
      report.add(hidden, thing, grant.place + ": hides the PTP tables", "widen or remove its OID");
    } else {
      report.add(hidden, thing, grant.place + ": its view hides the PTP tables",
                 mended.insert(grant.view).second ? viewMend(grant, configuration) : "");
    }
  }
}

void reportUnreadable(CheckReport& report, const SnmpdConfiguration& configuration) {
  for (const std::string& file : configuration.unreadable) {
    report.add(Verdict::partly, "snmpd", file + " cannot be read: what it says is not checked",
               "run as a user who may read it");
  }
}

std::string ownGroup() {
  const group* const entry = getgrgid(getegid());
  return entry == nullptr ? std::to_string(getegid()) : entry->gr_name;
}

// snmpd leaves the modes of a folder that is there as they are.
std::string permissionMend(const std::string& path, const SnmpdConfiguration& configuration) {
  const auto& lines = configuration.lines;
  const auto present =
      std::find_if(lines.begin(), lines.end(), [](const Line& line) { return line.is("agentXPerms"); });
  return fmt::format("write \"agentXPerms 0660 0755 root {}\" {}, and: systemctl restart snmpd; chmod 755 {}",
                     ownGroup(),
                     present == lines.end() ? "into " + fileForMends(configuration) : "in place of " + present->place(),
                     std::filesystem::path(path).parent_path().native());
}

std::string masterMend(const SnmpdConfiguration& configuration) {
  const auto& lines = configuration.lines;
  const auto last = [&lines](const char* directive) {
    const auto found = std::find_if(lines.rbegin(), lines.rend(), [&](const Line& line) { return line.is(directive); });
    return found == lines.rend() ? nullptr : &*found;
  };
  if (last("master") == nullptr) {
    return fmt::format("write \"master agentx\" into {} and: systemctl restart snmpd", fileForMends(configuration));
  }
  const Line* const socket = last("agentXSocket");
  return "systemctl restart snmpd" +
         (socket == nullptr ? "" : fmt::format("; or --agentx with the socket of {}", socket->place()));
}

void checkMaster(CheckReport& report, const std::string& path, const SnmpdConfiguration& configuration) {
  const int error = connectionError(path, SOCK_STREAM);
  switch (error) {
    case 0: return report.add(Verdict::works, "AgentX", path + ": a master agent takes sub-agents");
    case ECONNREFUSED:
      return report.add(Verdict::fails, "AgentX", path + ": nobody listens; it is " + deadEnd(path),
                        "systemctl restart snmpd, with \"master agentx\" in its snmpd.conf; or name its agentXSocket");
    case EACCES:
    case EPERM:
      return report.add(Verdict::fails, "AgentX", path + ": not permitted to this user",
                        permissionMend(path, configuration));
    default: report.add(Verdict::fails, "AgentX", path + ": " + std::strerror(error), masterMend(configuration));
  }
}

// snmpd takes a dlmod line's fields as they stand, and looks in its own folders for what does not begin with a slash.
std::string loaderFile(const Line& dlmod) {
  std::istringstream fields(dlmod.arguments);
  std::string name, path;
  if (!(fields >> name >> path)) path = name;
  if (path.starts_with('/')) return path;
  const char* const chosen = std::getenv("SNMPDLMODPATH");
  const std::string folders = chosen == nullptr ? SNMPDLMODPATH : chosen;
  return folders.substr(0, folders.find(':')) + "/" + path + ".so";
}

void checkLoader(CheckReport& report, const Line& dlmod) {
  const std::string thing = snmpds + "module";
  const std::string mend = fmt::format("dlmod {} FILE, where FILE is the package's {}.so", loaderName, loaderName);
  const std::string file = loaderFile(dlmod);
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return report.add(Verdict::fails, thing, dlmod.place() + ": " + dlerror(), mend);
  const bool isLoader = dlsym(library, "init_ptpsnmp") != nullptr;
  dlclose(library);
  if (!isLoader) return report.add(Verdict::fails, thing, dlmod.place() + ": is not what snmpd is to load", mend);
  std::error_code ignored;
  const std::string module = moduleFileNear(std::filesystem::canonical(file, ignored).parent_path());
  if (access(module.c_str(), R_OK) != 0) {
    return report.add(Verdict::fails, thing, module + ": " + std::strerror(errno), "install the package again");
  }
  report.add(Verdict::works, thing, dlmod.place());
}

// The one that was started to read this configuration.
std::optional<RunningProcess> runningSnmpd() {
  const char* const path = std::getenv("SNMPCONFPATH");
  for (RunningProcess& process : processesNamed("snmpd")) {
    if (process.environment("SNMPCONFPATH") == std::string(path == nullptr ? "" : path)) return process;
  }
  return {};
}

// In a process of its own, since only its end gives this one's rights back. False where it could not be done.
bool asUserOf(const RunningProcess& process, const std::function<void(CheckReport&)>& check, CheckReport& report) {
  enum Outcome { works, fails, notDone };
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    CheckReport own;
    const bool changed = setgroups(process.groups.size(), process.groups.data()) == 0 && setgid(process.group) == 0 &&
                         setuid(process.user) == 0;
    if (changed) check(own);
    std::fflush(stdout);
    _exit(!changed ? notDone : own.failed() ? fails : works);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return false;
  if (!WIFEXITED(status) || WEXITSTATUS(status) == notDone) return false;
  if (WEXITSTATUS(status) == fails) report.addFailure();
  return true;
}

void trySource(CheckReport& report, const SourceOptions& source) {
  const auto check = [&source](CheckReport& said) {
    EventLoop loop;
    checkSource(said, loop, source, snmpds);
  };
  const std::string thing = snmpds + "user";
  const auto snmpd = runningSnmpd();
  if (snmpd && snmpd->user != geteuid() && asUserOf(*snmpd, check, report)) {
    return report.add(Verdict::works, thing, fmt::format("the source was tried as {}", userName(snmpd->user)));
  }
  check(report);
  if (snmpd && snmpd->user == geteuid()) {
    return report.add(Verdict::works, thing, fmt::format("the source was tried as {}", userName(geteuid())));
  }
  report.add(Verdict::partly, thing,
             fmt::format("the source was tried as {}, {}", userName(geteuid()),
                         snmpd ? "but snmpd runs as " + userName(snmpd->user)
                               : "and no snmpd runs from which to tell its user"),
             snmpd ? "run as root" : "systemctl start snmpd, and check again as root");
}

// snmpd knows the directives from the line on that loads the module.
void checkSource(CheckReport& report, const SnmpdConfiguration& configuration, const Line& dlmod) {
  SourceOptions source{.source = "ptp4l"};
  bool refused = false;
  for (const Line& line : configuration.lines) {
    if (!line.is("ptpSource")) continue;
    if (&line < &dlmod) {
      report.add(Verdict::fails, snmpds + "source", line.place() + ": stands before the dlmod line",
                 "move it below " + dlmod.place());
      continue;
    }
    source.source = valueOf(line.arguments.c_str());
    std::string complaint = complaintAboutSource(source.source);
    if (source.source.starts_with("replay:") && !source.source.starts_with("replay:/")) {
      complaint = "snmpd looks for \"" + source.source + "\" in the root folder: write the whole path";
    }
    if (complaint.empty()) continue;
    report.add(Verdict::fails, snmpds + "source", line.place() + ": " + complaint, "correct that line");
    refused = true;
  }
  if (!refused) trySource(report, source);
}

}  // namespace

void checkBesideSnmpd(CheckReport& report, const std::string& agentXSocket) {
  const SnmpdConfiguration configuration = readSnmpdConfiguration();
  checkMaster(report, agentXSocket, configuration);
  reportUnreadable(report, configuration);
  if (configuration.files.empty()) {
    if (configuration.unreadable.empty()) {
      report.add(Verdict::partly, snmpds + "access", "no snmpd.conf in " + configuration.folder);
    }
    return;
  }
  if (const Line* const dlmod = loadingLine(configuration)) {
    report.add(Verdict::fails, snmpds + "module",
               dlmod->place() + ": one snmpd cannot have the tables from itself and from a sub-agent",
               "remove that line, or leave out --agentx; then: systemctl restart snmpd");
  }
  checkAccess(report, configuration);
}

void checkInsideSnmpd(CheckReport& report) {
  const SnmpdConfiguration configuration = readSnmpdConfiguration();
  reportUnreadable(report, configuration);
  const Line* const dlmod = loadingLine(configuration);
  if (dlmod == nullptr) return;
  checkLoader(report, *dlmod);
  checkSource(report, configuration, *dlmod);
  checkAccess(report, configuration);
}

}  // namespace host
