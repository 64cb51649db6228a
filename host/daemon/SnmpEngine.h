#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Directives.h"
#include "EngineIdentity.h"

namespace host {

/// What the operator chose of the SNMP engine on the command line; what is empty comes from ptpsnmpd.conf or is the
/// built-in default.
struct SnmpEngineOptions {
  std::vector<std::string> listen;  ///< net-snmp transport addresses
  std::string configFile;           ///< read beside the ones of net-snmp's search path
  std::string agentXSocket;         ///< of the master agent to serve through; empty where it serves alone
};

/// The configuration cannot be what the operator wrote. what() names the file or the directive.
class ConfigurationRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// net-snmp's agent library, as a master agent of its own or as a sub-agent (see AgentXLink). At most one exists in a
/// process.
///
/// Alone, access comes from ptpsnmpd.conf in net-snmp's syntax. Where that grants none, the community "public" may read
/// from the loopback addresses, and nobody else anything.
class SnmpEngine {
 public:
  /// Reads the configuration. Opens nothing yet: tables are registered first, so that the first request finds them.
  /// Throws ConfigurationRefused where a file of it cannot be read.
  explicit SnmpEngine(const SnmpEngineOptions& options);
  SnmpEngine(const SnmpEngine&) = delete;
  SnmpEngine& operator=(const SnmpEngine&) = delete;
  ~SnmpEngine();

  /// Reads the configuration anew. Addresses stay those that were opened. Throws ConfigurationRefused where a file of
  /// it cannot be read: nothing has changed then.
  void rereadConfiguration();

  /// Opens the addresses; nothing for a sub-agent. Throws std::runtime_error, naming address and reason.
  void listen();

  const Directives& directives() const noexcept { return directives_->value(); }
  bool isSubAgent() const noexcept { return isSubAgent_; }
  /// The addresses in force; none for a sub-agent.
  const std::vector<std::string>& addresses() const noexcept { return addresses_; }
  bool builtInAccess() const noexcept { return builtInAccess_; }

 private:
  void configureMaster();

  const SnmpEngineOptions options_;
  const bool isSubAgent_;
  std::optional<DirectiveReader> directives_;
  std::optional<EngineIdentity> identity_;  // none for a sub-agent, which answers no SNMPv3
  std::string configuredAddresses_;         // by the files
  std::vector<std::string> addresses_;
  bool builtInAccess_ = false;
};

}  // namespace host
