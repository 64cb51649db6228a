#pragma once

// net-snmp's headers, in the order that they need, as the system headers that they are.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
// clang-format on

// net-snmp's configuration header leaves autoconf's names and a few short macros behind.
#undef PACKAGE_NAME
#undef PACKAGE_VERSION
