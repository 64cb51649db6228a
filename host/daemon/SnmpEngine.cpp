#include "SnmpEngine.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <spdlog/spdlog.h>
#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Listener.h"
#include "RepeatableLog.h"

// The agent's own MIB modules that a manager expects of any agent. Their headers are not installed.
extern "C" {
void init_snmp_mib(void);
void init_snmpEngine(void);
void init_sysORTable(void);
void init_system_mib(void);
int subagent_startup(int, int, void*, void*);
}

namespace host {
namespace {

constexpr char applicationName[] = "ptpsnmpd";
constexpr char defaultAddress[] = "udp:127.0.0.1:1161";
constexpr int mostBulkVarbinds = 3000;  // as many cells as a datagram has room for
// Who may read, and what the device is, a sub-agent leaves to its master. One file serves for both ways.
constexpr const char* mastersDirectives[] = {
    "access",       "authaccess",  "authcommunity", "authgroup",    "authuser", "createUser",
    "group",        "master",      "rocommunity",   "rocommunity6", "rouser",   "rwcommunity",
    "rwcommunity6", "rwuser",      "setaccess",     "sysContact",   "sysDescr", "sysLocation",
    "sysName",      "sysObjectID", "sysServices",   "view"};
constexpr const char* loopbackAccess[] = {"rocommunity public 127.0.0.1", "rocommunity6 public ::1"};

spdlog::level::level_enum levelOf(int priority) {
  if (priority <= LOG_ERR) return spdlog::level::err;
  if (priority == LOG_WARNING) return spdlog::level::warn;
  return spdlog::level::debug;  // what it merely notes is no news to an operator
}

// A refused registration is what AgentXLink sees to, and says once for all tables; octets on a connection that begin no
// message are the Listener's to say.
bool isOthersToSay(std::string_view text) {
  return text.starts_with("registering pdu failed") || text.starts_with("Received broken packet");
}

// Sends the library's log lines where ours go.
int logLibraryMessage(int, int, void* message, void*) {
  const auto* const said = static_cast<const snmp_log_message*>(message);
  std::string text = said->msg;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  DirectiveReader::engineSaid(text);
  if (!text.empty()) log::repeatable(isOthersToSay(text) ? spdlog::level::debug : levelOf(said->priority), text);
  return SNMP_ERR_NOERROR;
}

// Runs on each reading of the configuration, ahead of the library's own warning that nobody has access.
int grantLoopbackAccess(int, int, void*, void* builtInAccess) {
  const bool granted = vacm_is_configured() != 0;
  *static_cast<bool*>(builtInAccess) = !granted;
  if (granted) return SNMP_ERR_NOERROR;
  for (std::string line : loopbackAccess) netsnmp_config(line.data());
  return SNMP_ERR_NOERROR;
}

std::string addressesOfTheFiles() {
  const char* const addresses = netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS);
  return addresses == nullptr ? "" : addresses;
}

void ignore(const char*, char*) {}

void setDefaults(bool isSubAgent) {
  // Without this the library listens for SMUX peers on TCP port 199.
  char withoutSmux[] = "-smux";
  add_to_init_list(withoutSmux);
  // A parser of MIB files would complain of each module that Debian does not ship; an agent needs none.
  setenv("MIBS", "", 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, isSubAgent ? 1 : 0);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  // The library keeps nothing between two runs: see EngineIdentity. NETSNMP_DS_LIB_DONT_PERSIST_STATE would keep
  // /etc/snmp from being read, too.
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
}

// Items without the blanks around them, as in "udp:161, udp6:161".
std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> items;
  std::istringstream stream(list);
  for (std::string item; std::getline(stream, item, ',');) {
    item.erase(0, item.find_first_not_of(" \t"));
    item.erase(item.find_last_not_of(" \t") + 1);
    if (!item.empty()) items.push_back(item);
  }
  return items;
}

// The library passes over a file that it may not read, and would serve by what is built in. A folder that may not be
// searched hides whether a file is there: net-snmp's own, of other users, are such.
void requireReadable(const std::string& file) {
  if (access(file.c_str(), R_OK) != 0) throw ConfigurationRefused(fmt::format("{}: {}", file, std::strerror(errno)));
}

void requireReadableConfiguration(const std::string& configFile) {
  if (!configFile.empty()) requireReadable(configFile);
  const char* const chosen = std::getenv("SNMPCONFPATH");
  std::istringstream folders(chosen == nullptr ? get_configuration_directory() : chosen);
  for (std::string folder; std::getline(folders, folder, ENV_SEPARATOR_CHAR);) {
    for (const char* ending : {".conf", ".local.conf"}) {
      const std::string file = fmt::format("{}/{}{}", folder, applicationName, ending);
      if (access(file.c_str(), F_OK) == 0) requireReadable(file);
    }
  }
}

