#pragma once

#include "Zarn/Trace.h"

namespace PtpSnmp::Mib {

namespace detail {
// Found as the module is loaded. A static within the function would put the test whether it has been found, and what
// finds it, into every line that traces: half of a request's code, all of which has to pass the instruction cache.
inline const Zarn::TraceHandle& snmpTraceHandle = Zarn::TraceHandle::instance("Snmp");
}  // namespace detail

/// The trace handle shared by all functions of this unit.
inline const Zarn::TraceHandle& snmpTrace() noexcept { return detail::snmpTraceHandle; }

inline constexpr unsigned errorLevel = 0;
inline constexpr unsigned registrationLevel = 1;
inline constexpr unsigned requestLevel = 2;
inline constexpr unsigned initializedLevel = 8;

}  // namespace PtpSnmp::Mib
