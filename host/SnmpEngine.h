#pragma once

#include <string>
#include <vector>

namespace host {

/// What the operator chose of the SNMP engine on the command line; what is empty comes from ptpsnmpd.conf or is the
/// built-in default.
struct SnmpEngineOptions {
  std::vector<std::string> listen;  ///< net-snmp transport addresses
  std::string configFile;           ///< read beside the ones of net-snmp's search path
};

/// net-snmp's agent library as a master agent of its own. At most one exists in a process.
///
/// Access comes from ptpsnmpd.conf in net-snmp's syntax. Where that grants none, the community "public" may read from
/// the loopback addresses, and nobody else anything.
class SnmpEngine {
 public:
  /// Reads the configuration. Opens nothing yet: tables are registered first, so that the first request finds them.
  explicit SnmpEngine(const SnmpEngineOptions& options);
  SnmpEngine(const SnmpEngine&) = delete;
  SnmpEngine& operator=(const SnmpEngine&) = delete;
  ~SnmpEngine();

  /// Opens the addresses. Throws std::runtime_error, naming address and reason.
  void listen();

  /// The addresses in force.
  const std::vector<std::string>& addresses() const noexcept { return addresses_; }
  bool builtInAccess() const noexcept { return builtInAccess_; }

 private:
  std::vector<std::string> addresses_;
  bool builtInAccess_ = false;
};

}  // namespace host
