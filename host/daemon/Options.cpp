#include "Options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "BuildInfo.h"
#include "MibModule.h"
#include "UnixAddress.h"
#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace host {
namespace {

constexpr int usageError = 2;
constexpr char defaultAgentXSocket[] = "/var/agentx/master";

std::string programFolder() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

std::string checkSocket(const std::string& path) {
  if (!path.starts_with('/')) return "\"" + path + "\" is not the path of a socket: it does not begin with /";
  return fitsUnixAddress(path) ? "" : "\"" + path + "\" is too long for the path of a socket";
}

// An empty one would open every address there is: a variable of a script that was never set.
std::string checkAddress(const std::string& address) {
  return address.find_first_not_of(" \t,") == std::string::npos ? "\"" + address + "\" is no address to serve on" : "";
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

SourceOptions Options::sourceOptions(const Directives& configured, const std::string& otherwise) const {
  SourceOptions options = configured.sourceOr({.source = otherwise});
  if (source) options.source = *source;
  if (poll) options.poll = *poll;
  return options;
}

ParsedOptions parseOptions(int argc, char** argv) {
  Options options;
  options.module = moduleFileNear(programFolder());
  std::optional<long> pollMilliseconds;
  std::string agentXSocket;

  CLI::App app("Serves a PTP clock's status as PTPBASE-MIB (RFC 8173) over SNMP.", "ptpsnmpd");
  app.set_version_flag("--version", std::string("ptpsnmpd ") + version);
  app.add_option("--source", options.source, "Where the status comes from")
      ->type_name("demo|demo:transparent|replay:FILE|ptp4l[:SOCKET]")
      ->default_str("demo")
      ->check(complaintAboutSource, "");
  app.add_option("--poll", pollMilliseconds, "Period at which ptp4l is asked, in milliseconds")
      ->type_name("MS")
      ->default_str("1000")
      ->check(CLI::Range(shortestPoll.count(), longestPoll.count()));
  CLI::Option* const listen =
      app.add_option("--listen", options.engine.listen,
                     "Address to serve on, in net-snmp's transport syntax; may be given several times "
                     "[udp:127.0.0.1:1161]")
          ->type_name("ADDRESS")
          ->allow_extra_args(false)
          ->check(checkAddress, "");
  CLI::Option* const agentX =
      app.add_option("--agentx", agentXSocket, "Serve through the SNMP agent that listens for sub-agents here")
          ->type_name("SOCKET")
          ->expected(0, 1)
          ->default_str(defaultAgentXSocket)
          ->check(checkSocket, "")
          ->excludes(listen);
  app.add_option("--config", options.engine.configFile, "Configuration beside net-snmp's usual ptpsnmpd.conf")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
  app.add_option("--trace", options.trace, "Traces to standard error, such as 'Snmp/0-2,PtpSnmp/8'")
      ->type_name("HANDLE/LEVELS,...")
      ->check(checkTrace, "");
  app.add_option("--log-level", options.logLevel, "The least that is logged")
      ->type_name("LEVEL")
      ->default_str("info")
      ->check(CLI::IsMember({"debug", "info", "warning", "error"}));
  app.add_option("--pid-file", options.pidFile, "File that names the process while it runs")->type_name("FILE");
  app.add_flag("--check", options.check, "Say what of all this works, how to mend what does not, and end");
  app.add_option("--module", options.module, "File of the MIB module")->type_name("FILE");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : usageError};
  }
  if (pollMilliseconds) options.poll = std::chrono::milliseconds(*pollMilliseconds);
  if (agentX->count() > 0) options.engine.agentXSocket = agentXSocket.empty() ? defaultAgentXSocket : agentXSocket;
  return {options, 0};
}

}  // namespace host
