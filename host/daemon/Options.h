#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "Directives.h"
#include "SnmpEngine.h"
#include "Sources.h"

namespace host {

/// The command line of ptpsnmpd.
struct Options {
  std::optional<std::string> source;
  std::optional<std::chrono::milliseconds> poll;
  SnmpEngineOptions engine;
  std::string trace;
  std::string logLevel;
  std::string pidFile;
  bool check = false;  ///< say what works, and end
  std::string module;  ///< file of the MIB module

  /// What to follow: the command line outranks the configuration. Where neither names a source, it is the other one.
  SourceOptions sourceOptions(const Directives& configured, const std::string& otherwise = "demo") const;
};

/// Parses the command line; an exit code where the program is to end at once (help, version, a usage error, each
/// printed already).
struct ParsedOptions {
  std::optional<Options> options;
  int exitCode = 0;
};
ParsedOptions parseOptions(int argc, char** argv);

}  // namespace host
