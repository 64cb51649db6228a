#pragma once

#include "Zarn/Trace.h"

namespace PtpSnmp::Agent {

/// The agent's trace handle. Handlers write their entry, exit and every row they touch at level 8.
inline const Zarn::TraceHandle& agentTrace() {
  static const Zarn::TraceHandle& handle = Zarn::TraceHandle::instance("PtpSnmp");
  return handle;
}
inline constexpr unsigned flowLevel = 8;

}  // namespace PtpSnmp::Agent
