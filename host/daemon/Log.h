#pragma once

#include <string>

namespace host {

/// Sends the log to standard error: with priorities in sd-daemon(3)'s notation where the journal reads it, in words
/// elsewhere. Never waits for the reader: see Zarn::LineOutput. `level` is the least that is logged: debug, info,
/// warning, error; empty for info.
void logToStandardError(const std::string& level);

}  // namespace host
