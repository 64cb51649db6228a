#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "SnmpEngine.h"

namespace host {

/// The command line of ptpsnmpd.
struct Options {
  std::string source = "demo";
  std::chrono::milliseconds poll{1000};
  SnmpEngineOptions engine;
  std::string trace;
  std::string module;  ///< file of the MIB module
};

/// Parses the command line; an exit code where the program is to end at once (help, version, a usage error, each
/// printed already).
struct ParsedOptions {
  std::optional<Options> options;
  int exitCode = 0;
};
ParsedOptions parseOptions(int argc, char** argv);

}  // namespace host
