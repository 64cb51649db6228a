#pragma once

#include "NetSnmp.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace test {

using Oid = std::vector<oid>;

Oid parseOid(std::string_view text);
std::string oidText(const Oid& id);
bool startsWith(const Oid& id, const Oid& prefix);
/// The identifier with these sub-identifiers at its end.
Oid operator+(Oid id, const Oid& tail);

/// A variable and its value: numbers in decimal, strings in hexadecimal digits.
struct Varbind {
  Oid name;
  std::string type;  ///< as golden lists name it, such as "Gauge32", or "noSuchObject"
  std::string value;

  friend bool operator==(const Varbind&, const Varbind&) = default;
};
std::ostream& operator<<(std::ostream& os, const Varbind& varbind);

Varbind fromLibrary(const netsnmp_variable_list& variable);

/// Every cell of a clock in the order of a walk, from a file of the golden folder: "OID TYPE VALUE" on each line.
std::vector<Varbind> goldenList(const std::string& file);

}  // namespace test