bool isNone(const std::string& address) { return strncasecmp(address.c_str(), "none", 4) == 0; }

// The sockets that notifications are sent from receive, too, from anybody, and an inform waits for its answer.
constexpr const char* notificationDirectives[] = {"trapsink", "trap2sink", "informsink", "trapsess"};

void refuseDirective(const char* directive, char*) noexcept {
  spdlog::warn("configuration: {}: ptpsnmpd sends no notifications; the line is passed over", directive);
}

// Whatever the configuration says. The library answers a probe (RFC 5343) with the user's key, also where the probe did
// not prove to be the user's; and makes room at once for all that a GetBulk may bring.
void imposeLimits() {
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_NO_DISCOVERY, 1);
  const int most = netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES);
  if (most < 0 || most > mostBulkVarbinds) {
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, mostBulkVarbinds);
  }
}

// The library refuses in the place of objects of its own that could be set, such as sysContact.
void refuseSets() {
  for (netsnmp_subtree* each = netsnmp_subtree_find_first(""); each != nullptr; each = each->next) {
    if (each->reginfo != nullptr) each->reginfo->modes &= ~HANDLER_CAN_SET_ONLY;
  }
}

// Their messages would be parsed without a gate before.
void refuseSubAgents() {
  if (netsnmp_ds_get_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_MASTER) != 1) return;
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_MASTER, 0);
  spdlog::warn("configuration: master agentx: ptpsnmpd has no sub-agents, snmpd does; the line is passed over");
}

}  // namespace

SnmpEngine::SnmpEngine(const SnmpEngineOptions& options)
    : options_(options), isSubAgent_(!options.agentXSocket.empty()) {
  requireReadableConfiguration(options_.configFile);
  setDefaults(isSubAgent_);
  snmp_disable_log();
  snmp_enable_calllog();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, logLibraryMessage, nullptr);
  if (!isSubAgent_) {
    netsnmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, grantLoopbackAccess,
                              &builtInAccess_, NETSNMP_CALLBACK_HIGHEST_PRIORITY);
  }
  init_agent(applicationName);
  if (isSubAgent_) {
    // It would connect while the configuration is read, and wait for the answer: see AgentXLink.
    snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, subagent_startup, nullptr, 1);
    for (const char* directive : mastersDirectives) register_app_config_handler(directive, ignore, nullptr, nullptr);
  } else {
    init_sysORTable();
    init_system_mib();
    init_snmp_mib();
    init_snmpEngine();
  }
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, applicationName);
  for (const char* directive : notificationDirectives) {
    register_app_config_handler(directive, isSubAgent_ ? ignore : refuseDirective, nullptr, nullptr);
  }
  directives_.emplace();
  if (!options_.configFile.empty()) {
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, options_.configFile.c_str());
  }
  if (!isSubAgent_) identity_.emplace();
  init_snmp(applicationName);
  imposeLimits();
  if (!isSubAgent_) configureMaster();
}

void SnmpEngine::configureMaster() {
  refuseSubAgents();
  configuredAddresses_ = addressesOfTheFiles();
  for (const std::string& list : options_.listen) {
    for (std::string& address : split(list)) addresses_.push_back(std::move(address));
  }
  if (addresses_.empty()) addresses_ = split(configuredAddresses_);
  if (addresses_.empty()) addresses_ = {defaultAddress};
}

SnmpEngine::~SnmpEngine() {
  // The library would free what the callback was given.
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, grantLoopbackAccess, &builtInAccess_,
                           1);
  identity_.reset();
  directives_.reset();
  shutdown_master_agent();
  snmp_shutdown(applicationName);
  shutdown_agent();
}

void SnmpEngine::rereadConfiguration() {
  requireReadableConfiguration(options_.configFile);
  // The directive adds to what is there.
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, nullptr);
  update_config();
  imposeLimits();
  const std::string before = std::exchange(configuredAddresses_, addressesOfTheFiles());
  if (!isSubAgent_ && options_.listen.empty() && before != configuredAddresses_) {
    spdlog::warn("agentAddress has changed, which takes a restart; serving on {} until then",
                 fmt::join(addresses_, ","));
  }
}

void SnmpEngine::listen() {
  if (isSubAgent_) return;
  identity_->tell();
  refuseSets();
  for (const std::string& address : addresses_) {
    if (isNone(address)) break;  // as the library does
    listenOn(address);
  }
  // What else a master agent begins with. Its own way to listen does not tell of the transports.
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, "none");
  if (init_master_agent() != 0) throw std::runtime_error("the SNMP engine does not start");
}

}  // namespace host
