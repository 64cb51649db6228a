#pragma once

#include <string>
#include <vector>

#include "EngineStart.h"

namespace host {

/// Gives net-snmp's SNMPv3 engine its snmpEngineID and snmpEngineBoots, by the file "engine" of the folder that the
/// service manager names in STATE_DIRECTORY: see countEngineStart. They stay what they are until the process ends,
/// whatever the configuration says when it is read anew.
///
/// REQUIRES that init_snmp() follows while this lives, and that this ends before snmp_shutdown(). The start is counted
/// while init_snmp() reads the configuration, ahead of the users, whose keys are made for the engine ID.
class EngineIdentity {
 public:
  EngineIdentity();
  EngineIdentity(const EngineIdentity&) = delete;
  EngineIdentity& operator=(const EngineIdentity&) = delete;
  ~EngineIdentity();

  /// Logs what is wrong, once.
  void tell();

 private:
  static int choose(int, int, void*, void* self) noexcept;
  static int impose(int, int, void*, void* self) noexcept;

  const std::string fresh_;
  StartedEngine engine_;
};

}  // namespace host
