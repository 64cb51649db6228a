#include "AgentXLink.h"

#include "NetSnmp.h"

#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "MasterTransport.h"
#include "UnixAddress.h"

// The library's own way to connect. Its headers are not installed.
extern "C" {
extern netsnmp_session* main_session;
int subagent_open_master_session(void);
int agentx_unregister_callbacks(netsnmp_session*);
}

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto period = 500ms;
constexpr int turnsOfAPing = 20;  // of the period, until another ping is tried
constexpr int turnsOfARest = 10;
constexpr int engineTimeoutSeconds = 1;
constexpr auto connectTime = 3s;
constexpr auto shortTime = 500ms;  // after which the status is followed for a while before the next try
constexpr int closePduType = 2;    // RFC 2741, 6.1
constexpr int reasonShutdown = 5;  // RFC 2741, 6.2.2

// RFC 2741, 6.1: version 1, a ping without context, in network byte order, of session, transaction and packet 0.
constexpr std::array<std::uint8_t, 20> pingPdu{1, 13, 0x10, 0};

// What the library thinks of a refused registration it tells its log alone.
class Refusals {
 public:
  Refusals() { snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, hear, this); }
  Refusals(const Refusals&) = delete;
  Refusals& operator=(const Refusals&) = delete;
  ~Refusals() { snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, hear, this, 1); }

  bool any() const noexcept { return heard_; }

 private:
  static int hear(int, int, void* message, void* refusals) {
    const std::string_view text = static_cast<const snmp_log_message*>(message)->msg;
    if (text.starts_with("registering pdu failed")) static_cast<Refusals*>(refusals)->heard_ = true;
    return SNMP_ERR_NOERROR;
  }

  bool heard_ = false;
};

// The library's own way waits for the answer.
void sendClose() {
  netsnmp_pdu* const pdu = snmp_pdu_create(closePduType);
  if (pdu == nullptr) return;
  pdu->errstat = reasonShutdown;
  pdu->sessid = main_session->sessid;
  if (snmp_send(main_session, pdu) == 0) snmp_free_pdu(pdu);
}

}  // namespace

AgentXLink::AgentXLink(EventLoop& loop, std::string socketPath) : loop_(loop), socketPath_(std::move(socketPath)) {
  const std::string address = guardedMasterAddress(socketPath_);
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, address.c_str());
  // The library shall neither ping nor connect by itself, and nowhere wait for long.
  netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, 0);
  netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_TIMEOUT, engineTimeoutSeconds);
  netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_RETRIES, 0);
  timer_ = loop_.every(period, [this] { watch(); });
  watch();
}

AgentXLink::~AgentXLink() {
  closePing();
  if (main_session != nullptr) leave();
}

void AgentXLink::leave() {
  agentx_unregister_callbacks(main_session);
  remove_trap_session(main_session);  // the library would send its notifications there for ever
  sendClose();
  snmp_close(main_session);
  main_session = nullptr;
  register_mib_detach();  // the library would take the tables for registered
}

void AgentXLink::watch() {
  if ((turnsToRest_ > 0 && --turnsToRest_ > 0) || main_session != nullptr) return;
  if (std::exchange(connected_, false)) away("the connection was closed");
  if (ping_ >= 0 && ++unansweredTurns_ < turnsOfAPing) {
    if (unansweredTurns_ > 1) away("no answer");
    return;
  }
  closePing();
  if (const std::string reason = ping(); !reason.empty()) {
    closePing();
    away(reason);
  }
}

std::string AgentXLink::ping() {
  const sockaddr_un address = unixAddress(socketPath_);
  ping_ = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (ping_ < 0 || ::connect(ping_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      send(ping_, pingPdu.data(), pingPdu.size(), MSG_NOSIGNAL) != ssize_t{pingPdu.size()}) {
    return std::strerror(errno);
  }
  unansweredTurns_ = 0;
  readable_ = loop_.readable(ping_, [this] { answered(); });
  return "";
}

// Whatever it says to a session that does not exist: it answers.
void AgentXLink::answered() {
  std::array<std::uint8_t, 64> answer;
  const auto length = recv(ping_, answer.data(), answer.size(), 0);
  closePing();
  if (length > 0) return connect();
  away("the connection was closed");
}

void AgentXLink::connect() {
  const auto began = std::chrono::steady_clock::now();
  const MasterHandshake handshake(connectTime, std::chrono::seconds(engineTimeoutSeconds));
  const bool open = subagent_open_master_session() == 0;
  const Refusals refusals;
  if (open) register_mib_reattach();
  if (std::chrono::steady_clock::now() - began > shortTime) turnsToRest_ = turnsOfARest;
  if (handshake.late()) return refused("it answers too late");
  if (handshake.broken()) {
    if (open) leave();
    return away("the connection was closed");
  }
  if (!open) return away("it refuses a session");
  if (refusals.any()) return refused("they are served already, by another sub-agent or a module in it");
  connected_ = true;
  saidAway_ = saidRefused_ = false;
  spdlog::info("serving through the SNMP agent at {}", socketPath_);
}

void AgentXLink::refused(const std::string& reason) {
  if (main_session != nullptr) leave();
  turnsToRest_ = turnsOfARest;
  if (std::exchange(saidRefused_, true)) return;
  spdlog::error("the SNMP agent at {} does not take the tables ({}); trying every {} s", socketPath_, reason,
                std::chrono::duration_cast<std::chrono::seconds>(turnsOfARest * period).count());
}

void AgentXLink::away(const std::string& reason) {
  if (std::exchange(saidAway_, true)) return;
  spdlog::warn("the SNMP agent at {} is away ({}); trying every {} ms", socketPath_, reason, period.count());
}

void AgentXLink::closePing() {
  readable_.reset();
  if (ping_ >= 0) close(std::exchange(ping_, -1));
}

}  // namespace host
