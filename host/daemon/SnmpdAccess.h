#pragma once

#include <string>
#include <vector>

namespace host {

/// What snmpd's configuration lets its clients see of the PTP tables, so far as it can be told from the text.
struct SnmpdAccess {
  /// A line that lets somebody read.
  struct Grant {
    std::string file;
    int line = 0;
    std::string text;
    std::string view;      ///< its name; empty where the grant has none, or an OID in its place
    bool showsPtp = true;  ///< some of PTPBASE-MIB is in what may be read
  };

  std::vector<std::string> files;  ///< that were read
  std::vector<Grant> grants;
  bool loadsModule = false;  ///< it has a dlmod line for ptpsnmp
};

/// Reads snmpd.conf in this folder and what it includes. What cannot be read counts as absent.
SnmpdAccess readSnmpdAccess(const std::string& folder);

}  // namespace host
