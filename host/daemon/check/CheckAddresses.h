#pragma once

#include <string>
#include <vector>

#include "CheckReport.h"

namespace host {

/// Whether each of these addresses, in net-snmp's transport syntax, can be served on.
void checkAddresses(CheckReport& report, const std::vector<std::string>& addresses);

}  // namespace host
