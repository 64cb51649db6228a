#pragma once

#include "Zarn/Trace.h"

namespace PtpSnmp::Mib {

/// The trace handle shared by all functions of this unit.
inline const Zarn::TraceHandle& snmpTrace() {
  static const Zarn::TraceHandle& handle = Zarn::TraceHandle::instance("Snmp");
  return handle;
}
inline constexpr unsigned errorLevel = 0;
inline constexpr unsigned registrationLevel = 1;
inline constexpr unsigned requestLevel = 2;
inline constexpr unsigned initializedLevel = 8;

}  // namespace PtpSnmp::Mib
