#pragma once

#include "Zarn/Trace.h"

namespace PtpSnmp::Agent {

namespace detail {
// Found as the module is loaded, so that a line that traces is one test and no more.
inline const Zarn::TraceHandle& agentTraceHandle = Zarn::TraceHandle::instance("PtpSnmp");
}  // namespace detail

/// The agent's trace handle. Handlers write their entry, exit and every row they touch at level 8.
inline const Zarn::TraceHandle& agentTrace() noexcept { return detail::agentTraceHandle; }

inline constexpr unsigned flowLevel = 8;

}  // namespace PtpSnmp::Agent
