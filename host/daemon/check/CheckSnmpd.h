#pragma once

#include <string>

#include "CheckReport.h"

namespace host {

/// Whether snmpd takes a sub-agent at this socket, and shows the tables to anybody.
void checkBesideSnmpd(CheckReport& report, const std::string& agentXSocket);

/// Where snmpd's configuration loads the module: whether it can, whether its source can be followed by snmpd's user,
/// and whether the tables are shown to anybody. Says nothing where it does not load it.
void checkInsideSnmpd(CheckReport& report);

}  // namespace host
