#pragma once

#include "NetSnmp.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "SnmpMessages.h"

/// Messages of SNMPv3 to the engine of this process, as a manager that knows its keys would write them.
namespace fuzz {

struct User {
  std::string_view name;
  int level;
  const char* created;  ///< by these directives
  const char* permitted;
};

inline constexpr std::array<User, 4> users{{
    {"nob", SNMP_SEC_LEVEL_NOAUTH, "createUser nob", "rwuser nob noauth"},
    {"aut", SNMP_SEC_LEVEL_AUTHNOPRIV, "createUser aut SHA-256 authentication", "rwuser aut auth"},
    {"aes", SNMP_SEC_LEVEL_AUTHPRIV, "createUser aes SHA-512 authentication AES encryption", "rwuser aes priv"},
    {"des", SNMP_SEC_LEVEL_AUTHPRIV, "createUser des SHA authentication DES encryption", "rwuser des priv"},
}};

/// REQUIRES an engine that is initialised.
inline void createUsers() {
  for (const User& user : users) {
    for (std::string line : {std::string(user.created), std::string(user.permitted)}) netsnmp_config(line.data());
  }
  netsnmp_config_process_memories();
}

/// Empty where the library cannot write it.
inline test::snmp::Bytes secured(const User& user, std::int64_t maxSize, const test::snmp::Bytes& scopedPdu) {
  using namespace test::snmp;
  // RFC 3412, 6.4: what is encrypted is authenticated, too.
  constexpr std::uint8_t authenticated = 1;
  constexpr std::uint8_t encrypted = 2;
  std::uint8_t flags = 4;  // reportable
  if (user.level >= SNMP_SEC_LEVEL_AUTHNOPRIV) flags |= authenticated;
  if (user.level == SNMP_SEC_LEVEL_AUTHPRIV) flags |= encrypted;
  Bytes global = integer(3) + tlv(sequence, integer(77) + integer(maxSize) + octets(Bytes{flags}) + integer(3));
  std::size_t engineIdLength = 0;
  u_char* const engineId = snmpv3_generate_engineID(&engineIdLength);
  std::size_t size = scopedPdu.size() + 1024;
  auto* buffer = static_cast<u_char*>(std::malloc(size));
  std::size_t length = scopedPdu.size();
  std::copy(scopedPdu.begin(), scopedPdu.end(), buffer + size - length);
  Bytes copy = scopedPdu;
  snmp_secmod_outgoing_params message{};
  message.globalData = global.data();
  message.globalDataLen = global.size();
  message.maxMsgSize = SNMP_MAX_MSG_SIZE;
  message.secModel = SNMP_SEC_MODEL_USM;
  message.secEngineID = engineId;
  message.secEngineIDLen = engineIdLength;
  std::string name(user.name);
  message.secName = name.data();
  message.secNameLen = name.size();
  message.secLevel = user.level;
  message.scopedPdu = copy.data();
  message.scopedPduLen = copy.size();
  message.wholeMsg = &buffer;
  message.wholeMsgLen = &size;
  message.wholeMsgOffset = &length;
  const bool written = find_sec_mod(SNMP_SEC_MODEL_USM)->encode_reverse(&message) == SNMPERR_SUCCESS;
  const Bytes whole = written ? Bytes(buffer + size - length, buffer + size) : Bytes{};
  std::free(buffer);
  std::free(engineId);
  return whole;
}

}  // namespace fuzz
