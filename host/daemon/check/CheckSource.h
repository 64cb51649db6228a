#pragma once

#include <string>

#include "CheckReport.h"
#include "EventLoop.h"
#include "Sources.h"

namespace host {

/// Whether this source can be followed by this process; with ptp4l, whether it answers. `whose` begins the name of each
/// thing that is reported, such as "snmpd's ".
void checkSource(CheckReport& report, EventLoop& loop, const SourceOptions& options, const std::string& whose = "");

}  // namespace host
