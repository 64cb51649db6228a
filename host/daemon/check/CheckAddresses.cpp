#include "CheckAddresses.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include "Listener.h"
#include "Processes.h"
#include "SocketProbe.h"

namespace host {
namespace {

constexpr char unixPrefix[] = "unix:";
constexpr char listening[] = "0A";

struct Close {
  void operator()(netsnmp_transport* transport) const {
    transport->f_close(transport);
    netsnmp_transport_free(transport);
  }
};
using Transport = std::unique_ptr<netsnmp_transport, Close>;

// The library's names of transports are of either case.
bool isOf(const std::string& address, const char* transport) {
  return strncasecmp(address.c_str(), transport, std::strlen(transport)) == 0;
}

bool isTcp(const std::string& address) { return isOf(address, "tcp"); }

// Without a number at its end an address is of SNMP's own port.
int portOf(const std::string& address) {
  const std::string last = address.substr(address.rfind(':') + 1);
  const bool numeric = !last.empty() && last.size() <= 5 && last.find_first_not_of("0123456789") == std::string::npos;
  return numeric ? std::stoi(last) : SNMP_PORT;
}

struct BoundSocket {
  uid_t user = 0;
  std::string inode;
};

std::vector<BoundSocket> socketsAt(int port, bool tcp) {
  std::vector<BoundSocket> found;
  for (const char* const version : {"", "6"}) {
    std::ifstream table(fmt::format("/proc/net/{}{}", tcp ? "tcp" : "udp", version));
    std::string line;
    std::getline(table, line);  // its heading
    while (std::getline(table, line)) {
      std::istringstream fields(line);
      std::string number, local, remote, state, queues, timer, retries, timeout;
      BoundSocket socket;
      fields >> number >> local >> remote >> state >> queues >> timer >> retries >> socket.user >> timeout >>
          socket.inode;
      if (!fields || (tcp && state != listening)) continue;
      if (std::stoi(local.substr(local.rfind(':') + 1), nullptr, 16) == port) found.push_back(std::move(socket));
    }
  }
  return found;
}

// Who may not look into the process goes by its user.
std::optional<pid_t> daemonAt(int port, bool tcp) {
  const auto daemons = processesNamed("ptpsnmpd");
  if (daemons.empty()) return {};
  for (const BoundSocket& socket : socketsAt(port, tcp)) {
    for (const RunningProcess& daemon : daemons) {
      if (daemon.holdsSocket(socket.inode).value_or(daemon.user == socket.user)) return daemon.id;
    }
  }
  return {};
}

void reportInUse(CheckReport& report, const std::string& address, const std::string& text) {
  const int port = portOf(address);
  if (const auto daemon = daemonAt(port, isTcp(address))) {
    return report.add(Verdict::partly, "addresses",
                      fmt::format("{}, by a ptpsnmpd that runs (process {})", text, *daemon),
                      "nothing, where that is the one that shall; else stop it first: systemctl stop ptpsnmpd");
  }
  report.add(Verdict::fails, "addresses", text,
             fmt::format("see who has it: ss -l{}np 'sport = :{}', or choose another: --listen, agentAddress",
                         isTcp(address) ? 't' : 'u', port));
}

void reportUnopened(CheckReport& report, const std::string& address, int error) {
  const std::string text = address + ": " + std::strerror(error);
  switch (error) {
    case EADDRINUSE: return reportInUse(report, address, text);
    case EACCES:
    case EPERM:
      return report.add(Verdict::fails, "addresses", text,
                        "a port below 1024 takes root or CAP_NET_BIND_SERVICE (see ptpsnmpd(8)), or choose a higher "
                        "one: --listen, agentAddress");
    case EADDRNOTAVAIL:
      return report.add(Verdict::fails, "addresses", text,
                        "choose an address that this machine has (ip address): --listen, agentAddress");
    default:
      return report.add(Verdict::fails, "addresses",
                        fmt::format("{}: no address that can be opened here; {}", address, servedTransports),
                        "write it as LISTENING ADDRESSES of snmpd(8) says, such as udp:127.0.0.1:1161");
  }
}

// To open one would take a socket's place, also that of a program which serves there.
void checkUnixAddress(CheckReport& report, const std::string& address) {
  const std::string path = address.starts_with('/') ? address : address.substr(sizeof(unixPrefix) - 1);
  const int error = connectionError(path, SOCK_STREAM);
  if (error == ENAMETOOLONG) {
    return report.add(Verdict::fails, "addresses", address + ": " + std::strerror(error), "choose a shorter path");
  }
  if (error == 0) {
    return report.add(Verdict::partly, "addresses", address + ": somebody serves there, whose place would be taken",
                      "stop that first, or choose another: --listen, agentAddress");
  }
  const auto folder = std::filesystem::absolute(path).parent_path();
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    return report.add(Verdict::fails, "addresses",
                      fmt::format("{}: {}: {}", address, folder.native(), std::strerror(errno)),
                      "choose a folder in which this user may make files");
  }
  report.add(Verdict::works, "addresses", address + " can be opened");
}

}  // namespace

void checkAddresses(CheckReport& report, const std::vector<std::string>& addresses) {
  std::vector<Transport> opened;  // until all are: one may be there twice
  for (const std::string& address : addresses) {
    if (isOf(address, "none")) {  // ends the list, as the library has it
      return report.add(Verdict::partly, "addresses", "none: nothing is served there");
    }
    if (isOf(address, unixPrefix) || address.starts_with('/')) {
      checkUnixAddress(report, address);
      continue;
    }
    errno = 0;
    Transport transport(netsnmp_transport_open_server("snmp", address.c_str()));
    if (!transport) {
      reportUnopened(report, address, errno);
      continue;
    }
    if (!isServed(*transport)) {
      report.add(Verdict::fails, "addresses", fmt::format("{}: {}", address, servedTransports),
                 "choose one of these: --listen, agentAddress");
      continue;
    }
    const bool byRoot = geteuid() == 0 && portOf(address) < IPPORT_RESERVED;
    report.add(Verdict::works, "addresses",
               address + (byRoot ? " can be opened by root; the service takes CAP_NET_BIND_SERVICE: see ptpsnmpd(8)"
                                 : " can be opened"));
    opened.push_back(std::move(transport));
  }
}

}  // namespace host
