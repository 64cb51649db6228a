#include "EngineIdentity.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <net-snmp/library/lcd_time.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

namespace host {
namespace {

constexpr std::size_t typeOctet = 4;  // RFC 3411, SnmpEngineID: of the format of what follows
constexpr std::size_t randomOctets = 12;

std::string stateFile() {
  const char* const folder = std::getenv("STATE_DIRECTORY");
  return folder == nullptr || *folder == '\0' ? "" : std::string(folder) + "/engine";
}

// net-snmp's enterprise number, 8072, and octets that are administratively assigned.
std::string randomEngineId() {
  constexpr std::string_view head("\x80\x00\x1f\x88\x05", typeOctet + 1);
  std::array<char, randomOctets> random;
  if (getentropy(random.data(), random.size()) != 0) {
    throw std::system_error(errno, std::generic_category(), "no random engine ID");
  }
  return std::string(head).append(random.data(), random.size());
}

// The ID that the directives engineID, exactEngineID or engineIDType call for; empty where the library made up one by
// time, as it does without them.
std::string configuredEngineId() {
  std::array<u_char, SNMP_MAXBUF_SMALL> id;
  std::size_t size = snmpv3_get_engineID(id.data(), id.size());
  const bool named = size != 0;
  if (!named) setup_engineID(nullptr, nullptr);
  size = snmpv3_get_engineID(id.data(), id.size());
  if (!named && size > typeOctet && id[typeOctet] == ENGINEID_TYPE_NETSNMP_RND) return {};
  return {id.begin(), id.begin() + size};
}

const u_char* octets(const std::string& id) { return reinterpret_cast<const u_char*>(id.data()); }

}  // namespace

EngineIdentity::EngineIdentity() : fresh_(randomEngineId()) {
  netsnmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_PREMIB_READ_CONFIG, choose, this,
                            NETSNMP_CALLBACK_HIGHEST_PRIORITY);
  netsnmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, impose, this,
                            NETSNMP_CALLBACK_LOWEST_PRIORITY);
}

EngineIdentity::~EngineIdentity() {
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_PREMIB_READ_CONFIG, choose, this, 1);
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, impose, this, 1);
}

void EngineIdentity::tell() {
  for (const std::string& notice : std::exchange(engine_.notices, {})) spdlog::warn("{}", notice);
}

// The library calls the functions below: only exhausted memory could throw there, and ends the process.

// Runs ahead of the library's own callback, which would make up an ID. Only the start reads the directives of this
// kind.
int EngineIdentity::choose(int, int, void*, void* self) noexcept {
  auto& identity = *static_cast<EngineIdentity*>(self);
  identity.engine_ = countEngineStart(stateFile(), configuredEngineId(), identity.fresh_);
  const std::string& id = identity.engine_.start.id;
  set_exact_engineID(octets(id), id.size());
  return SNMP_ERR_NOERROR;
}

// Runs after the library's own callback, which takes any reading for the first start of an engine that it does not
// remember. The directive engineBoots names the start before.
int EngineIdentity::impose(int, int, void*, void* self) noexcept {
  const EngineStart& start = static_cast<EngineIdentity*>(self)->engine_.start;
  engineBoots_conf("engineBoots", fmt::format("{}", start.boots - 1).data());
  set_enginetime(octets(start.id), static_cast<u_int>(start.id.size()), start.boots,
                 static_cast<u_int>(snmpv3_local_snmpEngineTime()), TRUE);
  return SNMP_ERR_NOERROR;
}

}  // namespace host
