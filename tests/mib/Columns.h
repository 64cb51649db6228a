#pragma once

#include "NetSnmp.h"

#include <string>
#include <vector>

namespace test {

/// What is served in a column, written down apart from the code under test.
struct Column {
  std::string table;
  unsigned number;
  std::string name;       ///< as the trace of a GET spells it
  std::string attribute;  ///< as failure messages name it
  std::string converter;  ///< likewise
  u_char type;
};

/// The columns served, table by table in ascending order.
const std::vector<Column>& columns();

}  // namespace test
