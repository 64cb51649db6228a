#pragma once

#include <string>
#include <vector>

namespace host {

/// The lines of snmpd.conf and of what it includes, in the order in which snmpd reads them.
struct SnmpdConfiguration {
  struct Line {
    std::string file;
    int number = 0;
    std::string directive;
    std::string arguments;           ///< the rest of the line, as it stands there
    std::vector<std::string> words;  ///< of the arguments, without quotes

    /// FILE:LINE: DIRECTIVE ARGUMENTS
    std::string place() const;
    /// Letters' case tells no directives apart.
    bool is(const char* name) const;
  };

  std::string folder;                   ///< the first of those in which snmpd looks
  std::vector<std::string> files;       ///< that were read
  std::vector<std::string> unreadable;  ///< that are there
  std::vector<std::string> folders;     ///< that are included
  std::vector<Line> lines;
};

/// Reads what snmpd would: in the folders of SNMPCONFPATH, or where Debian has them.
SnmpdConfiguration readSnmpdConfiguration();

}  // namespace host
