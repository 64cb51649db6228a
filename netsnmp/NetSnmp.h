#pragma once

// net-snmp's headers in the order that they need, once for module and host.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/agent/sysORTable.h>
#include <net-snmp/library/fd_event_manager.h>
#include <net-snmp/library/large_fd_set.h>
// clang-format on
