#pragma once

#include <string>
#include <vector>

#include "SnmpdConfiguration.h"

namespace host {

/// What snmpd's configuration lets its clients see of the PTP tables, so far as it can be told from the text.
struct SnmpdAccess {
  enum class Shows { some, nothing, untold };

  /// A line that lets somebody read.
  struct Grant {
    std::string place;
    std::string view;                 ///< its name; empty where the grant has none, or an OID in its place
    Shows shows = Shows::some;        ///< of PTPBASE-MIB
    std::vector<std::string> hiding;  ///< lines of the view that exclude the tables or a part of them
  };

  std::vector<Grant> grants;
};

SnmpdAccess snmpdAccess(const SnmpdConfiguration& configuration);

}  // namespace host
