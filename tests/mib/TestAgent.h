#pragma once

#include "NetSnmp.h"

#include <cstdlib>

namespace test {

/// Sets the agent library up as a master agent that reads and keeps no files, listens for nobody yet, and grants the
/// community "private" everything from the loopback address. REQUIRES a process that has not done so.
inline void initTestAgent(const char* name, const char* address = nullptr) {
  setenv("MIBS", "", 1);
  char withoutSmux[] = "-smux";
  add_to_init_list(withoutSmux);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0 /* master */);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
  if (address != nullptr) netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, address);
  snmp_disable_log();
  init_agent(name);
  init_snmp(name);
  char access[] = "rwcommunity private 127.0.0.1";
  netsnmp_config(access);
  netsnmp_config_process_memories();
}

}  // namespace test
