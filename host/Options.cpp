#include "Options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "BuildInfo.h"
#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace host {
namespace {

constexpr int usageError = 2;

// The module stands beside the program in a build tree, and in a folder of its own when installed.
std::string defaultModule() {
  std::error_code ignored;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  const auto beside = program.parent_path() / moduleFile;
  if (std::filesystem::exists(beside, ignored)) return beside;
  return std::filesystem::path(moduleFolder) / moduleFile;
}

std::string checkSource(const std::string& source) {
  const bool known = source == "demo" || source == "demo:boundary" || source == "demo:transparent" ||
                     source == "ptp4l" || source.starts_with("ptp4l:") || source.starts_with("replay:");
  const bool named = !source.ends_with(':');
  return known && named ? "" : "\"" + source + "\" is not demo, demo:transparent, replay:FILE, ptp4l or ptp4l:SOCKET";
}

std::string checkTrace(const std::string& selection) {
  try {
    Zarn::TraceSettings::select(selection);
    return "";
  } catch (const Zarn::RangeException& error) {
    return error.what();
  }
}

}  // namespace

ParsedOptions parseOptions(int argc, char** argv) {
  Options options;
  options.module = defaultModule();
  long pollMilliseconds = options.poll.count();

  CLI::App app("Serves a PTP clock's status as PTPBASE-MIB (RFC 8173) over SNMP.", "ptpsnmpd");
  app.set_version_flag("--version", std::string("ptpsnmpd ") + version);
  app.add_option("--source", options.source, "Where the status comes from")
      ->type_name("demo|demo:transparent|replay:FILE|ptp4l[:SOCKET]")
      ->capture_default_str()
      ->check(checkSource, "");
  app.add_option("--poll", pollMilliseconds, "Period at which ptp4l is asked, in milliseconds")
      ->type_name("MS")
      ->capture_default_str()
      ->check(CLI::Range(10, 3600 * 1000));
  app.add_option("--listen", options.engine.listen,
                 "Address to serve on, in net-snmp's transport syntax; may be given several times "
                 "[udp:127.0.0.1:1161]")
      ->type_name("ADDRESS")
      ->allow_extra_args(false);
  app.add_option("--config", options.engine.configFile, "Configuration beside net-snmp's usual ptpsnmpd.conf")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
  app.add_option("--trace", options.trace, "Traces to standard error, such as 'Snmp/0-2,PtpSnmp/8'")
      ->type_name("HANDLE/LEVELS,...")
      ->check(checkTrace, "");
  app.add_option("--module", options.module, "File of the MIB module")->type_name("FILE");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : usageError};
  }
  options.poll = std::chrono::milliseconds(pollMilliseconds);
  return {options, 0};
}

}  // namespace host
